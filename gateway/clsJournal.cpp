#include "gateway/clsJournal.h"

#include "gateway/clsJournalThread.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

/// The caller's side. Everything that takes time is the thread's.
class clsJournal::Impl : public clsJournalThread {
public:
    using clsJournalThread::clsJournalThread;

    /// Does something with a sensor that there may be.
    template <typename Result, typename Action>
    Result With(std::string_view sensor, Result otherwise, Action action)
    {
        const std::scoped_lock lock(m_mutex);
        const auto found = m_sensors.find(sensor);
        return found == m_sensors.end() ? std::move(otherwise) : action(found->second);
    }
    template <typename Action>
    void With(std::string_view sensor, Action action)
    {
        const std::scoped_lock lock(m_mutex);
        action(SensorOf(sensor));
    }

    std::int64_t m_events = 0;
};

clsJournal::clsJournal(std::filesystem::path folder, const Bounds& bounds)
    : m_impl(std::make_unique<Impl>(std::move(folder), bounds.most_bytes, bounds.most_days))
{}

clsJournal::~clsJournal() = default;

std::int64_t clsJournal::Run() const
{
    return m_impl->Run();
}

std::vector<std::string> clsJournal::Sensors() const
{
    return m_impl->SensorNames();
}

std::filesystem::path clsJournal::FolderOf(std::string_view sensor) const
{
    return m_impl->FolderOf(sensor);
}

std::string clsJournal::NameForRecording(std::string_view sensor)
{
    RecordingKey key;
    m_impl->With(sensor, [&](clsSensorJournal& journal) { key = journal.NewKey(); });
    return modRecordingName::NameOf(key);
}

void clsJournal::Began(std::string_view sensor, const std::filesystem::path& file, std::int64_t firstSequence)
{
    const auto part = modRecordingName::PartOf(file.filename().native());
    if (!part || part->key.run != Run() || part->key.first != firstSequence) {
        throw std::invalid_argument("a recording of the journal has the name that NameForRecording gives");
    }
    m_impl->With(sensor, [&](clsSensorJournal& journal) { journal.Began(*part); });
}

void clsJournal::Recorded(std::string_view sensor, std::int64_t lastSequence)
{
    m_impl->With(sensor, [&](clsSensorJournal& journal) { journal.Recorded(lastSequence); });
}

void clsJournal::Noted(std::string_view sensor, const std::filesystem::path& file, std::int64_t bytes,
                       std::int64_t lastSequence)
{
    if (const auto part = modRecordingName::PartOf(file.filename().native())) {
        m_impl->With(sensor, [&](clsSensorJournal& journal) {
            journal.Noted(*part, static_cast<std::uint64_t>(bytes), lastSequence);
        });
    }
}

void clsJournal::Ended(std::string_view sensor)
{
    m_impl->With(sensor, [&](clsSensorJournal& journal) { journal.Ended(clsSensorJournal::Clock::now()); });
}

void clsJournal::SentLive(std::string_view sensor, std::int64_t first, std::int64_t last)
{
    m_impl->With(sensor, [&](clsSensorJournal& journal) { journal.SentLive(first, last); });
}

void clsJournal::Acknowledged(std::string_view sensor, std::int64_t run, std::int64_t first, std::int64_t last)
{
    m_impl->With(sensor, [&](clsSensorJournal& journal) { journal.Acknowledged(run, first, last); });
}

void clsJournal::Unsent()
{
    const std::scoped_lock lock(m_impl->m_mutex);
    for (auto& [name, sensor] : m_impl->m_sensors) {
        sensor.Unsent();
    }
    m_impl->m_eventStore.Unsent();
}

std::vector<GatewayValue> clsJournal::Next(std::string_view sensor, std::size_t most)
{
    const auto next = [&](clsSensorJournal& journal) {
        auto values = journal.Next(most);
        if (!journal.HasRead()) {
            m_impl->Want(sensor, journal);
        }
        return values;
    };
    return m_impl->With(sensor, std::vector<GatewayValue>(), next);
}

std::int64_t clsJournal::Waiting(std::string_view sensor) const
{
    return m_impl->With(sensor, std::int64_t{0}, [](const auto& journal) { return journal.Waiting(); });
}

std::int64_t clsJournal::LastSequence(std::string_view sensor) const
{
    return m_impl->With(sensor, std::int64_t{0}, [](const auto& journal) { return journal.Last(); });
}

std::int64_t clsJournal::Dropped(std::string_view sensor) const
{
    return m_impl->With(sensor, std::int64_t{0}, [](const auto& journal) { return journal.Dropped(); });
}

std::vector<std::string> clsJournal::Holding() const
{
    const std::scoped_lock lock(m_impl->m_mutex);
    std::vector<std::string> names;
    for (const auto& [name, sensor] : m_impl->m_sensors) {
        if (sensor.Waiting() > 0) {
            names.push_back(name);
        }
    }
    return names;
}

void clsJournal::Add(GatewayEvent& event)
{
    const std::scoped_lock lock(m_impl->m_mutex);
    event.run = Run();
    event.sequence = ++m_impl->m_events;
    m_impl->m_eventStore.Add(event);
}

std::vector<GatewayEvent> clsJournal::NextEvents(std::size_t most)
{
    const std::scoped_lock lock(m_impl->m_mutex);
    return m_impl->m_eventStore.Next(most);
}

void clsJournal::EventAcknowledged(std::int64_t run, std::int64_t sequence)
{
    const std::scoped_lock lock(m_impl->m_mutex);
    m_impl->m_eventStore.Acknowledged(run, sequence);
}

void clsJournal::Serve(double now)
{
    m_impl->Serve(now);
}

void clsJournal::Finish()
{
    constexpr std::chrono::seconds kPatience{5};
    m_impl->Finish(kPatience);
}

std::string clsJournal::Problem() const
{
    return m_impl->Problem();
}
