#include "ui/chart/ChartColors.h"

#include "ui/chart/ChartContent.h"
#include "ui/chart/modGDIAPI.h"

#include <QPalette>

#include <cstdint>
#include <optional>

using modGDIAPI::ColorOf;
using modGDIAPI::Mixed;

namespace {

constexpr double kGridShare = 0.28; // of the grid colour in a grid line: pale, below the curve
constexpr double kAxisShare = 0.75;
constexpr double kScaleShare = 0.85;
constexpr double kMutedShare = 0.6;
constexpr double kWatermarkShare = 0.1;

constexpr double kVisible = 3.0; // WCAG's least contrast of what carries information
constexpr double kExtreme = 19.0;

/// A palette for people who need contrast has black and white only, in the windows as in the boxes. Ordinary ones have
/// windows of another shade.
bool isHighContrast(const QPalette& palette)
{
    return modGDIAPI::Contrast(palette.color(QPalette::Text), palette.color(QPalette::Base)) > kExtreme &&
           modGDIAPI::Contrast(palette.color(QPalette::WindowText), palette.color(QPalette::Window)) > kExtreme;
}

/// As much of `color` on `ground` as it needs to be seen, but at least `share`.
QColor visible(const QColor& color, const QColor& ground, double share)
{
    constexpr double kStep = 0.05;
    QColor mixed = Mixed(color, ground, share);
    for (double more = share + kStep; more < 1.0 && modGDIAPI::Contrast(mixed, ground) < kVisible; more += kStep) {
        mixed = Mixed(color, ground, more);
    }
    return mixed;
}

} // namespace

ChartColors ColorsOf(const ChartContent& content, const QPalette& palette)
{
    const QColor base = palette.color(QPalette::Base);
    const QColor text = palette.color(QPalette::Text);
    const bool fromPalette = modGDIAPI::IsDark(base);
    const auto chosen = [&](const std::optional<std::int32_t>& set, std::int32_t table, const QColor& ofPalette) {
        return fromPalette && !set ? ofPalette : ColorOf(set.value_or(table));
    };
    ChartColors colors;
    colors.back = chosen(content.backColor, modChartGlobals::kBackColor, base);
    const QColor grid = chosen(content.gridColor, modChartGlobals::kGridColor, Mixed(text, base, 0.5));
    const QColor scale = chosen(content.scaleColor, modChartGlobals::kScaleColor, text);
    colors.grid = Mixed(grid, colors.back, kGridShare);
    colors.axis = Mixed(grid, colors.back, kAxisShare);
    colors.scale = Mixed(scale, colors.back, kScaleShare);
    colors.muted = Mixed(scale, colors.back, kMutedShare);
    colors.watermark = Mixed(scale, colors.back, kWatermarkShare);
    colors.curve = ColorOf(modGDIAPI::IsDark(colors.back) ? modChartGlobals::kCurveColorOnDark
                                                          : modChartGlobals::kCurveColorOnLight);
    const QColor extreme = modGDIAPI::Contrast(Qt::black, colors.back) > modGDIAPI::Contrast(Qt::white, colors.back)
                               ? QColor(Qt::black)
                               : QColor(Qt::white);
    if (modGDIAPI::Contrast(colors.curve, colors.back) < kVisible) {
        colors.curve = extreme;
    }
    if (isHighContrast(palette)) {
        colors.grid = visible(extreme, colors.back, kGridShare);
        colors.axis = colors.scale = extreme;
        colors.muted = Mixed(extreme, colors.back, kScaleShare);
    }
    return colors;
}
