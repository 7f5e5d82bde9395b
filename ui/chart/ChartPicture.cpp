#include "ui/chart/ChartPicture.h"

#include "ui/chart/ChartDrawing.h"
#include "ui/chart/XYChart.h"

#include <QFontInfo>
#include <QPainter>
#include <QPalette>

#include <algorithm>

void DrawChart(QPainter& painter, XYChart& chart, const QSize& size, double ratio)
{
    // In the painter's units, whatever the resolution of its device.
    QFont font = chart.font();
    font.setPixelSize(std::max(QFontInfo(font).pixelSize(), 1));
    QPalette light;
    light.setColor(QPalette::Base, Qt::white);
    light.setColor(QPalette::Text, Qt::black);
    const auto [content, series] = chart.NextFrame();
    const ChartLayout layout(content, font, size, ratio);
    const ChartColors colors = ColorsOf(content, light);
    ChartDrawing(content, layout, colors).Draw(painter, series);
}
