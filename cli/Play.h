// rvqctl play.
#pragma once

#include "cli/clsArguments.h"
#include "cli/clsSampleFormat.h"

class clsProgram;

inline constexpr OptionDef kPlayOptions[] = {
    {"from", 0, "TIME", "the first value to print (below)"},
    {"to", 0, "TIME", "the last value to print"},
    {"stats", 's', "", "print the statistics instead of the values"},
    kFormatOption,
    kUnitOption,
};
inline constexpr char kPlayMore[] =
    "FILE stands for the whole recording that it is a part of; several files stand for themselves.\n"
    "TIME is a time of day on the recording's first day (14:03:05), a day and a time (2026-11-20T14:03:05), or a time\n"
    "from the recording's beginning (90s, 5min).";

/// Prints a recording, or its statistics.
int RunPlay(clsProgram& program, const clsArguments& arguments);
