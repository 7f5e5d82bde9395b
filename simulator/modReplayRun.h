// Plays a recording on a pseudo-terminal until a signal ends it.
#pragma once

#include <csignal>
#include <string>

namespace simulator {

/// Prints the path of the terminal, and what happens on standard error. `endSignals` are blocked. Returns the exit
/// status. Throws std::runtime_error when the recording cannot be played, or there is no terminal.
int PlayRecording(const std::string& file, const std::string& link, const sigset_t& endSignals);

} // namespace simulator
