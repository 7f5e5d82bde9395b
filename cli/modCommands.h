// The table of the commands, and what goes around each: help, options, errors.
#pragma once

#include "cli/Command.h"

#include <span>
#include <string>
#include <string_view>

namespace modCommands {

/// All commands in the order of the help.
std::span<const Command> Table();

/// The help of the program, and of one command.
std::string Help();
std::string Help(const Command& command);

/// Runs what the words behind the program's name ask for. Returns the code to end with.
int Run(std::span<const std::string_view> words);

} // namespace modCommands
