// rvqctl ports.
#pragma once

#include "cli/Command.h"

inline constexpr OptionDef kPortsOptions[] = {{"json", 0, "", "print an array with everything that is known"}};

/// Prints the serial devices of the system and the lines over the network that have a number. Opens none of them.
int RunPorts(clsProgram& program, const clsArguments& arguments);
