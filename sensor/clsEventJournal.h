// The results of the evaluations, in order. A send clears the event number, and several ticks may run while a wait lets
// the front end handle its events, so a wait that looked only at the number could miss its answer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

class clsEventJournal {
public:
    /// Keeps the event; a full journal (nothing waits) forgets its oldest.
    void Append(std::int32_t event)
    {
        if (m_events.size() == kCapacity) {
            m_events.pop_front();
        }
        m_events.push_back(event);
    }

    /// Removes and returns the oldest event; empty when there is none.
    std::optional<std::int32_t> TakeNext()
    {
        if (m_events.empty()) {
            return std::nullopt;
        }
        const std::int32_t event = m_events.front();
        m_events.pop_front();
        return event;
    }

    void Clear() { m_events.clear(); }

private:
    static constexpr std::size_t kCapacity = 64;
    std::deque<std::int32_t> m_events;
};
