// Drawing helpers of the chart: colours, fonts and lines in Qt's form.
#pragma once

#include "plot/clsCurvePainter.h"

#include <QColor>
#include <QFont>
#include <QRect>

#include <cstdint>

class QImage;
class QPainter;
struct clsLabel;

namespace modGDIAPI {

/// A 24-bit value 0xBBGGRR as a colour.
QColor ColorOf(std::int32_t blueGreenRed);

/// Mixes `share` (0 to 1) of `color` with the rest of `ground`.
QColor Mixed(const QColor& color, const QColor& ground, double share);

/// Whether a colour is a dark ground.
bool IsDark(const QColor& color);

/// The contrast of two colours as WCAG 2 defines it, 1 to 21.
double Contrast(const QColor& a, const QColor& b);

/// The label's font. A family that is not installed is replaced by that of `base`, not by a chance substitute; a size
/// of 0 becomes the size of `base`. If `base` has its size in pixels, so has the font.
QFont FontOf(const clsLabel& label, const QFont& base);

/// Fills a rectangle given in pixels; `ratio` pixels make a unit of the painter.
void FillPixels(QPainter& painter, double ratio, const QRect& pixels, const QColor& color);

/// The part `area` (pixels) of a 32-bit picture; with `mirrored`, columns count from its right edge.
Raster RasterOf(QImage& picture, const QRect& area, bool mirrored);

} // namespace modGDIAPI
