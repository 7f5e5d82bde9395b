// The chart for paper and documents: what the window shows, in the light colours, sharp at any size. What belongs to
// the live window only, as the dot at the newest value, is left out.
#pragma once

#include <QSize>

class QPainter;
class XYChart;

/// Draws the chart at the painter's origin, `size` units large. `ratio` pixels, or what takes their place, make a unit:
/// they settle how fine the curve is.
void DrawChart(QPainter& painter, XYChart& chart, const QSize& size, double ratio);
