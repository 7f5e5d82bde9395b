#include "ui/chart/modGDIAPI.h"

#include "ui/chart/clsLabel.h"
#include "ui/widgets/QtText.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QHash>
#include <QImage>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace modGDIAPI {

QColor ColorOf(std::int32_t blueGreenRed)
{
    return {blueGreenRed & 0xFF, blueGreenRed >> 8 & 0xFF, blueGreenRed >> 16 & 0xFF};
}

QColor Mixed(const QColor& color, const QColor& ground, double share)
{
    const auto mixed = [share](float a, float b) { return static_cast<float>(a * share + b * (1.0 - share)); };
    return QColor::fromRgbF(mixed(color.redF(), ground.redF()), mixed(color.greenF(), ground.greenF()),
                            mixed(color.blueF(), ground.blueF()));
}

bool IsDark(const QColor& color)
{
    return qGray(color.rgb()) < 128;
}

namespace {

double luminance(const QColor& color)
{
    const auto linear = [](double share) {
        return share <= 0.04045 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

/// Asking the system takes longer than the rest of a drawing, so it is asked once for each family.
bool hasFamily(const QString& family)
{
    static QHash<QString, bool> known;
    auto found = known.constFind(family);
    if (found == known.constEnd()) {
        found = known.insert(family, !family.isEmpty() && QFontDatabase::hasFamily(family));
    }
    return *found;
}

} // namespace

double Contrast(const QColor& a, const QColor& b)
{
    const double first = luminance(a), second = luminance(b);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

QFont FontOf(const clsLabel& label, const QFont& base)
{
    QFont font = base;
    if (const QString family = FromUtf8(label.FontName); hasFamily(family)) {
        font.setFamily(family);
    }
    if (label.FontSize > 0.0) {
        font.setPointSizeF(label.FontSize);
        if (base.pixelSize() > 0) {
            font.setPixelSize(QFontInfo(font).pixelSize());
        }
    }
    font.setBold(label.FontBold);
    return font;
}

void FillPixels(QPainter& painter, double ratio, const QRect& pixels, const QColor& color)
{
    painter.fillRect(QRectF(pixels.x() / ratio, pixels.y() / ratio, pixels.width() / ratio, pixels.height() / ratio),
                     color);
}

Raster RasterOf(QImage& picture, const QRect& area, bool mirrored)
{
    Raster raster;
    raster.rowStep = picture.bytesPerLine() / static_cast<qsizetype>(sizeof(std::uint32_t));
    raster.width = area.width();
    raster.height = area.height();
    raster.columnStep = mirrored ? -1 : 1;
    auto* pixels = reinterpret_cast<std::uint32_t*>(picture.bits());
    raster.pixels = pixels + area.y() * raster.rowStep + (mirrored ? area.right() : area.left());
    return raster;
}

} // namespace modGDIAPI
