// Full rate for an hour in a short time: a session and the simulated sensor with one given clock, 500 values a second
// in the binary formats, 250 in the text formats. Every value carries its number. Clean, the values sent, the samples,
// the lines of the recording and the account have to be the same. Damaged, each value sent is either a sample or was
// lost with damage beside it. Nothing is a sample that was not sent, except where two faults in one reply have made
// another value of it.
// orvex_bench_fullrate [SECONDS]
#include "base/Days.h"
#include "session/clsSession.h"
#include "simulator/clsSensorModel.h"
#include "store/clsRecordReader.h"
#include "store/modSidecar.h"
#include "tests/support/PlayedLine.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr double kBegin = 46000.0; // days since 1899-12-30
constexpr double kTick_s = 0.05, kLook_s = 0.01;
constexpr double kRateStays_s = 7.0;
constexpr double kFaultsPerByte = 0.0002;  // each: bytes that vanish, and foreign ones
constexpr std::size_t kNeighbours = 16;    // values that damage may take with it: they cannot be told from its effects
constexpr std::int64_t kMostAltered = 100; // one in so many damaged ones
constexpr std::int64_t kMostGrown_KiB = 2048;
constexpr char kMemory[] = "/dev/shm";

struct Case {
    const char* name;
    simulator::Format format;
    std::int32_t lineRate;
    std::optional<double> values_Hz; ///< none: the averaging depth changes again and again
    bool isDamaged = false;
};

constexpr Case kCases[] = {
    {"ASCII, 250/s", simulator::Format::Ascii, 38400, 250},
    {"ASCII+UNIT, 250/s", simulator::Format::AsciiUnit, 57600, 250},
    {"BINARY, 500/s", simulator::Format::Binary, 38400, 500},
    {"BINARY+CRC, 500/s", simulator::Format::BinaryCrc, 38400, 500},
    {"ASCII+UNIT, 1 to 240/s", simulator::Format::AsciiUnit, 38400, {}},
    {"BINARY, 1 to 960/s", simulator::Format::Binary, 38400, {}},
    {"BINARY+CRC, 1 to 640/s", simulator::Format::BinaryCrc, 38400, {}},
    {"ASCII, 250/s, damaged", simulator::Format::Ascii, 38400, 250, true},
    {"ASCII+UNIT, 250/s, damaged", simulator::Format::AsciiUnit, 57600, 250, true},
    {"BINARY, 500/s, damaged", simulator::Format::Binary, 38400, 500, true},
    {"BINARY+CRC, 500/s, damaged", simulator::Format::BinaryCrc, 38400, 500, true},
};

/// What was sent, and which of it has become samples.
class Ledger {
public:
    std::int64_t sent = 0, damaged = 0;
    std::int64_t saved = 0;   ///< damaged ones that were read nevertheless
    std::int64_t altered = 0; ///< damaged ones that were read as another value
    std::int64_t beside = 0;  ///< good ones that were lost near damage
    std::int64_t missing = 0; ///< good ones that were lost elsewhere
    std::int64_t again = 0;   ///< samples of values that had been sampled or passed by: twice, or out of order
    std::int64_t wrong = 0;   ///< samples that were not sent lately

    void Sent(const simulator::SentValue& value)
    {
        m_open.push_back({std::atoi(value.text.c_str()), value.isDamaged, sent++});
        damaged += value.isDamaged ? 1 : 0;
    }
    void Sampled(std::int32_t value_mm)
    {
        if (m_newest) {
            settle(*m_newest, value_mm);
        }
        m_newest = value_mm;
    }
    /// The sensor is silent: what has not come is lost.
    void Close()
    {
        if (m_newest) {
            settle(*m_newest, {});
        }
        std::ranges::for_each(m_open, [this](const Value& value) { pass(value, true); });
        m_open.clear();
        for (; !m_lost.empty(); m_lost.pop_front()) {
            ++missing;
        }
    }

private:
    struct Value {
        std::int32_t value_mm;
        bool isDamaged;
        std::int64_t number;
    };
    /// Finds what was sent. A damaged value may have been read as one that was sent before, or comes later: then it is
    /// out of order, or the next sample is.
    void settle(std::int32_t value_mm, std::optional<std::int32_t> next_mm)
    {
        auto found = std::ranges::find(m_open, value_mm, &Value::value_mm);
        const auto damage = std::ranges::find(m_open, true, &Value::isDamaged);
        const bool isOvertaken = next_mm && std::find_if(m_open.begin(), found, [&](const Value& value) {
                                                return value.value_mm == *next_mm;
                                            }) != found;
        if (damage < found && (found == m_open.end() || isOvertaken)) {
            found = damage;
            ++altered;
        } else if (found == m_open.end()) {
            const bool isOld = std::ranges::find(m_past, value_mm, &Value::value_mm) != m_past.end();
            ++(isOld ? again : wrong);
            return;
        }
        std::for_each(m_open.begin(), found, [this](const Value& value) { pass(value, true); });
        saved += found->isDamaged && found->value_mm == value_mm ? 1 : 0;
        pass(*found, false);
        m_open.erase(m_open.begin(), found + 1);
    }
    /// A value is done with. A lost one is judged by the values around it, some of which are still to come.
    void pass(const Value& value, bool isLost)
    {
        if (value.isDamaged) {
            beside += std::ssize(m_lost);
            m_lost.clear();
            m_lastDamage = value.number;
        } else if (isLost && value.number - m_lastDamage <= kReach) {
            ++beside;
        } else if (isLost) {
            m_lost.push_back(value.number);
        }
        for (; !m_lost.empty() && value.number - m_lost.front() > kReach; m_lost.pop_front()) {
            ++missing;
        }
        m_past.push_back(value);
        if (m_past.size() > kRemembered) {
            m_past.pop_front();
        }
    }

    static constexpr std::int64_t kReach = kNeighbours;
    static constexpr std::size_t kRemembered = 1000;
    std::optional<std::int32_t> m_newest; // sample, which the next one helps to judge
    std::deque<Value> m_open;             // not yet sampled or lost
    std::deque<Value> m_past;
    std::deque<std::int64_t> m_lost; // good ones with no damage in front of them
    std::int64_t m_lastDamage = -kReach - 1;
};

/// The order of the values counts.
struct Sum {
    std::int64_t values = 0;
    std::uint64_t sum = 0;
    bool operator==(const Sum&) const = default;
    void Add(MeasurementKind kind, std::int32_t value_mm)
    {
        const auto number = kind == MeasurementKind::Distance ? value_mm : -static_cast<std::int32_t>(kind);
        sum = sum * 1000003 + static_cast<std::uint64_t>(number);
        ++values;
    }
};

Sum readBack(const std::string& file)
{
    Sum found;
    clsRecordReader reader(file);
    while (reader.Next() == RecordStep::Value) {
        found.Add(reader.Value().kind, reader.Value().value_mm);
    }
    return found;
}

class Line : public PlayedLine {
public:
    simulator::clsSensorModel model;
    Ledger ledger;

    Line(const simulator::SensorOptions& options, const double& now_s) : model(options), m_now_s(now_s) {}

private:
    void sent(char command) override { model.Receive({&command, 1}, m_now_s); }
    void arrive() override
    {
        Arriving += model.Transmit(m_now_s);
        for (const simulator::SentValue& value : model.JustSent()) {
            ledger.Sent(value);
        }
    }
    void dropped() override { model.Transmit(m_now_s); }

    const double& m_now_s;
};

std::int64_t resident_KiB()
{
    std::int64_t size = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

class FullRate : SessionListener {
public:
    explicit FullRate(const Case& play) : m_case(play)
    {
        m_session.Listen(*this);
        m_session.Loop().MeasureWhenConnected();
    }
    ~FullRate() override { m_session.Leave(*this); }

    /// Prints a row; false when something is wrong.
    bool Play(double seconds)
    {
        m_session.ServeFiles(kBegin);
        m_session.StartRecording();
        runUntil([this] { return m_line->ledger.sent > 0; });
        if (m_case.isDamaged) {
            m_line->model.Faults().lost = m_line->model.Faults().garbage = kFaultsPerByte;
        }
        const double end_s = m_now_s + seconds, early_s = m_now_s + std::min(60.0, seconds / 2);
        runUntil([&] { return m_now_s >= early_s; });
        const std::int64_t early_KiB = resident_KiB() - kept_KiB();
        runUntil([&] { return m_now_s >= end_s; });
        const std::int64_t grown_KiB = resident_KiB() - kept_KiB() - early_KiB;
        m_line->model.Receive("S", m_now_s); // the sensor alone, so that nothing on its way is dropped
        const double silent_s = m_now_s + 0.5;
        runUntil([&] { return m_now_s >= silent_s; });
        m_line->ledger.Close();
        m_session.End();
        m_session.FinishWriting(std::chrono::minutes(1));
        return report(grown_KiB);
    }

private:
    template <typename Condition>
    void runUntil(const Condition& isOver)
    {
        while (!isOver()) {
            for (double look_s = kLook_s; look_s < kTick_s - kLook_s / 2; look_s += kLook_s) {
                m_now_s += kLook_s;
                m_session.Collect(kBegin + m_now_s / kSecondsPerDay);
            }
            m_now_s = static_cast<double>(++m_ticks) * kTick_s;
            if (!m_case.values_Hz) {
                m_line->model.SetParameter("301", static_cast<std::int32_t>(m_now_s / kRateStays_s) % 5);
            }
            const double now = kBegin + m_now_s / kSecondsPerDay;
            m_session.ServeFiles(now);
            m_session.Tick(now);
            m_wrongAccounts += account().AddUp() && m_session.Loop().Account().Recording().AddUp() ? 0 : 1;
        }
    }

    void Sampled(std::span<const Measurement> samples, std::string_view) override
    {
        for (const Measurement& sample : samples) {
            m_line->ledger.Sampled(sample.value_mm);
            m_sampled.Add(KindOf(sample), sample.value_mm);
            m_backwards += sample.time < std::exchange(m_lastTime, sample.time) ? 1 : 0;
        }
    }

    const AccountFigures& account() { return m_session.Loop().Account().Figures(); }
    /// What the session keeps on purpose.
    std::int64_t kept_KiB() const { return static_cast<std::int64_t>(m_session.History().Bytes() / 1024); }

    bool report(std::int64_t grown_KiB)
    {
        const Ledger& ledger = m_line->ledger;
        const std::string file = m_session.Recorder().FileName;
        const Sum recorded = readBack(file);
        std::error_code why;
        const auto sidecar = modSidecar::Read(modSidecar::SidecarOf(file), why);
        const bool isAccountRight = m_wrongAccounts == 0 && account().Understood() == m_sampled.values &&
                                    account().recorded == recorded.values && account().unwritten == 0 && sidecar &&
                                    sidecar->account.recorded == recorded.values;
        const bool isComplete = ledger.missing == 0 && ledger.again == 0 && ledger.wrong == 0 &&
                                ledger.altered <= 1 + ledger.damaged / kMostAltered &&
                                (m_case.isDamaged || (recorded.values == ledger.sent && account().damaged == 0 &&
                                                      account().valid == ledger.sent));
        const bool isRight = isAccountRight && isComplete && recorded == m_sampled && m_backwards == 0 &&
                             ledger.sent > 0 && grown_KiB <= kMostGrown_KiB;
        const std::int64_t columns[] = {ledger.sent,       ledger.damaged,   ledger.saved,    ledger.altered,
                                        ledger.beside,     m_sampled.values, recorded.values, account().valid,
                                        account().damaged, ledger.missing,   ledger.again,    ledger.wrong,
                                        m_backwards,       m_wrongAccounts,  kept_KiB(),      grown_KiB};
        std::printf("| %s |", m_case.name);
        for (const std::int64_t column : columns) {
            std::printf(" %lld |", static_cast<long long>(column));
        }
        std::printf(" %s |\n", isRight ? "yes" : "NO");
        return isRight;
    }

    const Case& m_case;
    TemporaryFolder m_folder;
    double m_now_s = 0.0;
    Line* m_line = new Line(
        {.lineRate = m_case.lineRate, .format = m_case.format, .values_Hz = m_case.values_Hz, .counts = true}, m_now_s);
    modGlobals::Settings m_settings{.Baudrate = m_case.lineRate};
    clsSession m_session{std::unique_ptr<SerialPort>(m_line), m_settings, m_folder.path, '.'};
    Sum m_sampled;
    std::int64_t m_ticks = 0, m_wrongAccounts = 0, m_backwards = 0;
    double m_lastTime = 0.0;
};

/// In a process of its own, which begins with fresh memory.
bool playApart(const Case& row, double seconds)
{
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        const bool isRight = FullRate(row).Play(seconds);
        std::fflush(stdout);
        _exit(isRight ? 0 : 1);
    }
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && status == 0;
}

} // namespace

int main(int argc, char** argv)
{
    const double seconds = argc > 1 ? std::atof(argv[1]) : 3600.0;
    if (access(kMemory, W_OK) == 0) {
        setenv("TMPDIR", kMemory, 0); // else the disk has to take the lines of hours in minutes
    }
    std::printf("| sensor | sent | damaged | of these, read | read as another value | good ones lost with them | "
                "samples | lines read back | "
                "account: valid | damaged | missing | twice or out of order | never sent | times backwards | "
                "wrong accounts | history, KiB | other memory grown, KiB | right |\n");
    std::printf("|---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|\n");
    bool isRight = true;
    for (const Case& row : kCases) {
        isRight = playApart(row, seconds) && isRight;
    }
    return isRight ? 0 : 1;
}
