// Backups of a sensor's set: ordinary configurations in a folder for each serial number, named by date and time.
#pragma once

#include "store/Configuration.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace modBackup {

/// One backup.
struct Backup {
    std::filesystem::path file{};
    double time = 0.0; ///< local, days since 1899-12-30, from its name
};

/// The name of the folder or file of a serial number: what is no letter, digit, "-" or "_" becomes "%" and two
/// hexadecimal digits, so that two sensors do not share it; "unknown" when it is empty; cut where no file could have
/// it. One byte per character.
std::string NameOf(std::string_view serialNo);

/// Writes the set to `<folder>/<serial number>/2026-11-22 14-03-05.rvq` at the local time `now`; " (2)" and so on joins
/// the name when there is such a file already. It appears whole or not at all. Its description is the serial number
/// with date and time, which need no language. Nothing, with the reason in `why`, when that fails.
std::optional<std::filesystem::path> Save(const Configuration& set, const std::filesystem::path& folder, double now,
                                          std::error_code& why);
/// The backups of a sensor, newest first. Files with other names are left out.
std::vector<Backup> List(const std::filesystem::path& folder, std::string_view serialNo);
/// Deletes all but the last one of each day among those that are more than 31 days older than `now`.
void Thin(const std::filesystem::path& folder, std::string_view serialNo, double now);

} // namespace modBackup
