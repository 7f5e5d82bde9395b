// rvqctl get.
#pragma once

#include "cli/modRows.h"

inline constexpr OptionDef kGetOptions[] = {
    kFormatOption,
    modRows::kJsonOption,
    {"bare", 0, "", "the values alone, one a line, without units"},
    {"list", 'l', "", "no sensor: codes, names and what may be set"},
};

/// Prints parameters of the connected sensor.
int RunGet(clsProgram& program, const clsArguments& arguments);
