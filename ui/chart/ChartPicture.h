// The chart as a drawing of lines and texts for paper and documents: what the window shows, in the light colours, sharp
// at any size.
#pragma once

#include <QSize>

class QPainter;
class XYChart;

/// Draws the chart at the painter's origin, `size` units large.
void DrawChart(QPainter& painter, XYChart& chart, const QSize& size);
