// rvqctl info.
#pragma once

#include "cli/clsArguments.h"

class clsProgram;

inline constexpr OptionDef kInfoOptions[] = {{"json", 0, "", "as a JSON object"}};

/// Says which sensor is connected, and how.
int RunInfo(clsProgram& program, const clsArguments& arguments);
