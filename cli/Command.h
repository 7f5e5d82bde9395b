// What a command of rvqctl is: a row of the table in `cli/modCommands.cpp`.
#pragma once

#include "cli/clsArguments.h"

#include <span>
#include <stdexcept>
#include <string_view>

class clsProgram;

/// How the program ends. Scripts rely on these numbers.
enum ExitCode : int {
    ExitOutputClosed = -1, ///< nobody reads the output, or it has failed: `clsProgram::Finish` makes a code of it
    ExitDone = 0,
    ExitFailed = 1,
    ExitUsage = 2,
    ExitNoConnection = 3,
    ExitRefused = 4, ///< the sensor has refused a value, or two sets differ
};

struct Command {
    std::string_view name;
    std::string_view operands; ///< as the usage line shows them behind the name, "[FILE]"
    std::string_view summary;  ///< one line
    std::span<const OptionDef> options;
    std::size_t mostOperands = 0; ///< further ones are an error; `kAnyNumber` for a list
    /// Does the work and returns an `ExitCode`. May throw UsageError for arguments that do not fit together.
    int (*run)(clsProgram& program, const clsArguments& arguments);
    bool takesPorts = false; ///< several of them
    std::string_view more{}; ///< further lines of its help
};
inline constexpr std::size_t kAnyNumber = static_cast<std::size_t>(-1);
