// rvqctl record.
#pragma once

#include "cli/Measure.h"
#include "cli/clsArguments.h"

class clsProgram;

inline constexpr OptionDef kRecordOptions[] = {
    kForOption,
    {"split", 0, "hour|day|NMiB", "go on in another file with each hour or day, or when a file has N MiB"},
};

inline constexpr char kRecordMore[] =
    "NAME is a file in the folder REC of the program's folder, FILE a path; without them SAVE0001, SAVE0002 and so "
    "on.\n"
    "Nothing is overwritten: a name that is taken gets a number. At the end it prints the files and the account.";

/// Measures and records, and prints the files and the account at the end.
int RunRecord(clsProgram& program, const clsArguments& arguments);
