// The sidecar of a recording: a JSON file of the same name beside it that says what its lines do not.
#pragma once

#include "store/RecordingInfo.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <system_error>

namespace modSidecar {

/// A larger file is not one of ours.
inline constexpr std::size_t kLargest = std::size_t{1} << 24;
/// More gaps are not read.
inline constexpr std::size_t kMostGaps = 50000;

/// "SAVE0001.json" for "SAVE0001.rec".
std::filesystem::path SidecarOf(const std::filesystem::path& recording);

/// Writes a sidecar in one step: a crash leaves the old or the new one. UTF-8, LF. What is not UTF-8 in a text is
/// replaced, and a time outside the calendar is left out. May take seconds on a slow disk; any thread may call it.
std::error_code Write(const std::filesystem::path& sidecar, const RecordingInfo& info);

/// Replaces the marks in a sidecar by those of `info`, which was read from it, and leaves everything else as it is,
/// even what this program does not know. Without a file, one is made that has only the marks and the start. As `Write`.
std::error_code WriteMarks(const std::filesystem::path& sidecar, const RecordingInfo& info);

/// Reads a sidecar. A key that is missing, or has no value that fits, leaves the default; unknown keys are ignored. No
/// value, with the reason in `why`, when there is no such file, when it cannot be read, is too large, or is not JSON.
/// The text of the unit and of the format outweigh the numbers among the parameters; the sensor is known if both are
/// there. Never throws.
std::optional<RecordingInfo> Read(const std::filesystem::path& sidecar, std::error_code& why);

/// Whether a sidecar may describe a recording whose first line has this time: the line was not written before the start
/// or after the end. No more can be asked: values may come hours after the start, the recording may have been cut, the
/// program may have been killed before it wrote the end. Once the clock was set, times say nothing.
bool Belongs(const RecordingInfo& info, double firstLine);

/// Deletes the sidecar of a recording, or gives it the recording's new name. Not having one is no error.
std::error_code Remove(const std::filesystem::path& recording);
std::error_code Rename(const std::filesystem::path& oldRecording, const std::filesystem::path& newRecording);

} // namespace modSidecar
