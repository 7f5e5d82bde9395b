// The names of the gateway's recordings. They say of which run a recording is and which number its first line has, so
// that a folder of recordings explains itself when nothing else is left.
#pragma once

#include <compare>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

/// Which recording of a sensor it is; recordings follow each other in this order.
struct RecordingKey {
    std::int64_t run = 0;
    std::int64_t first = 0; ///< number of its first line in this run
    std::int32_t again = 1; ///< 2, 3, ...: those before it got no line, so it has the same first number
    auto operator<=>(const RecordingKey&) const = default;
};

/// A file of a recording.
struct RecordingPart {
    RecordingKey key;
    std::int32_t part = 1;
    auto operator<=>(const RecordingPart&) const = default;
};

namespace modRecordingName {

/// "Run 000012 from 0000000001", or "... again 2".
std::string NameOf(const RecordingKey& key);
/// The same with the number of the part, from the second on, and ".rec", as a recorder calls its files.
std::string FileOf(const RecordingPart& part);
/// Reads what `FileOf` writes; empty for any other name.
std::optional<RecordingPart> PartOf(std::string_view fileName);

} // namespace modRecordingName
