#include "gateway/clsEventStore.h"

#include "gateway/modPositions.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;

constexpr std::string_view kDropped = "dropped";
constexpr const char* kEvents = "events";

/// Whether it stands for events that had to go.
bool isOfEvents(const GatewayEvent& event)
{
    return event.sensor.empty() && event.what == kDropped && event.details.size() == 1 &&
           event.details.front().first == kEvents;
}

std::string lineOf(const GatewayEvent& event)
{
    const auto text = [&](bool isComplete) {
        const Json json{{"time", event.time},    {"run", event.run},
                        {"seq", event.sequence}, {"sensor", event.sensor},
                        {"what", event.what},    {"details", isComplete ? Json(event.details) : Json::array()}};
        return modPositions::WithChecksum(json.dump(-1, ' ', true, Json::error_handler_t::replace)) + '\n';
    };
    std::string line = text(true);
    return line.size() <= clsEventStore::kLongestLine ? line : text(false);
}

std::optional<GatewayEvent> eventOf(std::string_view line)
{
    const std::string_view text = modPositions::WithoutChecksum(line);
    const Json json = Json::parse(text, nullptr, false);
    if (text.empty() || !json.is_object()) {
        return std::nullopt;
    }
    try {
        GatewayEvent event{.time = json.at("time").get<double>(),
                           .run = json.at("run").get<std::int64_t>(),
                           .sequence = json.at("seq").get<std::int64_t>(),
                           .sensor = json.at("sensor").get<std::string>(),
                           .what = json.at("what").get<std::string>()};
        event.details = json.at("details").get<decltype(event.details)>();
        return event;
    } catch (const Json::exception&) {
        return std::nullopt; // of another version
    }
}

} // namespace

void clsEventStore::Read(std::string_view bytes)
{
    m_fileBytes = bytes.size();
    m_mustReplace = !bytes.empty() && bytes.back() != '\n'; // nothing may be glued to half a line
    while (!bytes.empty()) {
        const auto end = std::min(bytes.find('\n'), bytes.size());
        if (auto event = eventOf(bytes.substr(0, end))) {
            m_entries.push_back({std::move(*event), false, true});
        } else {
            m_mustReplace = true;
        }
        bytes.remove_prefix(std::min(end + 1, bytes.size()));
    }
    bound();
}

std::int64_t clsEventStore::LatestRun() const
{
    std::int64_t run = 0;
    for (const Entry& entry : m_entries) {
        run = std::max(run, entry.event.run);
    }
    return run;
}

void clsEventStore::Add(const GatewayEvent& event)
{
    m_entries.push_back({event});
    bound();
}

void clsEventStore::bound()
{
    if (m_entries.size() > kMost) {
        pushOut(m_entries.size() - kMost + kGoAtOnce);
    }
}

void clsEventStore::pushOut(std::size_t number)
{
    std::int64_t gone = 0;
    for (std::size_t i = 0; i < number; ++i) {
        const GatewayEvent& event = m_entries[i].event;
        std::int64_t count = 1;
        if (isOfEvents(event)) {
            const std::string& before = event.details.front().second;
            std::from_chars(before.data(), before.data() + before.size(), count);
        }
        gone += count;
    }
    GatewayEvent dropped = m_entries[number - 1].event;
    dropped.sensor.clear();
    dropped.what = kDropped;
    dropped.details = {{kEvents, std::to_string(gone)}};
    m_entries.erase(m_entries.begin(), m_entries.begin() + static_cast<std::ptrdiff_t>(number));
    m_entries.push_front({std::move(dropped)});
    m_mustReplace = true; // the file has those that went
}

std::vector<GatewayEvent> clsEventStore::Next(std::size_t most)
{
    std::vector<GatewayEvent> events;
    for (Entry& entry : m_entries) {
        if (!entry.isSent && events.size() < most) {
            entry.isSent = true;
            events.push_back(entry.event);
        }
    }
    return events;
}

void clsEventStore::Acknowledged(std::int64_t run, std::int64_t sequence)
{
    std::erase_if(m_entries,
                  [&](const Entry& entry) { return entry.event.run == run && entry.event.sequence == sequence; });
}

void clsEventStore::Unsent()
{
    for (Entry& entry : m_entries) {
        entry.isSent = false;
    }
}

std::optional<clsEventStore::Change> clsEventStore::TakeChange()
{
    Change change;
    for (Entry& entry : m_entries) {
        if (!entry.isWritten) {
            change.bytes += lineOf(entry.event);
            entry.isWritten = true;
        }
    }
    const bool isDone = m_entries.empty() && m_fileBytes > 0;
    change.replaces = m_mustReplace || isDone || m_fileBytes + change.bytes.size() > kLargestFile;
    if (change.replaces) {
        change.bytes.clear();
        for (auto entry = m_entries.rbegin(); entry != m_entries.rend(); ++entry) {
            const std::string line = lineOf(entry->event);
            if (change.bytes.size() + line.size() > kLargestFile / 2) {
                break; // older ones are in memory only
            }
            change.bytes.insert(0, line);
        }
        m_fileBytes = 0;
        m_mustReplace = false;
    }
    m_fileBytes += change.bytes.size();
    return change.replaces || !change.bytes.empty() ? std::optional(std::move(change)) : std::nullopt;
}
