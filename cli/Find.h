// rvqctl find.
#pragma once

#include "cli/clsArguments.h"

class clsProgram;

inline constexpr OptionDef kFindOptions[] = {{"json", 0, "", "print the sensors as JSON"}};

/// Looks for sensors on the ports that were named, else on all that exist, and prints those that it finds.
int RunFind(clsProgram& program, const clsArguments& arguments);
