// The pixels that a curve is drawn into.
#pragma once

#include <cstddef>
#include <cstdint>

/// A part of a picture of 32-bit pixels (0xffRRGGBB). Steps are counted in pixels; a step of -1 from the last column
/// mirrors the drawing.
struct Raster {
    std::uint32_t* pixels = nullptr; ///< column 0, row 0
    std::ptrdiff_t columnStep = 1, rowStep = 0;
    std::int32_t width = 0, height = 0;
};

struct CurvePen {
    double width = 1.5; ///< pixels
    std::uint32_t color = 0xFF000000;
};

inline constexpr std::uint32_t kOpaque = 256; ///< the share of a pixel that is covered wholly

/// `color` over `pixel`, with a share of 0 to kOpaque.
inline std::uint32_t Blended(std::uint32_t pixel, std::uint32_t color, std::uint32_t share)
{
    constexpr std::uint32_t kRedBlue = 0x00FF00FF;
    constexpr std::uint32_t kGreen = 0x0000FF00;
    const std::uint32_t rest = kOpaque - share;
    const std::uint32_t redBlue = ((pixel & kRedBlue) * rest + (color & kRedBlue) * share) >> 8U;
    const std::uint32_t green = ((pixel & kGreen) * rest + (color & kGreen) * share) >> 8U;
    return 0xFF000000U | (redBlue & kRedBlue) | (green & kGreen);
}
