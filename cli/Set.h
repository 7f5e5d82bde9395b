// rvqctl set.
#pragma once

#include "cli/clsWriting.h"

inline constexpr OptionDef kSetOptions[] = {clsWriting::kStore, clsWriting::kOnFailure, clsWriting::kWithoutBackup};

/// Changes parameters of the connected sensor.
int RunSet(clsProgram& program, const clsArguments& arguments);
