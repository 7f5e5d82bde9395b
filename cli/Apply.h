// rvqctl apply and restore.
#pragma once

#include "cli/clsWriting.h"

inline constexpr OptionDef kApplyOptions[] = {
    {"dry-run", 'n', "", "send nothing, print what would be sent"},
    clsWriting::kStore,
    clsWriting::kOnFailure,
    clsWriting::kWithoutBackup,
};

/// Leads the connected sensor to the values of a configuration.
int RunApply(clsProgram& program, const clsArguments& arguments);
/// The same with a backup; without a file, the last one of this sensor.
int RunRestore(clsProgram& program, const clsArguments& arguments);
