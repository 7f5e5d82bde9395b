// rvqctl measure and rvqctl single.
#pragma once

#include "cli/clsArguments.h"
#include "cli/clsSampleFormat.h"

#include <optional>

class clsProgram;

inline constexpr OptionDef kForOption{"for", 0, "T", "end after this time: 500ms, 10s, 5min, 1h"};
inline constexpr OptionDef kMeasureOptions[] = {
    {"number", 'n', "N", "end after so many values"},
    kForOption,
    {"every", 'e', "", "print every value that the sensor sends, not the newest of each 50 ms"},
    kFormatOption,
    kUnitOption,
};
inline constexpr char kMeasureMore[] =
    "It ends after -n values or --for a time, with Ctrl+C, or when nobody reads its output any more. A sensor that\n"
    "was measuring goes on, without an interruption if it names the unit in its lines. A lost line is waited for.\n"
    "What a reader does not take waits in memory (32 MiB); beyond that, the program says so and fails.";
inline constexpr OptionDef kSingleOptions[] = {kFormatOption, kUnitOption};

/// Seconds of `--for`; empty without it. Throws UsageError.
std::optional<double> LimitOf(const clsArguments& arguments);

/// Measures and prints the values.
int RunMeasure(clsProgram& program, const clsArguments& arguments);
/// Asks for one value and prints it.
int RunSingle(clsProgram& program, const clsArguments& arguments);
