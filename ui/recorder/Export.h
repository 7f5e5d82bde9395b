// File > Export: a recording or what is seen of the history as a table, the chart as a picture. A file appears complete
// or not at all.
#pragma once

#include "store/modCsvExport.h"

#include <QImage>
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

/// What a picture says above the chart: the sensor, the span of time, the statistics; a line for each.
QString HeadingOf(const XYChart& chart, const clsSession& session, std::int32_t language);

/// Writes the chart to a file of the kind "svg", "pdf" or "png", below a heading if there is one. Returns why it
/// failed; empty after a success.
QString WritePicture(XYChart& chart, const QString& file, const QString& kind, const QString& heading = {});

/// The chart as a "png" file has it.
QImage PictureOf(XYChart& chart, const QString& heading = {});
