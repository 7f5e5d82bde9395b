// What lies over the curve of a chart, on the screen and in pictures: cursors, marks, and the note that says how the
// time axis is held.
#pragma once

#include "ui/chart/ChartColors.h"
#include "ui/chart/ChartLayout.h"

class QPainter;

void DrawOverlay(QPainter& painter, const ChartContent& content, const ChartLayout& layout, const ChartColors& colors);
/// The value that the pointer reads; a picture in a file has no pointer.
void DrawPointed(QPainter& painter, const ChartContent& content, const ChartLayout& layout, const ChartColors& colors);
