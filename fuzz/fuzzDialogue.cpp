// The dialogue with the sensor as a state machine: bytes, time and the operator's actions, in any order, drive the
// device and the measurement loop. At the end a healthy sensor is plugged in, and the program must find its way back to
// it.
#include "base/Days.h"
#include "fuzz/FuzzInput.h"
#include "plot/clsValueAxis.h"
#include "sensor/Parameters.h"
#include "session/SessionListener.h"
#include "session/clsMeasurementLoop.h"
#include "simulator/clsSensorModel.h"
#include "tests/support/DamagedStream.h"
#include "tests/support/PlayedLine.h"

#include <cmath>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <utility>

namespace {

constexpr double kTick_s = 0.05;
constexpr double kRecovery_s = 120.0;
constexpr double kLongestAct_s = 60.0;

/// The line: the input's bytes arrive until a sensor is connected at its other end.
class FuzzPort : public PlayedLine {
public:
    std::optional<simulator::clsSensorModel> Sensor;
    double Now_s = 0.0;
    int Sent = 0; ///< bytes since the last check

private:
    void sent(char command) override
    {
        ++Sent;
        if (Sensor) {
            Sensor->Receive({&command, 1}, Now_s);
        }
    }
    void arrive() override
    {
        if (Sensor) {
            Arriving += Sensor->Transmit(Now_s);
        }
    }
};

struct FuzzView : SessionListener {
    void Echo(std::string_view received) override { Require(!received.empty()); }
    void ShowStatus(StatusPanel panel, std::string_view) override { Require(panel >= 1 && panel <= 3); }
    void ShowUnit(std::string_view unit) override { Require(!unit.empty()); }
    void AddChartPoint(double time, double value) override { Require(std::isfinite(time) && std::isfinite(value)); }
    void ForgetRange() override { m_axis.Reset(); }
    void FitValueAxis(const clsFIFO& newest, double millimetres) override
    {
        const auto limits = m_axis.Fit(newest, {}, millimetres);
        Require(!limits || limits->front() < limits->back());
    }

private:
    clsValueAxis m_axis;
};

/// Replies that a fuzzer would not find by itself, in no particular order.
constexpr std::string_view kReplies[] = {
    "Sensor ready\r\n",
    "RVQ ready\r\n",
    "OK 301\r\n",
    "Error 301\r\n",
    "23 C,  OK\r\n",
    "-7 C, NOK\r\n",
    "     3.355 m\r\n",
    "    12.000\r\n     3.300 m\r\n",
    "   No Echo  \r\n",
    "TempErr!\r\n",
    "Type: Serial\r\nAttenuator: E\r\nSerial-No: 1\r\nPointer: off\r\nTemperature: 23 C,  OK\r\n101: 1\r\n111: 1\r\n",
    "101: 0\r\n603: 1\r\n",
    "101: 2\r\n111: 0\r\n603: 0\r\n",
    "101: 3\r\n603: 2\r\n3 06: 1\r\n610: 5\r\n",
    "end\r\n",
    std::string_view("\x10\x27\x00\x00", 4),
    std::string_view("\x10\x27\x00\x00\xB4\xEF", 6),
    std::string_view("\xF0\xFF\xFF\x7F", 4),
};

class DialogueRun {
public:
    explicit DialogueRun(FuzzInput& input) : m_input(input)
    {
        m_loop.PumpEvents = [this] { tick(kTick_s); };
    }

    void Play()
    {
        for (int steps = 0; !m_input.IsEmpty() && steps < 500; ++steps) {
            step(m_input.Byte());
            requireSane();
        }
    }

    /// Whatever has happened: a healthy sensor brings back a dialogue, a configuration, a value, and then rest.
    void Recover()
    {
        m_port.Pulled = false;
        m_port.Arriving.clear();
        m_port.Sensor.emplace();
        m_port.Sensor->HoldDistance(3300.0);
        m_loop.PollTemperature(false);
        // A value can come before the measurement is resumed; a click would then start it, not stop it.
        const auto isBack = [this] {
            return m_loop.IsMeasuring() ? m_device.NewDistance() && m_device.CommStatus() == DialogueMeasuring
                                        : isAtRest();
        };
        if (!reaches(isBack)) {
            // A sensor with single output owes nothing while it measures, so a click has to help.
            Require(m_device.Parameters().OutputMode == OutputSingle);
            press();
            Require(reaches(isBack));
        }
        if (m_loop.IsMeasuring()) {
            press();
            Require(reaches([this] { return isAtRest(); }));
        }
        m_device.SendCommand("C");
        Require(reaches([this] { return m_device.EventNr() == EventConfiguration; }));
        Require(reaches([this] { return isAtRest(); }));
        press();
        Require(reaches([this] { return m_device.NewDistance() && m_device.MeasValue_mm() == 3300; }));
        press();
        Require(reaches([this] { return isAtRest(); }) && !m_port.Sensor->IsMeasuring());
    }

private:
    void step(std::uint8_t act)
    {
        const std::uint8_t argument = act >> 4U;
        switch (act & 15U) {
        case 0:
        case 1:
        case 2:
            m_port.Arriving += m_input.Bytes(static_cast<std::size_t>(argument) * 2 + 1);
            break;
        case 3:
        case 4:
            m_port.Arriving += kReplies[m_input.Byte() % std::size(kReplies)];
            break;
        case 5:
            tick(0.01 * argument);
            return;
        case 6:
            tick(0.5 * argument);
            return;
        case 7:
            m_device.SendCommand(m_input.Bytes(1));
            break;
        case 8:
            operate(argument);
            break;
        case 9:
            m_device.Parameters().OutputFormat = argument % 5;
            m_device.Parameters().DistanceUnit = m_input.Byte() % 9;
            break;
        case 10:
            m_device.Parameters().OutputMode = argument % 3;
            break;
        case 11:
            m_port.Vanished = true;
            m_port.Pulled = argument % 2 == 1;
            break;
        case 12:
            m_port.Pulled = false;
            break;
        case 13:
            tick(-3.0); // the clock is set back
            return;
        case 14:
            m_loop.PollTemperature(argument % 2 == 0);
            m_device.ReadTempInterval() = argument * 100;
            break;
        default:
            break;
        }
        tick(kTick_s);
    }

    void operate(std::uint8_t argument)
    {
        switch (argument) {
        case 0:
        case 1:
        case 2:
            press();
            break;
        case 3:
            m_loop.RequestSingleValue();
            break;
        case 4:
        case 5:
            m_loop.SwitchRedLaser(argument == 4);
            break;
        case 6:
            m_loop.MeasureWhenConnected();
            break;
        case 7:
            m_loop.ChangePort();
            break;
        default:
            waitFor([this, argument](const modRVQComm::PumpEvents& pump) {
                m_loop.ChangeSetting(argument % 2 == 0 ? &ParameterSet::AverageDepth : &ParameterSet::MovingAverage,
                                     argument, pump);
            });
            break;
        }
    }

    /// A wait during which the window goes on with the input; it must end by itself.
    template <typename Act>
    void waitFor(Act act)
    {
        const double start_s = m_now_s;
        act([this, start_s] {
            Require(m_now_s - start_s < kLongestAct_s);
            if (m_input.IsEmpty() || m_input.Byte() % 2 == 0) {
                tick(0.2);
            } else {
                m_port.Arriving += kReplies[m_input.Byte() % std::size(kReplies)];
                tick(kTick_s);
            }
        });
    }

    void press()
    {
        m_loop.StartStop([this] { return passTime(0.1); });
    }

    /// The idle sensor has answered a poll.
    bool isAtRest() const { return m_device.CommStatus() == DialogueIdle && m_device.EventNr() == EventTemperature; }

    void tick(double seconds)
    {
        m_port.Sent = 0;
        m_loop.Tick(passTime(seconds));
        Require(m_port.Sent <= 3); // the evaluation's follow-up and the loop's reaction, one byte each
    }

    double passTime(double seconds)
    {
        m_now_s += seconds;
        m_port.Now_s += std::abs(seconds);
        return 46000.0 + m_now_s / kSecondsPerDay;
    }

    template <typename Condition>
    bool reaches(Condition condition)
    {
        for (double waited_s = 0.0; waited_s < kRecovery_s; waited_s += kTick_s) {
            tick(kTick_s);
            requireSane();
            if (condition()) {
                return true;
            }
        }
        return false;
    }

    void requireSane() const
    {
        Require(m_device.EventNr() >= EventNoAnswer && m_device.EventNr() <= EventCrcError && m_device.EventNr() != 1);
        Require(m_device.CommStatus() >= DialogueNone && m_device.CommStatus() <= DialogueMeasuring);
        Require(m_device.InBuffer().size() <= clsRVQ::kMaxPending && std::isfinite(m_device.MeasValue()));
        Require(!m_device.Wait().Running && !m_device.Wait().InTick);
    }

    FuzzInput& m_input;
    FuzzPort m_port;
    modGlobals::Settings m_settings;
    OpenRVQ m_device{m_port, {}};
    FuzzView m_view;
    clsMeasurementLoop m_loop{m_device, m_settings, m_view, '.'};
    double m_now_s = 1000.0;
};

/// A measurement over a line that damages bytes where the input says so: whatever is shown was sent, and the samples
/// were sent in their order.
void playStream(FuzzInput& input)
{
    constexpr std::pair<double, double> kSpans[] = {{300, 9000}, {10000, 60000}};
    const auto [from_mm, to_mm] = kSpans[input.Byte() % std::size(kSpans)];
    StreamCase play{.format = input.Byte() % 4,
                    .unit = input.Byte() % 7,
                    .from_mm = from_mm,
                    .to_mm = to_mm,
                    .rate_Hz = input.Byte() % 2 == 0 ? 18.0 : 60.0,
                    .course = input.Byte() % 2 == 0 ? Course::Still : Course::Moving,
                    .damage = static_cast<Damage>(1 + input.Byte() % 3), // the others cannot be detected
                    .damages = 50,
                    .seed = input.Byte()};
    DamagedStream stream(play);
    stream.Choose = [&input] { return std::uint32_t{input.Byte()}; };
    const StreamResult result = stream.Play();
    Require(result.wrong == 0 && result.unordered == 0 && result.backwards == 0);
}

constexpr std::string_view kStream = "stream";

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    if (std::string_view(reinterpret_cast<const char*>(data), size).starts_with(kStream)) {
        input.Bytes(kStream.size());
        playStream(input);
        return 0;
    }
    DialogueRun dialogue(input);
    dialogue.Play();
    dialogue.Recover();
    return 0;
}
