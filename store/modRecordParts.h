// A recording that goes on in other files, by the hour, the day or the size: which files belong together.
#pragma once

#include <filesystem>
#include <vector>

/// One file of a recording.
struct RecordPart {
    std::filesystem::path file;
    bool joinsBefore = false; ///< it goes on where the file before it ended; false also for the first
};

namespace modRecordParts {

/// All files of the recording that this one belongs to, in their order; the file alone if it has no others, or is none
/// of ours. Files of a recording have names of one series, SAVE0001, SAVE0002 or "Name", "Name (2)". Their sidecars
/// name the recording and their number in it, so that nothing is joined across one that is missing. Files without
/// these belong together when each begins where the one before ended: by their sidecars, else by their first and last
/// lines. Reads sidecars and a few lines, never a complete file.
std::vector<RecordPart> PartsOf(const std::filesystem::path& file);

/// Chosen files in the order of their recordings and parts, or of their first lines.
std::vector<RecordPart> InOrder(const std::vector<std::filesystem::path>& files);

} // namespace modRecordParts
