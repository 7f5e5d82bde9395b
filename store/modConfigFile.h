// One configuration in a file of its own (*.rvq): an INI file with the section "RVQ", which holds every parameter as it
// is in the parameter set. The parameter table gives keys and defaults.
#pragma once

#include <system_error>

struct Configuration;

namespace modConfigFile {

/// Fills the configuration from its `FileName`. A parameter that the file does not name gets its default for a missing
/// key, so a file that is missing or cannot be read leaves an empty `Description` and defaults. A file with a
/// `NodeAddress` of 0 or more belongs to a Profibus sensor: switch and analog values then stay as they were.
void Read(Configuration& configuration);

/// Writes all keys to its `FileName` in one step, whatever the type of sensor. False, with the reason in `why`, when
/// that fails; an existing file is unchanged then.
bool Write(const Configuration& configuration, std::error_code& why);
bool Write(const Configuration& configuration);

} // namespace modConfigFile
