// rvqctl watch.
#pragma once

#include "cli/Measure.h"

inline constexpr OptionDef kWatchOptions[] = {kForOption, kUnitOption};
inline constexpr char kWatchMore[] =
    "On a terminal it is drawn in place; otherwise it prints a line a second. Without colours when NO_COLOR is set.";

/// Measures and shows number, bar, sparkline and account until it is ended.
int RunWatch(clsProgram& program, const clsArguments& arguments);
