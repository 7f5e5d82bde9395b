// The chart as a file: PNG, SVG or PDF, below a heading if there is one.
#pragma once

#include <QImage>
#include <QString>

#include <cstdint>

class XYChart;
class clsSession;

/// What a picture says above the chart: the sensor, the span of time, the statistics; a line for each.
QString HeadingOf(const XYChart& chart, const clsSession& session, std::int32_t language);

/// Writes the chart to a file of the kind "svg", "pdf" or "png", below a heading if there is one. Returns why it
/// failed; empty after a success.
QString WritePicture(XYChart& chart, const QString& file, const QString& kind, const QString& heading = {});

/// The chart as a "png" file has it.
QImage PictureOf(XYChart& chart, const QString& heading = {});
