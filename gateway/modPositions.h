// The file "positions": how far the broker has come in the recordings of each sensor. One line for each sensor, with a
// checksum, so that damage costs the position of one sensor only.
#pragma once

#include "gateway/clsRanges.h"
#include "gateway/modRecordingName.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// A place between two lines of a recording.
struct LinePlace {
    std::int32_t part = 1;
    std::uint64_t offset = 0;   ///< bytes of this file before it
    std::int64_t sequence = 1;  ///< of the line behind it
    std::int64_t partFirst = 1; ///< sequence of the first line of this file
    bool operator==(const LinePlace&) const = default;
};

/// Numbers without a line: from the first to the last, but for those of `kept` lines among them. Nobody knows which
/// number each of these has.
struct LineHole {
    std::int64_t first = 0, last = 0, kept = 0;
    bool isTorn = false; ///< nobody knows how many lines there were
};

struct RecordingPosition {
    RecordingKey key;
    LinePlace place;                              ///< not behind the first line that is not acknowledged
    std::int64_t next = 1;                        ///< the first line that is not
    std::vector<clsRanges::Range> acknowledged{}; ///< behind it
    bool operator==(const RecordingPosition&) const = default;
};

struct SensorPosition {
    std::string sensor;
    std::int64_t dropped = 0;
    /// In their order. What lies before the first of them is acknowledged, of those that are missing behind it nothing.
    std::vector<RecordingPosition> recordings{};
    bool operator==(const SensorPosition&) const = default;
};

namespace modPositions {

/// Longer files are not ours, and no file becomes longer.
inline constexpr std::size_t kLargestFile = std::size_t{16} << 20;
/// No more of them are written of a sensor or a recording: others are forgotten, and their values are sent again.
inline constexpr std::size_t kMostRecordings = 16, kMostRanges = 32;

std::string Write(std::span<const SensorPosition> sensors);
/// Without the lines that are damaged. Of a sensor that comes twice the first line counts.
std::vector<SensorPosition> Read(std::string_view bytes);

/// A text behind its checksum, and the text of such a line; empty when they do not fit.
std::string WithChecksum(std::string_view text);
std::string_view WithoutChecksum(std::string_view line);

} // namespace modPositions
