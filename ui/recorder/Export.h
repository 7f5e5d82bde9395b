// File > Export: a recording as a table, the chart as a picture. A file appears whole or not at all.
#pragma once

#include "store/modCsvExport.h"

#include <QString>

#include <cstdint>

class QWidget;
class XYChart;
class clsRecorder;

/// Asks for a recording and a table and writes the one to the other. The outcome in words; empty when the user cancels
/// one of the questions.
QString ExportRecording(QWidget& owner, const clsRecorder& recorder, std::int32_t language);

/// The same without questions.
QString WriteTable(QWidget& owner, const QString& recording, const QString& table, const modCsvExport::Format& format,
                   std::int32_t language);

/// Asks for a file and saves the chart in it. Why that failed, or the file; empty when the user cancels.
QString ExportChart(QWidget& owner, XYChart& chart, const clsRecorder& recorder, std::int32_t language);

/// Writes the chart to a file of the kind "svg", "pdf" or "png". Why that failed, or empty.
QString WritePicture(XYChart& chart, const QString& file, const QString& kind);
