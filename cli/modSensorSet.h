// The set of the connected sensor, and files with a set.
#pragma once

#include "sensor/Parameters.h"
#include "store/Configuration.h"

#include <filesystem>
#include <optional>

class clsProgram;
class clsSensorRun;

/// Connects and reads the sensor's set into `set`, until two dumps in succession are the same: a dump has no checksum.
/// Returns `ExitDone`; else the reason was said, and the code is what to end with.
int ConnectAndRead(clsProgram& program, clsSensorRun& run, ParameterSet& set);

/// The configuration in a file. Nothing, with the reason said, when it is none or cannot be read.
std::optional<Configuration> ReadConfiguration(clsProgram& program, const std::filesystem::path& file);

/// The newest backup of a sensor. Nothing, which is said, when there is none.
std::optional<std::filesystem::path> NewestBackup(clsProgram& program, std::string_view serialNo);
