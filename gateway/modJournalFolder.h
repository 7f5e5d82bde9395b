// The folders of the journal: which recordings are there, and which of them have to go. Nothing is touched but files
// with the names of our recordings, and no symbolic link is followed.
#pragma once

#include "gateway/modRecordingName.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// A file of a recording with its sidecar.
struct JournalFile {
    RecordingPart part;
    std::int64_t bytes = 0; ///< of both
    double written = 0.0;   ///< when for the last time, days since 1899-12-30, UTC
};

namespace modJournalFolder {

/// The folders that can be those of sensors.
std::vector<std::string> SensorsIn(const std::filesystem::path& folder);
/// The recordings of a sensor in their order.
std::vector<JournalFile> FilesIn(const std::filesystem::path& folder);
/// Deletes a file of a recording and its sidecar. False, with errno set, when the file is still there.
bool Delete(const std::filesystem::path& folder, const RecordingPart& part);

/// The file of each recording that goes on, by sensor. The recorder may have begun a later one meanwhile.
using WrittenFiles = std::map<std::string, std::vector<RecordingPart>, std::less<>>;

struct Surplus {
    std::string sensor;
    JournalFile file;
};
/// The files that have to go, in this order: the oldest first, those of one sensor in their order, until no more than
/// `most_bytes` are left and none was written more than `most_days` ago; 0 is no bound. Files that are written stay.
std::vector<Surplus> SurplusOf(const std::filesystem::path& folder, const WrittenFiles& written,
                               std::int64_t most_bytes, std::int32_t most_days, double now);

} // namespace modJournalFolder
