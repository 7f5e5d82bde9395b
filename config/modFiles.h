// Whole files, read with bounds and replaced in one step.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace modFiles {

/// Larger files are none of ours.
inline constexpr std::size_t kLargestFile = std::size_t{1} << 20;

/// The bytes of a regular file of at most `kLargestFile`; empty (no value) when there is none or it cannot be read.
std::optional<std::string> ReadWhole(const std::filesystem::path& file);

/// Whether `Replace` would be allowed to: the folder can be written, and a file that is there is a regular one, not
/// write-protected and none that is too large to be ours.
bool CanReplace(const std::filesystem::path& file);

/// Puts a file with these bytes in the place of `file` through a temporary file beside it and a rename: a crash leaves
/// the old or the new one. A symbolic link to a file is followed, permissions stay. False when that fails, and for
/// more than `kLargestFile` bytes, which `ReadWhole` would not take; nothing is lost then. A program killed between the
/// two steps leaves the temporary file, "name.xxxxxxxxxxxx.tmp"; the next call for the same file deletes it once it is
/// older than a minute.
bool Replace(const std::filesystem::path& file, std::string_view bytes);

} // namespace modFiles
