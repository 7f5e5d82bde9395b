// Events that the broker has not acknowledged, in memory, and as lines of a file that survives the gateway.
#pragma once

#include "gateway/GatewayMessages.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class clsEventStore {
public:
    /// More events do not wait; the oldest go, some at once. The last of those gives its place and its name to an
    /// event "dropped" that says how many they are, also together with those that went before.
    static constexpr std::size_t kMost = 1000, kGoAtOnce = 50;
    /// A longer line goes without its details. The file stays within so many bytes.
    static constexpr std::size_t kLongestLine = 4096;
    static constexpr std::size_t kLargestFile = std::size_t{1} << 20;

    /// Takes what an earlier run has left, without the lines that are damaged.
    void Read(std::string_view bytes);
    /// The highest run of an event.
    std::int64_t LatestRun() const;

    void Add(const GatewayEvent& event);
    std::vector<GatewayEvent> Next(std::size_t most);
    void Acknowledged(std::int64_t run, std::int64_t sequence);
    void Unsent();

    /// What the file needs next; none when it is up to date.
    struct Change {
        bool replaces = false; ///< the whole file; otherwise these bytes go to its end
        std::string bytes;
    };
    std::optional<Change> TakeChange();
    /// It could not be written: the next change is the whole file.
    void Failed() { m_mustReplace = true; }

private:
    struct Entry {
        GatewayEvent event;
        bool isSent = false, isWritten = false;
    };

    void bound();
    void pushOut(std::size_t number);

    std::deque<Entry> m_entries;
    std::size_t m_fileBytes = 0;
    bool m_mustReplace = false;
};
