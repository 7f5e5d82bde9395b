// One configuration in a file of its own (*.rvq): an INI file with the section "RVQ", which holds every parameter as
// the parameter set has it. The parameter table gives keys and defaults.
#pragma once

#include <system_error>

struct Configuration;

namespace modConfigFile {

/// Fills the configuration from its `FileName`. What the file does not name gets the default of a missing key, so a
/// file that is missing or cannot be read leaves an empty `Description` and defaults. A file with a `NodeAddress` of 0
/// or more is one of a Profibus sensor: switch and analog values stay as they were.
void Read(Configuration& configuration);

/// Writes all keys to its `FileName` in one step, whatever the type of sensor. False, with the reason in `why`, when
/// that fails; an existing file is as it was then.
bool Write(const Configuration& configuration, std::error_code& why);
bool Write(const Configuration& configuration);

} // namespace modConfigFile
