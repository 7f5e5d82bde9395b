// A long measurement in a short time: the measurement loop with a given clock and a played sensor at its other end, at
// 20 values a second with temperature polling and faults. Every value carries its own number, so that no loss, double
// or swap goes unseen. The values delivered must add up exactly to those shown and those that the faults took, and the
// values shown to those charted and recorded. The recording of each day is read back and deleted.
// orvex_bench_longrun [DAYS]
#include "plot/clsChartData.h"
#include "sensor/Crc16.h"
#include "session/SessionListener.h"
#include "session/clsMeasurementLoop.h"
#include "session/clsRecorder.h"
#include "store/clsRecordReader.h"
#include "tests/support/PlayedLine.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <unistd.h>
#include <utility>

namespace {

constexpr double kStart = 46000.0;             // days since 1899-12-30
constexpr std::int64_t kTicksPerDay = 1728000; // of 50 ms
constexpr std::int64_t kTicksPerSecond = 20;
constexpr std::int64_t kNumbers = 8000000; // values repeat after this many
constexpr std::int32_t kFirst_mm = 1000;
constexpr char kMemory[] = "/dev/shm";
constexpr std::int32_t kCharted = 30000;
constexpr std::string_view kDump =
    "Type: Serial\r\nAttenuator: D\r\nSerial-No: 1\r\nPointer: off\r\nTemperature: 23 C,  OK\r\n"
    "101: 3\r\n111: 0\r\n603: 0\r\n301: 2\r\nend\r\n";

std::string withCrc(std::string bytes)
{
    const std::uint16_t crc = Crc16(bytes, 0xFFFFFFFF);
    bytes += static_cast<char>(crc & 0xFF);
    bytes += static_cast<char>(crc >> 8);
    return bytes;
}

std::string frameOf(std::int32_t value_mm)
{
    const auto bits = static_cast<std::uint32_t>(value_mm);
    return withCrc({static_cast<char>(bits), static_cast<char>(bits >> 8), static_cast<char>(bits >> 16),
                    static_cast<char>(bits >> 24)});
}

/// The sensor and its line: answers at once, sends one value per tick, and breaks on request.
class PlayedSensor : public PlayedLine {
public:
    std::int64_t delivered = 0, damaged = 0, flushed = 0; ///< values
    std::int64_t polls = 0;
    bool isSilent = false;

    bool IsMeasuring() const { return m_measuring; }
    void SendValue(bool isMarker)
    {
        if (!m_measuring || isSilent || Pulled) {
            return;
        }
        Arriving += frameOf(isMarker ? kMarkerNoEcho : kFirst_mm + static_cast<std::int32_t>(m_next++ % kNumbers));
        ++delivered;
        ++m_waiting;
    }
    /// A value that arrives with one bit changed.
    void SendDamaged()
    {
        if (m_measuring && !isSilent && !Pulled) {
            std::string frame = frameOf(kFirst_mm + static_cast<std::int32_t>(m_next++ % kNumbers));
            frame[1] = static_cast<char>(frame[1] ^ 4);
            Arriving += frame;
            ++damaged;
        }
    }
    void Restart()
    {
        m_measuring = false;
        Arriving += "RVQ ready\r\n";
    }
    /// Values that were read since the last call.
    std::int64_t TakeRead() { return std::exchange(m_read, 0); }
    std::int64_t Waiting() const { return m_waiting; }

private:
    void sent(char command) override
    {
        if (isSilent || Pulled) {
            return;
        }
        switch (command) {
        case 'X':
            m_measuring = false;
            Arriving += "Sensor ready\r\n";
            break;
        case 'C':
            Arriving += kDump;
            break;
        case 'M':
        case 'S':
            m_measuring = command == 'M';
            break;
        case 'T':
            ++polls;
            Arriving += withCrc({23, 1});
            break;
        default:
            break;
        }
    }

    void dropped() override { flushed += std::exchange(m_waiting, 0); }
    void wasRead() override { m_read += std::exchange(m_waiting, 0); }

    std::int64_t m_next = 0, m_waiting = 0, m_read = 0;
    bool m_measuring = false;
};

/// The window: counts, keeps the chart's series, and checks that the values come in order.
class CountingView : public SessionListener {
public:
    std::int64_t shown = 0, markers = 0, charted = 0, temperatures = 0, disorders = 0, sampled = 0;
    double newest = 0.0;
    clsChartData series;

    CountingView() { series.InitChartData(kCharted); }
    void ShowDistance(const std::string& text) override
    {
        shown += text.empty() ? 0 : 1;
        markers += text == "No Echo" ? 1 : 0;
    }
    void ShowTemperature(const std::string& text) override { temperatures += text.empty() ? 0 : 1; }
    void ResetChart() override { series.InitChartData(kCharted); }
    void AddChartPoint(double time, double value) override
    {
        series.AddChartPoint(time, value);
        disorders += value <= newest && newest - value < static_cast<double>(kNumbers / 2) ? 1 : 0;
        newest = value;
        ++charted;
    }
    void Sampled(std::span<const Measurement> samples, std::string_view) override
    {
        sampled += static_cast<std::int64_t>(samples.size());
    }
    void AddChartGap(double time) override { series.AddChartPoint(time, std::nan("")); }
    void Measured(const Measurement& measurement, std::string_view temperature) override
    {
        OnMeasured(measurement, temperature);
    }
    std::function<void(const Measurement&, std::string_view temperature)> OnMeasured;
};

/// The recorder: a file for each day, with one sum over what it was given and one over what the file holds.
class DailyRecording {
public:
    std::int64_t recorded = 0, unrecorded = 0, readBack = 0, wrongFiles = 0;

    void Record(const Measurement& measurement, std::string_view temperature)
    {
        if (!modRecordLine::HasTemperature(temperature)) {
            ++unrecorded;
            return;
        }
        m_recorder.Record(measurement, temperature);
        recorded += m_recorder.Mode == RecorderRecording ? 1 : 0;
        add(m_given, KindOf(measurement), measurement.value_mm);
    }
    void Flush(double now) { m_recorder.Flush(now); }
    void Begin() { m_recorder.StartRecording(); }
    /// Ends the day's file, compares it with what was given, and deletes it.
    void End()
    {
        m_recorder.Stop();
        m_recorder.FinishWriting(std::chrono::minutes(1));
        const std::int64_t lines = m_recorder.Lines();
        std::int64_t found = 0;
        std::uint64_t sum = 0;
        if (lines > 0) {
            clsRecordReader reader(m_recorder.FileName);
            for (RecordStep step = reader.Next(); step == RecordStep::Value; step = reader.Next()) {
                add(sum, reader.Value().kind, reader.Value().value_mm);
                ++found;
            }
            std::filesystem::remove(m_recorder.FileName);
        }
        readBack += found;
        wrongFiles += found == lines && sum == m_given ? 0 : 1;
        m_given = 0;
    }

private:
    /// The order of the values counts.
    static void add(std::uint64_t& sum, MeasurementKind kind, std::int32_t value_mm)
    {
        const auto number = kind == MeasurementKind::Distance ? value_mm : -static_cast<std::int32_t>(kind);
        sum = sum * 1000003 + static_cast<std::uint64_t>(number);
    }

    TemporaryFolder m_folder;
    clsRecorder m_recorder{m_folder.path};
    std::uint64_t m_given = 0;
};

/// Resident memory in KiB.
std::int64_t resident_KiB()
{
    std::int64_t size = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

class LongRun {
public:
    LongRun()
    {
        m_loop.PollTemperature(true);
        m_loop.MeasureWhenConnected();
        m_view.OnMeasured = [this](const Measurement& measurement, std::string_view temperature) {
            m_recording.Record(measurement, temperature);
        };
    }

    void Play(std::int64_t ticks)
    {
        m_recording.Begin();
        for (std::int64_t tick = 0; tick < ticks; ++tick) {
            if (tick > 0 && tick % kTicksPerDay == 0) {
                m_recording.End();
                m_recording.Begin();
            }
            if (tick == kTicksPerDay / 24) {
                m_early_KiB = resident_KiB();
            }
            breakThings(tick);
            const std::int64_t shown = m_view.shown;
            // Summer time ends after ten days.
            m_clockJumps += tick == 10 * kTicksPerDay + 1 ? 1 : 0;
            const double days = static_cast<double>(tick) / kTicksPerDay - (tick > 10 * kTicksPerDay ? 1.0 / 24 : 0);
            m_recording.Flush(kStart + days);
            m_loop.Tick(kStart + days);
            checkAccount();
            if (m_device.CommStatus() != DialogueMeasuring) {
                m_unasked += m_sensor.TakeRead(); // a sensor that still measures while the dialogue starts again
            } else if (m_view.shown != shown) {
                // Several values in one evaluation: the newest is shown. They pile up only after damage.
                const std::int64_t passedOver = m_sensor.TakeRead() - (m_view.shown - shown);
                m_superseded += passedOver;
                m_unexplained += passedOver != 0 && tick - m_lastDamage > kTicksPerSecond ? passedOver : 0;
            }
        }
        m_recording.End();
        m_inFlight = m_sensor.Waiting() + m_sensor.TakeRead();
    }

    /// Prints the account; false when it does not add up.
    bool Report(double seconds) const
    {
        const std::int64_t grown_KiB = resident_KiB() - m_early_KiB;
        const std::int64_t rest =
            m_sensor.delivered - m_view.shown - m_unasked - m_superseded - m_sensor.flushed - m_inFlight;
        const std::pair<const char*, std::int64_t> lines[] = {
            {"values sent whole", m_sensor.delivered},
            {"- dropped with a stop or a closed port", m_sensor.flushed},
            {"- sent before the dialogue had begun anew", m_unasked},
            {"- passed over behind damage (the newest is shown)", m_superseded},
            {"- on their way at the end", m_inFlight},
            {"= shown", m_view.shown},
            {"- \"No Echo\", which is a gap", m_view.markers},
            {"= charted", m_view.charted},
            {"shown before there was a temperature to record", m_recording.unrecorded},
            {"recorded", m_recording.recorded},
            {"read back from the recordings", m_recording.readBack},
            {"values damaged on the line", m_sensor.damaged},
            {"temperature polls answered", m_sensor.polls},
            {"silences, cables pulled, restarts", m_breaks},
            {"not accounted for", rest},
            {"out of order", m_view.disorders},
            {"passed over without damage", m_unexplained},
            {"recordings that differ from what was shown", m_recording.wrongFiles},
            {"counted by the program: replies", m_loop.Account().Figures().received},
            {"- distances and \"No Echo\"", m_loop.Account().Figures().Understood()},
            {"- damaged", m_loop.Account().Figures().damaged},
            {"times the line was lost", m_loop.Account().Figures().lineLost},
            {"times the clock was set", m_loop.Account().Figures().clockJumps},
            {"gaps listed", static_cast<std::int64_t>(m_loop.Account().RecordingGapLog().Gaps().size())},
            {"shorter gaps dropped from the list", m_loop.Account().RecordingGapLog().Dropped()},
            {"longest gap, ms", static_cast<std::int64_t>(m_loop.Account().Figures().longestGap_ms)},
            {"ticks at which the program's account did not add up", m_wrongAccounts},
            {"resident memory after one hour, KiB", m_early_KiB},
            {"more at the end, KiB", grown_KiB},
        };
        for (const auto& [name, count] : lines) {
            std::printf("| %s | %lld |\n", name, static_cast<long long>(count));
        }
        std::printf("| seconds of computing | %.0f |\n", seconds);
        return rest == 0 && m_view.shown == m_view.charted + m_view.markers && m_view.disorders == 0 &&
               m_unexplained == 0 && m_recording.recorded + m_recording.unrecorded == m_view.shown &&
               m_recording.readBack == m_recording.recorded && m_recording.wrongFiles == 0 && m_view.shown > 0 &&
               m_view.temperatures > 0 && grown_KiB <= 2048 && m_wrongAccounts == 0 && isAccountRight();
    }

private:
    static bool every(std::int64_t tick, std::int64_t seconds) { return tick % (seconds * kTicksPerSecond) == 0; }

    /// The program's own account, at every moment.
    void checkAccount()
    {
        const AccountFigures& figures = m_loop.Account().Figures();
        m_wrongAccounts += figures.AddUp() && m_loop.Account().Recording().AddUp() ? 0 : 1;
    }
    /// Every sample is charted or a marker, whether or not it was the newest of its tick.
    bool isAccountRight() const
    {
        const AccountFigures& figures = m_loop.Account().Figures();
        return figures.valid == m_view.charted && figures.Understood() == m_view.sampled &&
               figures.clockJumps == m_clockJumps;
    }

    void breakThings(std::int64_t tick)
    {
        m_breaks += tick > 0 && every(tick, 3600) ? 1 : 0;
        // Every two hours 20 s of silence, every odd hour 5 s without a cable, every six hours a restart.
        const std::int64_t second = tick / kTicksPerSecond;
        m_sensor.isSilent = second % 7200 < 20 && second >= 7200;
        m_sensor.Pulled = second % 7200 >= 3600 && second % 7200 < 3605;
        if (every(tick - 1800 * kTicksPerSecond, 21600)) {
            m_sensor.Restart();
            ++m_breaks;
        }
        if (every(tick - 333, 600)) {
            m_sensor.SendDamaged();
            m_lastDamage = tick;
        } else {
            m_sensor.SendValue(every(tick - 111, 97));
        }
    }

    PlayedSensor m_sensor;
    CountingView m_view;
    modGlobals::Settings m_settings;
    clsRVQ m_device{m_sensor, {}};
    clsMeasurementLoop m_loop{m_device, m_settings, m_view, '.'};
    DailyRecording m_recording;
    std::int64_t m_unasked = 0, m_superseded = 0, m_unexplained = 0, m_inFlight = 0, m_breaks = 0, m_early_KiB = 0;
    std::int64_t m_wrongAccounts = 0, m_clockJumps = 0;
    std::int64_t m_lastDamage = -kTicksPerDay;
};

} // namespace

int main(int argc, char** argv)
{
    const double days = argc > 1 ? std::atof(argv[1]) : 30.0;
    if (access(kMemory, W_OK) == 0) {
        setenv("TMPDIR", kMemory, 0); // else the disk has to keep 30 days of lines in a few minutes
    }
    LongRun run;
    const auto start = std::chrono::steady_clock::now();
    run.Play(static_cast<std::int64_t>(days * kTicksPerDay));
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    const bool holds = run.Report(passed.count());
    std::printf("%s\n", holds ? "The account adds up." : "THE ACCOUNT DOES NOT ADD UP.");
    return holds ? 0 : 1;
}
