#include "chart/modGDIAPI.h"

#include "chart/clsLabel.h"
#include "shell/QtText.h"

#include <QFontDatabase>
#include <QPainter>

#include <cstring>
#include <vector>

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

QFont FontOf(const clsLabel& label, const QFont& base)
{
    QFont font = base;
    if (const QString family = FromUtf8(label.FontName); QFontDatabase::hasFamily(family)) {
        font.setFamily(family);
    }
    if (label.FontSize > 0.0) {
        font.setPointSizeF(label.FontSize);
    }
    font.setBold(label.FontBold);
    return font;
}

void FillPixels(QPainter& painter, const QRect& pixels, const QColor& color)
{
    const double ratio = painter.device()->devicePixelRatio();
    painter.fillRect(QRectF(pixels.x() / ratio, pixels.y() / ratio, pixels.width() / ratio, pixels.height() / ratio),
                     color);
}

QImage NewPicture(const QSize& pixels, double ratio)
{
    // An odd number of cache lines to a row: pixels of one column then spread over the whole cache, whatever the width.
    constexpr int kLine = 64;
    const int lines = (pixels.width() * 4 + kLine - 1) / kLine | 1;
    const auto size = static_cast<std::size_t>(lines) * kLine * static_cast<std::size_t>(pixels.height());
    auto* memory = new std::vector<uchar>(size);
    const auto release = [](void* owned) { delete static_cast<std::vector<uchar>*>(owned); };
    QImage picture(memory->data(), pixels.width(), pixels.height(), static_cast<qsizetype>(lines) * kLine,
                   QImage::Format_RGB32, release, memory);
    picture.setDevicePixelRatio(ratio);
    return picture;
}

QImage Copy(const QImage& picture)
{
    QImage copy = NewPicture(picture.size(), picture.devicePixelRatio());
    std::memcpy(copy.bits(), picture.constBits(), static_cast<std::size_t>(picture.sizeInBytes()));
    return copy;
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
