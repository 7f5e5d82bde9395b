// Reads values of a recording for the journal.
#pragma once

#include "gateway/clsSensorJournal.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

namespace modRecordingRead {

struct Limits {
    std::size_t values = 100;
    std::size_t lines = 20000;
    std::optional<std::int32_t> part; ///< not beyond this file
};

/// Reads on in the recordings of `folder`. The buffer is that of `clsRecordingWalk`.
ReadResult Read(const std::filesystem::path& folder, const ReadTask& task, const Limits& limits,
                std::vector<char>& buffer);

} // namespace modRecordingRead
