// What the broker has not acknowledged yet. The recordings of a sensor are its journal: here is how far the broker has
// come in them, kept on disk, and what lies behind that is read again. Disks may take long, so a thread reads, writes
// and deletes; nothing here waits for it.
#pragma once

#include "gateway/GatewayMessages.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class clsJournal {
public:
    struct Bounds {
        std::int64_t most_bytes = 0; ///< recordings of all sensors together
        std::int32_t most_days = 0;
    };

    /// Reads what an earlier run has left in `folder`, damaged parts left out. Recordings of a sensor are in
    /// `FolderOf`. Throws std::system_error when the folder cannot be used at all.
    clsJournal(std::filesystem::path folder, const Bounds& bounds);
    ~clsJournal();
    clsJournal(const clsJournal&) = delete;
    clsJournal& operator=(const clsJournal&) = delete;

    /// The number of this start, from 1.
    std::int64_t Run() const;
    /// All sensors that it knows, also those of earlier runs, sorted.
    std::vector<std::string> Sensors() const;
    /// Where a sensor's recordings go, and the name without ".rec" for one that begins now, see `RecordPlan`.
    std::filesystem::path FolderOf(std::string_view sensor) const;
    std::string NameForRecording(std::string_view sensor);
    /// A recording of a sensor has begun in this file, or goes on in it; the first line of the recording has this
    /// sequence number in the present run.
    void Began(std::string_view sensor, const std::filesystem::path& file, std::int64_t firstSequence);
    /// So many lines have been handed over to it; and whether it is complete, so that no line follows.
    void Recorded(std::string_view sensor, std::int64_t lastSequence);
    void Ended(std::string_view sensor);
    /// The disk has so many bytes of a file that is being recorded, up to the end of this line. Told now and then, it
    /// lets lines behind damage keep their numbers while the recording goes on.
    void Noted(std::string_view sensor, const std::filesystem::path& file, std::int64_t bytes,
               std::int64_t lastSequence);
    /// The number of the last line that was handed over in the present run; 0: none was.
    std::int64_t LastSequence(std::string_view sensor) const;
    /// Recorded values of the present run that were sent as they came. They are not read again unless `Unsent` says
    /// that they got lost on the way.
    void SentLive(std::string_view sensor, std::int64_t first, std::int64_t last);
    /// The broker has acknowledged values of a run.
    void Acknowledged(std::string_view sensor, std::int64_t run, std::int64_t first, std::int64_t last);
    /// The connection is lost: whatever was sent and not acknowledged is to be sent again.
    void Unsent();

    /// The next recorded values of a sensor that were never sent, oldest first, at most so many; they count as sent.
    /// Empty while the thread is still reading, and when there are none: then `Waiting` is 0 but for values on their
    /// way.
    std::vector<GatewayValue> Next(std::string_view sensor, std::size_t most);
    /// Recorded values that the broker has not acknowledged; as far as it is known without reading old files.
    std::int64_t Waiting(std::string_view sensor) const;
    /// Recorded values that were deleted, or are damaged or lost, before the broker had them.
    std::int64_t Dropped(std::string_view sensor) const;
    /// The sensors that have values waiting, also those that nobody records any longer.
    std::vector<std::string> Holding() const;

    /// Events wait in a file of their own. An event gets its number here.
    void Add(GatewayEvent& event);
    /// Those that were never sent, oldest first; they count as sent.
    std::vector<GatewayEvent> NextEvents(std::size_t most);
    void EventAcknowledged(std::int64_t run, std::int64_t sequence);

    /// Takes over what the thread has done, lets it save positions now and then and delete what is too old or too
    /// much. Call it in every pass with the time, days since 1899-12-30, UTC.
    void Serve(double now);
    /// Saves the positions and waits for the thread, for some seconds at most.
    void Finish();
    /// Why the journal cannot be kept now; English; empty when it can.
    std::string Problem() const;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};
