// Reads any bytes as the positions of a journal, as names of its recordings, and as events that wait. What can be read
// comes back when it is written and read again. Of a line with a wrong checksum, the text behind it is read all the
// same, so that more than the checksum is tried.
#include "fuzz/FuzzInput.h"
#include "gateway/clsEventStore.h"
#include "gateway/modPositions.h"

#include <algorithm>
#include <string>

namespace {

void readPositions(std::string_view bytes)
{
    const auto sensors = modPositions::Read(bytes);
    Require(modPositions::Read(modPositions::Write(sensors)) == sensors);
    for (const SensorPosition& sensor : sensors) {
        for (const RecordingPosition& recording : sensor.recordings) {
            clsRanges ranges;
            for (const auto& [first, last] : recording.acknowledged) {
                ranges.Add(first, last);
            }
            Require(ranges.All() == recording.acknowledged);
            Require(modRecordingName::PartOf(modRecordingName::FileOf({recording.key, recording.place.part})) ==
                    RecordingPart{recording.key, recording.place.part});
        }
    }
}

void readEvents(std::string_view bytes)
{
    clsEventStore store;
    store.Read(bytes);
    store.TakeChange();
    store.Failed();
    const auto written = store.TakeChange();
    clsEventStore again;
    again.Read(written->bytes);
    Require(again.Next(clsEventStore::kMost).size() <= store.Next(clsEventStore::kMost).size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view bytes = FuzzInput(data, size).Rest();
    readPositions(bytes);
    readEvents(bytes);
    std::string checked;
    for (FuzzInput lines(data, size); !lines.IsEmpty();) {
        const std::string_view line = lines.Until('\n');
        constexpr std::size_t kChecksum = 17;
        checked += modPositions::WithChecksum(line.substr(std::min(line.size(), kChecksum))) + '\n';
        if (const auto part = modRecordingName::PartOf(line)) {
            Require(modRecordingName::FileOf(*part) == line);
        }
    }
    readPositions(checked);
    readEvents(checked);
    return 0;
}
