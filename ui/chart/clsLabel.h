// A text of the chart and its look.
#pragma once

#include <cstdint>
#include <string>

struct clsLabel {
    std::string Text; ///< UTF-8; an empty text is not drawn
    std::string FontName;
    double FontSize = 0.0; ///< points; 0 takes the window's
    bool FontBold = false;
    std::int32_t Color = 0; ///< 0xBBGGRR

    bool operator==(const clsLabel&) const = default;
};
