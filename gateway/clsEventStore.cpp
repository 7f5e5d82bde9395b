#include "gateway/clsEventStore.h"

#include "gateway/modPositions.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;

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
    while (m_entries.size() > kMost) {
        m_entries.pop_front();
    }
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
