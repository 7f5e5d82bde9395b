// rvqctl passport.
#pragma once

#include "cli/clsArguments.h"

class clsProgram;

inline constexpr OptionDef kPassportOptions[] = {
    {"serial", 0, "NUMBER", "of the sensor with this serial number, which need not be connected"},
    {"count", 'n', "N", "the last N entries only"},
    {"json", 0, "", "as the file has them: a JSON object in each line"},
};

/// Prints what was written to a sensor, newest first.
int RunPassport(clsProgram& program, const clsArguments& arguments);
