// rvqctl diff.
#pragma once

#include "cli/modRows.h"

inline constexpr OptionDef kDiffOptions[] = {
    kFormatOption,
    modRows::kJsonOption,
    {"factory", 0, "", "compare with the factory defaults"},
    {"backup", 0, "", "compare with the last backup of this sensor"},
    {"all", 'a', "", "also what is equal"},
};

/// Compares the connected sensor with a configuration, its factory defaults, or its last backup.
int RunDiff(clsProgram& program, const clsArguments& arguments);
