// The pictures of the tool bar: those of the desktop's theme, and our own ones where it has none, or one that could not
// be seen on the bar.
#pragma once

#include <QIcon>

#include <cstdint>

enum class Symbol : std::uint8_t {
    Start,
    Stop,
    Single,
    Record,
    Freeze,
    Fit,
    CursorA,
    CursorB,
    LargeDisplay,
    Settings,
    Export,
    Find
};

/// Our own pictures follow the palette and are sharp at any size. One of the theme is chosen for the present palette:
/// ask again when that changes.
QIcon IconOf(Symbol symbol);

/// Our own one, whatever the theme has.
QIcon DrawnIconOf(Symbol symbol);
