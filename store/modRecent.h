// The recordings that were made or played last, as the settings file keeps them in its section "RECENT".
#pragma once

#include <cstddef>
#include <filesystem>
#include <system_error>
#include <vector>

namespace modRecent {

/// The list holds no more.
inline constexpr std::size_t kMost = 8;

/// Newest first. A file may be missing: its disk may be back tomorrow.
std::vector<std::filesystem::path> Load(const std::filesystem::path& iniFile);

/// Puts a recording at the head of the list; nothing happens without `iniFile`. A path with a control character is not
/// kept: the file could not hold it. Returns the reason when the file cannot be written.
std::error_code Add(const std::filesystem::path& iniFile, const std::filesystem::path& recording);

/// The recording has another name now. One that is not in the list changes nothing.
std::error_code Rename(const std::filesystem::path& iniFile, const std::filesystem::path& before,
                       const std::filesystem::path& now);

/// Empties the list.
std::error_code Clear(const std::filesystem::path& iniFile);

} // namespace modRecent
