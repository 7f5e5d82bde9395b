// rvqctl traffic.
#pragma once

#include "cli/clsArguments.h"

class clsProgram;

inline constexpr OptionDef kTrafficOptions[] = {
    {"for", 0, "T", "end after this time: 500ms, 10s, 5min, 1h"},
    {"format", 'f', "text|json", "text (default) or one JSON object for each line"},
    {"listen", 0, "", "send nothing, even if the line is quiet"},
};
inline constexpr std::string_view kTrafficMore =
    "Nothing is sent to a sensor that measures, nor where anything else is heard. On a quiet line the program asks "
    "for\n"
    "the sensor as it always does, unless --listen is given. Text is a file that rvqsim --replay plays.";

/// Prints what goes over the line and what it means.
int RunTraffic(clsProgram& program, const clsArguments& arguments);
