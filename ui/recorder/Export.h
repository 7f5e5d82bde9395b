// File > Export: asks for a file and writes a recording, or what is seen of the history, as a table, or the chart as a
// picture (`ExportPicture`). A file appears complete or not at all.
#pragma once

#include "store/modCsvExport.h"

#include <QString>

#include <cstdint>

class ChartPanel;
class QWidget;
class XYChart;
class clsRecorder;
class clsSession;
struct PlaceRange;

/// Asks for a recording and a table and converts one into the other. Returns the outcome in words; empty when the user
/// cancels a question.
QString ExportRecording(QWidget& owner, const clsRecorder& recorder, std::int32_t language);

/// The same without questions.
QString WriteTable(QWidget& owner, const QString& recording, const QString& table, const modCsvExport::Format& format,
                   std::int32_t language);

/// Asks for a file and saves the chart in it. Returns the file, or why it failed; empty when the user cancels.
QString ExportChart(QWidget& owner, XYChart& chart, const clsRecorder& recorder, std::int32_t language);

/// Asks for a file and saves what the chart shows of the history now, cursors or not: as a table, or as a picture with
/// a heading. New values that the chart follows while the user chooses a file change nothing. Returns the outcome in
/// words; empty when the user cancels.
QString ExportVisible(QWidget& owner, ChartPanel& chart, const clsSession& session, std::int32_t language);

/// The same as a table, without questions.
QString WriteVisible(QWidget& owner, const PlaceRange& range, const clsSession& session, const QString& table,
                     const modCsvExport::Format& format, std::int32_t language);
