// File > Export: a recording as a table, the chart as a picture. A file appears complete or not at all.
#pragma once

#include "store/modCsvExport.h"

#include <QString>

#include <cstdint>

class QWidget;
class XYChart;
class clsRecorder;

/// Asks for a recording and a table and converts one into the other. Returns the outcome in words; empty when the user
/// cancels a question.
QString ExportRecording(QWidget& owner, const clsRecorder& recorder, std::int32_t language);

/// The same without questions.
QString WriteTable(QWidget& owner, const QString& recording, const QString& table, const modCsvExport::Format& format,
                   std::int32_t language);

/// Asks for a file and saves the chart in it. Returns the file, or why it failed; empty when the user cancels.
QString ExportChart(QWidget& owner, XYChart& chart, const clsRecorder& recorder, std::int32_t language);

/// Writes the chart to a file of the kind "svg", "pdf" or "png". Returns why it failed; empty after a success.
QString WritePicture(XYChart& chart, const QString& file, const QString& kind);
