#include "ui/chart/ChartOverlay.h"

void DrawOverlay(QPainter& /*painter*/, const ChartContent& /*content*/, const ChartLayout& /*layout*/,
                 const ChartColors& /*colors*/)
{}
