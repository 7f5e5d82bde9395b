// The chart for paper and documents: what the window shows, in the light colours, sharp at any size. Parts of the live
// window such as the dot at the newest value are left out.
#pragma once

#include <QSize>

class QPainter;
class XYChart;

/// Draws the chart at the painter's origin, `size` units large. `ratio` is the number of pixels, or of their
/// equivalent, in a unit; it decides how fine the curve is.
void DrawChart(QPainter& painter, XYChart& chart, const QSize& size, double ratio);
