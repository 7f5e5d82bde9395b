#include "session/clsFinder.h"

#include "port/modPortScan.h"
#include "sensor/modHearing.h"
#include "sensor/modReplySteps.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <string_view>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <utility>

namespace {

/// The rates of the sensor. The usual one first; of the others the fast ones, which are looked at in less time.
constexpr std::int32_t kSensorRates[] = {9600, 19200, 38400, 4800, 2400, 1200};

// A sensor that averages over the most values sends one every 0.8 s. All the limits together stay below `kPort_s`.
constexpr double kOpening_s = 6.0;
constexpr double kQuiet_s = 1.2; // without a byte: nothing measures there
constexpr double kFirstRate_s = 2.2, kOtherRate_s = 1.0, kPromising_s = 2.5;
constexpr double kSure_s = 0.25;         // a fast line shows more values before one is believed
constexpr std::size_t kManyBytes = 40;   // that say nothing: another rate
constexpr double kAnswer_s = 0.6;        // until the first bytes of an answer are there
constexpr double kAnswerBits = 100.0;    // and these bits
constexpr double kPause_s = 0.5;         // an answer has ended
constexpr double kLastStep_s = 0.1;      // the last step comes late by the caller's pause
constexpr std::size_t kMostHeard = 8192; // bytes
constexpr double kMostDelay_s = 1.0;
constexpr std::size_t kLongestText = 64;
constexpr std::string_view kQuestion = "C";
constexpr std::string_view kDumpBegin = "Type:";

/// What may be a dump: it begins with a line, or behind the echo of the question. "Content-Type:" begins none.
std::string_view fromDump(std::string_view heard)
{
    for (std::size_t at = heard.find(kDumpBegin); at != std::string_view::npos; at = heard.find(kDumpBegin, at + 1)) {
        if (at == 0 || heard[at - 1] == '\n' || heard.substr(0, at) == kQuestion) {
            return heard.substr(at);
        }
    }
    return {};
}

/// False for a file, and for /dev/null and its like, which many programs have open.
bool mayBeTerminal(const std::string& device)
{
    constexpr unsigned kMemoryDevices = 1;
    struct stat info {};
    return stat(device.c_str(), &info) == 0 && S_ISCHR(info.st_mode) && major(info.st_rdev) != kMemoryDevices;
}

/// A line of text arrives only at the right rate; anything else may come from a sensor at another one.
bool holdsTextLine(std::string_view heard)
{
    const auto isShown = [](char byte) { return byte > ' ' && byte <= '~'; };
    for (std::size_t end = heard.find('\n'); end != std::string_view::npos; end = heard.find('\n')) {
        const std::string_view line = heard.substr(0, end);
        const bool isText = std::ranges::all_of(
            line, [&](char byte) { return isShown(byte) || byte == ' ' || byte == '\t' || byte == '\r'; });
        if (isText && std::ranges::any_of(line, isShown)) {
            return true;
        }
        heard.remove_prefix(end + 1);
    }
    return false;
}

} // namespace

std::optional<PortUser> clsFinder::AskSystem(const std::string& device)
{
    if (!mayBeTerminal(device)) {
        return std::nullopt;
    }
    const auto users = modPortScan::UsersOf({device});
    return users.empty() ? std::nullopt : std::optional(users.begin()->second);
}

clsFinder::clsFinder(SerialPort& port, std::vector<FindCandidate> candidates, Tell tell, UserOf userOf)
    : m_port(port), m_candidates(std::move(candidates)), m_tell(std::move(tell)), m_userOf(std::move(userOf)),
      m_work(finding())
{}

bool clsFinder::Step(double now_s)
{
    m_now_s = now_s;
    if (m_work && m_work->Step()) {
        m_work.reset();
    }
    return !m_work;
}

Operation<> clsFinder::finding()
{
    for (m_at = 0; m_at < m_candidates.size(); ++m_at) {
        if (candidate().isOwn) {
            tell(FindEvent::Own);
            continue;
        }
        Operation<bool> look = lookingForUser();
        if (co_await look) {
            continue;
        }
        Operation<> search = searching();
        co_await search;
    }
}

Operation<> clsFinder::searching()
{
    struct Closing { ///< also when the search is cancelled
        SerialPort& line;
        std::int32_t port;
        ~Closing() { line.sio_close(port); }
    } const closing{m_port, candidate().port};
    m_portEnd_s = m_now_s + kPort_s - kLastStep_s;
    m_format.reset();
    m_serialNo.clear();
    m_version.clear();
    Operation<bool> open = opening();
    if (!co_await open) {
        co_return;
    }
    const std::vector<std::int32_t> rates = m_port.HasRate(candidate().port)
                                                ? std::vector(std::begin(kSensorRates), std::end(kSensorRates))
                                                : std::vector<std::int32_t>{0};
    Operation<Sound> hear = hearing(rates);
    const Sound sound = co_await hear;
    if (sound == Sound::Values) {
        noteFound();
    } else if (sound == Sound::Gone) {
        tellGone();
    } else if (sound == Sound::Bytes) {
        tell(FindEvent::OtherBytes);
    } else {
        Operation<> ask = asking(sound == Sound::Announcement ? std::vector{m_rate} : rates);
        co_await ask;
    }
}

/// True when another program has the device. The system keeps out neither root nor anybody from a device whose user has
/// not locked it, and opening it would set the line under that program's feet.
Operation<bool> clsFinder::lookingForUser()
{
    using namespace std::chrono_literals;
    if (candidate().device.empty()) {
        co_return false;
    }
    // Where no thread can start, the answer is worked out in `get`.
    std::future<std::optional<PortUser>> answer =
        std::async(std::launch::async | std::launch::deferred, m_userOf, candidate().device);
    while (answer.wait_for(0s) == std::future_status::timeout) {
        co_await NextStep{};
    }
    const std::optional<PortUser> user = answer.get();
    if (user) {
        tellNotOpened({OpenProblem::Busy, candidate().device, {}, {}, *user});
    }
    co_return user.has_value();
}

Operation<bool> clsFinder::opening()
{
    const std::int32_t port = candidate().port;
    const double end_s = m_now_s + kOpening_s;
    m_rate = 0;
    tell(FindEvent::Opening);
    co_await NextStep{}; // it is shown before a device that opens slowly
    PortState state = m_port.sio_open(port) == 0 ? m_port.State(port) : PortState::Closed;
    while (state == PortState::Opening && m_now_s < end_s) {
        co_await NextStep{};
        state = m_port.State(port);
    }
    if (state == PortState::Open) {
        co_return true;
    }
    tellNotOpened(state == PortState::Opening ? OpenFailure{OpenProblem::TimedOut, candidate().name, {}, {}}
                                              : m_port.LastFailure(port));
    co_return false;
}

/// Silence is the same at every rate; bytes that say nothing may be values at another one. Silence behind them does not
/// make the line a quiet one: whatever has sent them is still there.
Operation<clsFinder::Sound> clsFinder::hearing(const std::vector<std::int32_t>& rates)
{
    Sound sound = Sound::Bytes;
    bool isMute = true;
    double limit_s = kFirstRate_s;
    for (const std::int32_t rate : rates) {
        Operation<Sound> listen = listeningAt(rate, std::exchange(limit_s, kOtherRate_s));
        sound = co_await listen;
        isMute = isMute && m_heard.empty();
        if (sound != Sound::Bytes && (sound != Sound::Quiet || isMute)) {
            co_return sound;
        }
    }
    co_return isMute ? Sound::Quiet : Sound::Bytes;
}

Operation<clsFinder::Sound> clsFinder::listeningAt(std::int32_t rate, double limit_s)
{
    beginAt(rate, FindEvent::Listening);
    for (;;) {
        co_await NextStep{};
        if (!takeArrived()) {
            co_return Sound::Gone;
        }
        if (modReplySteps::HoldsAnnouncement(m_heard)) {
            co_return Sound::Announcement;
        }
        if (hearsValues()) {
            co_return Sound::Values;
        }
        if (m_now_s - m_lastArrival_s >= kQuiet_s + delay_s()) {
            co_return m_heard.empty() ? Sound::Quiet : Sound::Bytes;
        }
        const bool saysNothing =
            m_heard.size() >= kManyBytes && !m_isPromising && m_now_s - m_firstArrival_s >= kSure_s;
        const double most_s = (m_isPromising ? kPromising_s : limit_s) + delay_s();
        if (saysNothing || m_now_s - m_begun_s >= most_s || isTimeUp()) {
            co_return Sound::Bytes;
        }
    }
}

Operation<> clsFinder::asking(std::vector<std::int32_t> rates)
{
    const bool isAnnounced = modReplySteps::HoldsAnnouncement(m_heard);
    FindEvent outcome = isAnnounced ? FindEvent::Found : FindEvent::NoAnswer;
    for (const std::int32_t rate : rates) {
        Answer answer = Answer::Cut;
        for (int attempt = 0; attempt < 2 && answer == Answer::Cut && !isTimeUp(); ++attempt) {
            Operation<Answer> ask = askingAt(rate);
            answer = co_await ask;
            const bool isSensor = answer == Answer::Cut || answer == Answer::Dump || answer == Answer::Values;
            outcome = isSensor                    ? FindEvent::Found
                      : answer == Answer::Echo    ? FindEvent::OnlyEcho
                      : answer == Answer::Foreign ? FindEvent::OtherAnswer
                                                  : outcome;
        }
        if (outcome == FindEvent::Found || outcome == FindEvent::OtherAnswer || answer == Answer::Gone) {
            outcome = answer == Answer::Gone ? FindEvent::Vanished : outcome;
            break; // no further question to what is no sensor
        }
    }
    if (outcome == FindEvent::Found) {
        noteFound();
    } else if (outcome == FindEvent::Vanished) {
        tellGone();
    } else {
        tell(outcome);
    }
}

/// The answer to one question. A dump that has begun is read to its end, as long as it goes on.
Operation<clsFinder::Answer> clsFinder::askingAt(std::int32_t rate)
{
    beginAt(rate, FindEvent::Asking);
    m_port.sio_write(candidate().port, kQuestion);
    const double bits_s = rate > 0 ? kAnswerBits / rate : 0.0;
    bool isAnswered = false;
    for (;;) {
        co_await NextStep{};
        if (!takeArrived()) {
            co_return Answer::Gone;
        }
        const modReplySteps::DumpSpan dump = modReplySteps::FindDump(fromDump(m_heard));
        if (!dump.text.empty()) {
            noteDump(dump.text);
            co_return Answer::Dump;
        }
        if (hearsValues()) {
            co_return Answer::Values;
        }
        if (!isAnswered && (dump.begun || modReplySteps::HoldsAnnouncement(m_heard))) {
            isAnswered = true;
            tell(FindEvent::Reading);
        }
        const double wait_s = isAnswered ? kPause_s : kAnswer_s + bits_s;
        const double since_s = isAnswered ? m_lastArrival_s : m_begun_s;
        if (m_now_s - since_s >= wait_s + delay_s() || isTimeUp()) {
            co_return isAnswered     ? Answer::Cut
            : m_heard == kQuestion   ? Answer::Echo
            : holdsTextLine(m_heard) ? Answer::Foreign
                                     : Answer::None;
        }
    }
}

void clsFinder::beginAt(std::int32_t rate, FindEvent event)
{
    m_rate = rate;
    tell(event);
    if (rate > 0) {
        m_port.sio_baud(candidate().port, rate);
    }
    m_port.sio_flush(candidate().port, 0);
    m_port.sio_data_status(candidate().port); // forgets the errors of another rate
    m_heard.clear();
    m_isCleanLine = true;
    m_isPromising = false;
    m_begun_s = m_lastArrival_s = m_firstArrival_s = m_now_s;
}

/// False when the device has gone.
bool clsFinder::takeArrived()
{
    const std::int32_t port = candidate().port;
    const std::int32_t waiting = m_port.sio_iqueue(port);
    if (waiting > 0) {
        const std::size_t before = m_heard.size();
        m_heard.resize(before + static_cast<std::size_t>(waiting));
        const std::int32_t taken = m_port.sio_read(port, std::span(m_heard).subspan(before));
        m_heard.resize(before + static_cast<std::size_t>(std::clamp(taken, 0, waiting)));
        m_firstArrival_s = before == 0 ? m_now_s : m_firstArrival_s;
        m_lastArrival_s = m_now_s;
        m_heard.erase(0, m_heard.size() - std::min(m_heard.size(), kMostHeard));
        // The first byte may have begun before the rate was set.
        const bool hasErrors = (m_port.sio_data_status(port) & LineErrorFraming) != 0;
        m_isCleanLine = m_isCleanLine && !(hasErrors && before > 0);
    }
    return !m_port.HasVanished(port);
}

bool clsFinder::hearsValues()
{
    const modHearing::Heard heard = modHearing::HeardIn(m_heard, m_isCleanLine);
    m_isPromising = heard.format || heard.isPromising;
    if (heard.format && m_now_s - m_firstArrival_s >= kSure_s) {
        m_format = heard.format;
        return true;
    }
    return false;
}

void clsFinder::tell(FindEvent event)
{
    m_tell({event, candidate().name, m_rate, {}, m_at});
}

void clsFinder::tellNotOpened(OpenFailure failure)
{
    m_tell({FindEvent::NotOpened, candidate().name, 0, std::move(failure), m_at});
}

/// A server may have said why it has ended the connection; a device is just pulled.
void clsFinder::tellGone()
{
    OpenFailure failure = m_port.LastFailure(candidate().port);
    if (failure.problem == OpenProblem::None) {
        tell(FindEvent::Vanished);
    } else {
        tellNotOpened(std::move(failure));
    }
}

void clsFinder::noteFound()
{
    m_found.push_back(
        {candidate().port, candidate().name, m_rate, m_format, m_serialNo, m_version, candidate().hasNumber});
    tell(FindEvent::Found);
}

void clsFinder::noteDump(std::string_view dump)
{
    m_serialNo = modReplySteps::DumpValue(dump, "Serial-No:").substr(0, kLongestText);
    m_version = modReplySteps::DumpValue(dump, "Version:").substr(0, kLongestText);
}

/// The round trip of the line, up to a bound.
double clsFinder::delay_s() const
{
    return std::clamp(m_port.Delay_ms(candidate().port) / 1000.0, 0.0, kMostDelay_s);
}
