// The state of a new chart. Colours are 24-bit values, blue, green, red from the high byte down (0xBBGGRR).
#pragma once

#include "ui/chart/clsLabel.h"

#include <array>
#include <cstdint>

namespace modChartGlobals {

inline constexpr std::int32_t kBackColor = 0xFFFFFF;
inline constexpr std::int32_t kGridColor = 0x808080;
inline constexpr std::int32_t kScaleColor = 0x000000;
inline constexpr std::int32_t kWatermarkColor = 0xE0E0E0;
/// The curve's colour on a light and on a dark background.
inline constexpr std::int32_t kCurveColorOnLight = 0xC85A0A;
inline constexpr std::int32_t kCurveColorOnDark = 0xFFC45C;

inline constexpr std::int32_t kXRange_ms = 60000;
inline constexpr std::int32_t kPointInterval_ms = 50; ///< of live measurement; the series holds a range of such points
inline constexpr std::int32_t kMostPoints = 2000000;  ///< where they come faster than that
inline constexpr char kFontName[] = "Arial";
inline constexpr std::size_t kWatermarkCount = 4;

inline clsLabel DefaultHeader()
{
    return {"Header", kFontName, 14.0, true, 0x000000};
}

inline std::array<clsLabel, kWatermarkCount> DefaultWatermark()
{
    std::array<clsLabel, kWatermarkCount> labels;
    labels.fill({"", kFontName, 24.0, true, kWatermarkColor});
    return labels;
}

inline clsLabel DefaultXCaption()
{
    return {"[ x-unit ]", kFontName, 0.0, false, kScaleColor};
}

inline clsLabel DefaultYCaption()
{
    return {"[ y-unit ]", kFontName, 0.0, false, kScaleColor};
}

} // namespace modChartGlobals
