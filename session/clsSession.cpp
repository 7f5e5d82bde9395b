#include "session/clsSession.h"

#include "session/modHandSending.h"

#include <algorithm>
#include <iterator>
#include <utility>

clsSession::clsSession(std::unique_ptr<SerialPort> port, const modGlobals::Settings& settings,
                       std::filesystem::path folder, char decimalSeparator, const RecordDisk& disk)
    : m_settings(settings), m_port(std::move(port)), m_device(*m_port),
      m_loop(m_device, settings, m_listeners, decimalSeparator), m_recorder(std::move(folder), disk),
      m_history(static_cast<std::size_t>(settings.History_MiB) << 20U)
{
    m_recorder.Describe = [this](const clsRecorder::Period& period) { return infoOfRecording(period); };
    m_recorder.Renamed = [this](const auto& from, const auto& to) { m_marks.Renamed(from, to); };
    m_marks.ChangePresent = [this](const MarkChange& change) { changeMarks(change); };
    m_recorder.Taking = [this](bool isFirst) { noteValues(isFirst); };
    m_loop.KeepWrites(m_writes);
    m_listeners.Add(*this);
}

clsSession::~clsSession()
{
    End();
}

void clsSession::Tick(double now)
{
    if (m_recorder.Mode != RecorderPlaying) {
        m_loop.Tick(now);
        noteIdentity(now);
        stepOperations();
    }
}

/// The sensor has sent its dump. What a write reads is compared by the write itself; it counts as one when it is over.
void clsSession::noteIdentity(double now)
{
    if (m_device.Wait().Running) {
        return;
    }
    if (std::exchange(m_undoOpening, m_device.Openings()) != m_device.Openings()) {
        m_writes.ForgetUndo({});
    }
    const bool isKnown = m_device.CommStatus() != DialogueNone && m_loop.IsSensorKnown();
    if (isKnown && std::exchange(m_notedDumps, m_loop.Dumps()) != m_loop.Dumps()) {
        m_writes.NoteIdentity(m_device.Identity(), m_device.Parameters(), Origin ? Origin().port : std::string(), now);
    }
}

void clsSession::stepOperations()
{
    if (m_isStepping) {
        return; // a step lets events be handled, a tick among them
    }
    struct Stepping {
        clsSession& session;
        bool isOver = true; ///< also when the step throws
        ~Stepping()
        {
            session.m_isStepping = false;
            if (isOver) {
                session.m_operations.pop_front();
            }
            if (session.m_device.Wait().Ended) {
                session.m_operations.clear();
            }
        }
    };
    while (!m_operations.empty()) {
        m_isStepping = true;
        Stepping stepping{*this};
        stepping.isOver = m_operations.front().Step();
        if (!stepping.isOver) {
            return;
        }
    }
}

void clsSession::ServeFiles(double now)
{
    if (m_recorder.Mode == RecorderPlaying) {
        return;
    }
    const std::string before = m_recorder.FileName;
    m_recorder.Flush(now);
    followOrigin(!m_recorder.HasLine());
    if (m_recorder.Mode == RecorderRecording && m_recorder.FileName != before) {
        m_listeners.RecordingStarted(m_recorder.FileName);
    }
    serveMarks();
    tellCounts();
    tellFailure();
    for (const auto& [file, error] : m_recorder.TakeLateFailures()) {
        m_listeners.RecordingNotClosed(file, error);
    }
}

void clsSession::tellFailure()
{
    const std::error_code failure = m_recorder.Failure();
    if (std::exchange(m_toldFailure, failure) != failure && failure) {
        m_listeners.RecordingFailed(failure);
    }
}

/// What the recorder counts goes to the account of the measurement, which may have begun since the lines were counted:
/// lines that it does not know cannot be taken back from it.
void clsSession::tellCounts()
{
    RecordCounts counts = m_recorder.TakeCounts();
    const std::int64_t unknown = std::min<std::int64_t>(m_loop.Account().Figures().recorded + counts.recorded, 0);
    m_loop.Account().Recorded(counts.recorded - unknown, counts.passedOver, counts.unwritten + unknown);
}

void clsSession::StartRecording(std::string_view name)
{
    constexpr std::int64_t kMiB = std::int64_t{1} << 20;
    m_marks.BeginRecording();
    m_recorder.StartRecording(
        {.name = std::string(name), .parts = m_settings.NewFile, .partBytes = m_settings.FileSize * kMiB});
    m_unrecorded.clear();
    m_listeners.RecordingStarted(m_recorder.FileName);
}

/// What a file that begins now would say about itself.
RecordingInfo clsSession::origin() const
{
    RecordingInfo info = Origin ? Origin() : RecordingInfo();
    info.simulated = m_isSimulated;
    info.everyValue = m_settings.EveryValue;
    info.isSensorKnown = m_loop.IsSensorKnown();
    if (info.isSensorKnown) {
        info.sensor = m_device.Identity();
        info.parameters = m_device.Parameters();
    }
    return info;
}

/// What a file of a recording says about itself.
RecordingInfo clsSession::infoOfRecording(const clsRecorder::Period& period)
{
    tellCounts(); // of the file that ends
    // Of several values that are due, the recorder has got one.
    const bool areMore = !period.behind.empty() && !m_unrecorded.empty();
    const std::span<const Measurement> behind = areMore ? m_unrecorded : period.behind;
    if (!period.start) {
        m_file = origin();
        m_file.start = period.now;
        m_marks.BeginFile(m_history.Times().PlaceOf(period.now));
        m_loop.Account().BeginRecording(behind);
        return m_file;
    }
    RecordingInfo info = m_file;
    info.end = period.now;
    m_marks.EndFile(m_history.Times().PlaceOf(period.now));
    info.account = m_loop.Account().Recording(behind);
    info.gaps = m_loop.Account().RecordingGaps(behind);
    info.gapsDropped = m_loop.Account().RecordingGapLog().Dropped();
    info.longestDroppedGap_ms = m_loop.Account().RecordingGapLog().LongestDropped_ms();
    return info;
}

/// The file that is recorded now says what its marks are.
void clsSession::changeMarks(const MarkChange& change)
{
    Apply(change, m_file.marks);
    m_recorder.DescribeAgain(m_file);
}

void clsSession::serveMarks()
{
    for (const MarkOutcome& failure : m_marks.Serve()) {
        const std::error_code why = failure.why ? failure.why : std::make_error_code(std::errc::bad_message);
        m_listeners.RecordingNotClosed(failure.sidecar, why);
    }
}

void clsSession::noteValues(bool areFirst)
{
    followOrigin(areFirst);
    m_file.simulated = m_file.simulated || m_isSimulated;
    m_file.everyValue = m_file.everyValue && m_settings.EveryValue;
}

/// A file says where its first value comes from. What was not known then, it says as soon as it is known.
void clsSession::followOrigin(bool isEmpty)
{
    if (m_recorder.Mode != RecorderRecording || m_file.start == 0.0 || (!isEmpty && m_file.isSensorKnown)) {
        return;
    }
    RecordingInfo now = origin();
    if (!isEmpty) {
        now.program = m_file.program;
        now.version = m_file.version;
        now.port = m_file.port;
        now.simulated = m_file.simulated;
        now.everyValue = m_file.everyValue;
    }
    now.marks = m_file.marks;
    now.start = m_file.start;
    now.offset_min = m_file.offset_min;
    if (now != m_file) {
        m_file = std::move(now);
        m_recorder.DescribeAgain(m_file);
    }
}

/// A file has the values of one sensor; another one on the same line begins another file.
void clsSession::separateSensors(std::span<const Measurement> first)
{
    const bool isAnother =
        m_file.isSensorKnown && m_loop.IsSensorKnown() && m_file.sensor.SerialNo != m_device.Identity().SerialNo;
    if (isAnother) {
        m_recorder.BeginFile(first);
    }
}

void clsSession::Sampled(std::span<const Measurement> samples, std::string_view temperature)
{
    m_history.Add(samples, m_loop.Account().Ended());
    if (m_recorder.Mode != RecorderRecording) {
        return;
    }
    if (!m_settings.EveryValue) {
        m_unrecorded.insert(m_unrecorded.end(), samples.begin(), samples.end()); // `Measured` and `Ticked` follow
        return;
    }
    if (Wanted) {
        recordWanted(samples, temperature);
    } else {
        separateSensors(samples);
        m_recorder.Record(samples, temperature);
    }
    tellCounts();
    tellFailure();
}

/// Those before a wanted one first, since that one may begin another file.
void clsSession::recordWanted(std::span<const Measurement> samples, std::string_view temperature)
{
    m_unrecorded.assign(samples.begin(), samples.end());
    for (const Measurement& sample : samples) {
        if (!Wanted(sample)) {
            continue;
        }
        passOver(std::ssize(m_unrecorded) - (samples.data() + samples.size() - &sample));
        separateSensors({&sample, 1});
        m_recorder.Record(sample, temperature);
        m_unrecorded.erase(m_unrecorded.begin());
    }
    passOver(std::ssize(m_unrecorded));
}

void clsSession::Measured(const Measurement& measurement, std::string_view temperature)
{
    if (m_unrecorded.empty()) {
        return;
    }
    // The older values first, since this one may begin another file. Of those that are due, each comes here.
    const auto newest = m_device.HasDue()
                            ? std::ranges::find(m_unrecorded, measurement.value_mm, &Measurement::value_mm)
                            : std::prev(m_unrecorded.end());
    passOver(newest == m_unrecorded.end() ? 0 : newest - m_unrecorded.begin());
    separateSensors({&measurement, 1});
    m_recorder.Record(measurement, temperature);
    m_unrecorded.erase(m_unrecorded.begin());
    tellCounts();
    tellFailure();
}

/// So many of the oldest values of this tick.
void clsSession::passOver(std::ptrdiff_t number)
{
    m_recorder.PassOver(number);
    m_file.everyValue = m_file.everyValue && number == 0;
    m_unrecorded.erase(m_unrecorded.begin(), m_unrecorded.begin() + number);
}

void clsSession::Ticked()
{
    if (!m_device.HasDue()) {
        passOver(std::ssize(m_unrecorded));
        tellCounts();
    }
}

modPlayback::Loaded clsSession::Play(std::span<const RecordPart> parts,
                                     const std::function<bool(double fraction)>& goOn)
{
    const std::filesystem::path& file = parts.front().file;
    struct Playing {
        clsSession& session;
        ~Playing() ///< also when a listener throws
        {
            session.m_loop.StopPlaying();
            session.m_recorder.Stop();
        }
    } const playing{*this};
    m_recorder.StartPlaying(file);
    auto before =
        std::exchange(m_played, std::make_unique<clsHistory>(static_cast<std::size_t>(m_settings.History_MiB) << 20U));
    m_marks.BeginPlayed();
    m_listeners.PlaybackBegins(); // who looks at the history before turns to the new one
    before.reset();               // its memory is needed
    m_loop.BeginPlaying();
    const auto goesOn = [&](double read) {
        m_listeners.PlaybackGoesOn(); // before events are handled: what is new can be painted with them
        return goOn(read) && m_recorder.Mode == RecorderPlaying;
    };
    modPlayback::Loaded loaded =
        modPlayback::LoadData(parts, m_device.Parameters(),
                              {.history = *m_played,
                               .show = [this](auto measurements, double shift) { m_loop.Play(measurements, shift); },
                               .gap = [this](double place) { m_loop.PlayGap(place); },
                               .goOn = goesOn},
                              m_recorder.Played);
    m_marks.ShowPlayed(m_played->Times(), parts);
    m_loop.TellPlayed();
    m_listeners.PlaybackLoaded(loaded);
    m_loop.EndPlaying(loaded.end);
    if (!loaded.temperature.empty()) {
        m_listeners.ShowTemperature(loaded.temperature);
    }
    m_listeners.PlaybackEnds(file, loaded);
    return loaded;
}

/// Values are measured again: the recording is no longer shown.
void clsSession::ResetChart()
{
    m_marks.EndPlayed();
    m_played.reset();
}

void clsSession::WatchTraffic(bool on)
{
    if (on == (m_traffic != nullptr)) {
        return;
    }
    m_device.Watch(nullptr);
    m_traffic = on ? std::make_unique<clsTraffic>() : nullptr;
    m_device.Watch(m_traffic.get());
}

TextId clsSession::ObstacleByHand(std::string_view typed) const
{
    if (!m_device.PortIsOpen()) {
        return TextId::HandNoPort;
    }
    if (m_device.Wait().Running || !m_operations.empty() || m_recorder.Mode == RecorderPlaying) {
        return TextId::HandBusy;
    }
    return m_loop.MayBeSentByHand(typed) ? TextId::None : TextId::HandMeasuring;
}

void clsSession::SendByHand(std::string_view typed)
{
    if (modHandSending::ProblemOf(typed) == TextId::None && ObstacleByHand(typed) == TextId::None) {
        Start(m_loop.SendingByHand(std::string(typed)));
    }
}

void clsSession::End()
{
    m_loop.Unload();
    if (!m_isStepping) {
        m_operations.clear(); // else once the step is over that ends the session
    }
    m_recorder.Stop();
}
