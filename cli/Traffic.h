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
    "A sensor that measures is left alone: nothing is sent to it. On a quiet line the program asks for the sensor as\n"
    "it always does, unless --listen is given. Text is a file that rvqsim --replay plays.";

/// Prints what goes over the line and what it means.
int RunTraffic(clsProgram& program, const clsArguments& arguments);
