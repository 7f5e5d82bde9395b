#include "cli/Traffic.h"

#include "base/IsoTime.h"
#include "base/modAPI.h"
#include "cli/Measure.h"
#include "cli/clsProgram.h"
#include "cli/clsSensorRun.h"
#include "cli/modRows.h"
#include "cli/modSignals.h"
#include "port/clsPorts.h"
#include "port/modOpenFailure.h"
#include "sensor/Parameters.h"
#include "sensor/modHearing.h"
#include "sensor/modReplySteps.h"
#include "session/modTrafficText.h"

#include <algorithm>
#include <memory>
#include <optional>

namespace {

constexpr double kListen_s = 1.0;      // longer than the longest time between two values
constexpr double kStays_s = 2.5;       // a connection that lasts so long is not closed at once
constexpr double kSettled_s = 0.25;    // later bytes may change what an entry means
constexpr double kMostSettled_s = 2.0; // of a distance that waits for others
constexpr std::size_t kMostHeard = 4096;
constexpr std::size_t kMuch = 1U << 20U; // that waits to be written

/// While it listens, what the program sends goes nowhere.
class ListeningPorts : public clsPorts {
public:
    using clsPorts::clsPorts;
    bool Listens = true, IsCleanLine = true; ///< since they were set

    std::int32_t sio_flush(std::int32_t port, std::int32_t function) override
    {
        return Listens ? 0 : clsPorts::sio_flush(port, function);
    }
    std::int32_t sio_write(std::int32_t port, std::span<const char> bytes) override
    {
        return Listens ? static_cast<std::int32_t>(bytes.size()) : clsPorts::sio_write(port, bytes);
    }
    std::int32_t sio_data_status(std::int32_t port) override
    {
        const std::int32_t errors = clsPorts::sio_data_status(port);
        IsCleanLine = IsCleanLine && (errors & LineErrorFraming) == 0;
        return errors;
    }
};

class Watching : public SessionListener {
public:
    Watching(clsProgram& program, bool asJson, bool onlyListens)
        : m_program(program), m_asJson(asJson), m_onlyListens(onlyListens),
          m_session(takePorts(program), program.Settings(), program.Folder() / "REC", '.')
    {
        m_session.Listen(*this);
        m_session.WatchTraffic(true);
    }
    ~Watching() override { m_session.Leave(*this); }
    Watching(const Watching&) = delete;
    Watching& operator=(const Watching&) = delete;

    int Run(std::optional<double> limit_s);

private:
    void Echo(std::string_view received) override
    {
        m_heard += received;
        m_heard.erase(0, m_heard.size() - std::min(m_heard.size(), kMostHeard));
    }
    std::unique_ptr<SerialPort> takePorts(clsProgram& program)
    {
        auto ports = std::make_unique<ListeningPorts>(program.Devices());
        m_ports = ports.get();
        return ports;
    }
    clsRVQ& device() { return m_session.Device(); }
    bool hasFailed();
    void noteLine(double now_s);
    void decide(double now_s);
    void join(std::int32_t format);
    void note(TextId id);
    void print(bool all);
    std::string lineOf(const TrafficEntry& entry) const;
    void waitForTick(double due_s);

    clsProgram& m_program;
    bool m_asJson, m_onlyListens;
    ListeningPorts* m_ports = nullptr;
    clsSession m_session;
    std::string m_heard; ///< since the port was opened, or since the dialogue was lost
    std::optional<double> m_opened_s;
    bool m_wasOpen = false, m_isLost = false;
    bool m_isUnwanted = false;               ///< the server has closed the connection at once
    OpenProblem m_wrong = OpenProblem::None; ///< with the line, when it was last looked at
    TextId m_said = TextId::None;            ///< of a line that was not quiet
    std::uint64_t m_printed = 0;
};

int Watching::Run(std::optional<double> limit_s)
{
    if (!m_asJson) {
        std::string header = modTrafficText::FileHeader(std::string(kProgramName) + ' ' + std::string(ProgramVersion()),
                                                        m_program.Language());
        header.pop_back();
        m_program.PrintData(header);
    }
    const double begin_s = modAPI::UpTime_s();
    while (!modSignals::EndIsWanted() && m_program.Out().IsOpen()) {
        const double now_s = modAPI::UpTime_s();
        if (limit_s && now_s >= begin_s + *limit_s) {
            break;
        }
        m_session.Tick(modAPI::LocalTime());
        if (hasFailed()) {
            m_program.Say(modOpenFailure::Text(device().LastFailure(), m_program.Language()));
            return ExitNoConnection;
        }
        noteLine(now_s);
        decide(now_s);
        print(false);
        m_program.Out().Serve();
        waitForTick(now_s + clsMeasurementLoop::kInterval_ms / 1000.0);
    }
    m_session.End();
    print(true);
    return m_isLost ? ExitNoConnection : ExitDone;
}

/// A port that has been open comes back by itself.
bool Watching::hasFailed()
{
    m_wasOpen = m_wasOpen || device().PortIsOpen();
    return !m_wasOpen && !device().PortIsOpening();
}

/// A server that does not want the connection closes it at each attempt: that is said once, and the line is back only
/// when it stays.
void Watching::noteLine(double now_s)
{
    const OpenFailure wrong = device().LastFailure();
    const bool isClosedAtOnce = wrong.problem == OpenProblem::ClosedAtOnce;
    const bool isTold = isClosedAtOnce || wrong.problem == OpenProblem::TooMuch;
    if (std::exchange(m_wrong, wrong.problem) != wrong.problem && isTold && !m_isUnwanted) {
        m_program.Note(modOpenFailure::Text(wrong, m_program.Language()));
    }
    m_isUnwanted = m_isUnwanted || isClosedAtOnce;
    const bool isOpen = device().PortIsOpen();
    if (isOpen && m_opened_s && now_s - *m_opened_s > kStays_s) {
        m_isUnwanted = false;
    }
    const bool isLost = m_wasOpen && (!isOpen || m_isUnwanted);
    if (std::exchange(m_isLost, isLost) != isLost) {
        m_program.Note(m_program.Text(isLost ? TextId::LineInterrupted : TextId::LineIsBack, {m_program.PortName()}));
    }
}

/// Whether the sensor measures shows within the first second. Then the dialogue counts as measuring, as often as it
/// gives that up, and the line stays as it is. So does one on which anything else is heard: it may be another device's.
void Watching::decide(double now_s)
{
    if (!device().PortIsOpen()) {
        m_opened_s.reset();
        m_heard.clear();
        m_said = TextId::None;
        m_ports->Listens = m_ports->IsCleanLine = true;
        return;
    }
    m_opened_s = m_opened_s.value_or(now_s);
    const bool listens = m_ports->Listens && now_s >= *m_opened_s + kListen_s;
    if (!listens || device().CommStatus() == DialogueMeasuring) {
        return;
    }
    const modHearing::Heard heard = modHearing::HeardIn(m_heard, m_ports->IsCleanLine);
    const bool isFree = m_heard.empty() || modReplySteps::HoldsAnnouncement(m_heard);
    if (heard.format) {
        note(TextId::TrafficListening);
        join(*heard.format);
    } else if (heard.isPromising || (isFree && m_onlyListens)) {
        return; // it shows later
    } else if (isFree && m_said == TextId::None) {
        m_ports->Listens = false;
        device().ForgetDialogue();
    } else if (m_said == TextId::None) {
        note(TextId::CliTrafficForeign);
    }
}

void Watching::note(TextId id)
{
    if (std::exchange(m_said, id) != id) {
        m_program.Note(m_program.Text(id));
    }
}

void Watching::join(std::int32_t format)
{
    device().AssumeParameter(&ParameterSet::OutputFormat, format);
    device().ForgetDialogue();
    device().StartMeasurement(); // goes nowhere
    m_heard.clear();
}

void Watching::print(bool all)
{
    const clsTraffic& traffic = *m_session.Traffic();
    const double now = modAPI::LocalTime();
    for (m_printed = std::max(m_printed, traffic.First()); m_printed < traffic.End(); ++m_printed) {
        const TrafficEntry& entry = traffic.At(m_printed);
        const double age_s = (now - entry.time) * kSecondsPerDay;
        const double least_s = entry.kind == TrafficKind::Waiting ? kMostSettled_s : kSettled_s;
        if (!all && age_s >= 0.0 && age_s < least_s) {
            return;
        }
        if (!m_ports->Listens || !IsToSensor(entry.kind)) {
            m_program.PrintData(lineOf(entry));
            if (m_program.Out().Waiting() > kMuch) {
                m_program.Out().Serve();
            }
        }
    }
}

std::string Watching::lineOf(const TrafficEntry& entry) const
{
    const clsTraffic& traffic = *m_session.Traffic();
    const modTrafficText::Style style{m_program.Language(), '.'};
    if (!m_asJson) {
        return modTrafficText::FileLine(traffic, entry, style);
    }
    const std::string bytes = traffic.BytesOf(entry);
    return "{\"time\":\"" + IsoText(entry.time) + IsoOffset(modAPI::UtcOffsetsOf(entry.time).first_min) +
           "\",\"direction\":\"" + modTrafficText::Direction(entry.kind) + "\",\"hex\":\"" +
           modTrafficText::Hex(bytes) + "\",\"text\":" + modRows::Quoted(modTrafficText::Text(bytes)) +
           ",\"meaning\":" + modRows::Quoted(modTrafficText::Meaning(traffic, entry, style)) + '}';
}

void Watching::waitForTick(double due_s)
{
    modAPI::CollectUntil(
        due_s, [this] { return device().ArrivalHandle(); },
        [this] { return m_session.Collect(modAPI::LocalTime()) > 0; });
}

} // namespace

int RunTraffic(clsProgram& program, const clsArguments& arguments)
{
    const std::optional<double> limit_s = LimitOf(arguments);
    const std::string_view format = arguments.Value("format").value_or("text");
    if (format != "text" && format != "json") {
        throw UsageError("--format takes text or json");
    }
    program.RequirePort();
    return Watching(program, format == "json", arguments.Has("listen")).Run(limit_s);
}
