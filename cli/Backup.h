// rvqctl backup.
#pragma once

#include "cli/clsArguments.h"

class clsProgram;

inline constexpr OptionDef kBackupOptions[] = {{"force", 0, "", "replace FILE if there is one"}};

/// Saves the values of the connected sensor as a configuration.
int RunBackup(clsProgram& program, const clsArguments& arguments);
