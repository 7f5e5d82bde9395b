// The measurement loop: what happens every 50 ms, in which order, and what the operator's commands do to it.
// It has no widgets; it drives a device and tells a listener.
#pragma once

#include "base/Operation.h"
#include "base/clsBackOff.h"
#include "plot/clsFIFO.h"
#include "sensor/Measurement.h"
#include "sensor/clsRVQ.h"
#include "sensor/modRVQComm.h"
#include "session/SessionListener.h"
#include "store/modGlobals.h"
#include "texts/TextId.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class clsMeasurementLoop {
public:
    static constexpr std::int32_t kInterval_ms = 50;

    /// All three must outlive the loop. `decimalSeparator` is that of the user's locale.
    clsMeasurementLoop(clsRVQ& device, const modGlobals::Settings& settings, SessionListener& listener,
                       char decimalSeparator);

    /// One tick at the local time `now` (days since 1899-12-30): reads and evaluates, shows what came, re-opens a
    /// closed port. While somebody waits for the sensor it sends nothing.
    void Tick(double now);

    /// Lets the window handle its events for `kPass_ms` and returns the local time then.
    using NextPass = std::function<double()>;
    static constexpr std::int32_t kPass_ms = 100;

    /// Lets the window handle its events while a command waits until an idle poll is answered; ticks go on meanwhile.
    /// Empty: no command waits.
    modRVQComm::PumpEvents PumpEvents;

    /// Starts continuous measurement, or stops it. A sensor with single output is asked for one value instead, which is
    /// waited for in at most 41 passes.
    void StartStop(const NextPass& nextPass);
    /// Measuring begins by itself once the sensor answers, as it does after a lost connection.
    void MeasureWhenConnected() { m_measuring = true; }
    /// Asks for one value; it arrives in a later tick.
    void RequestSingleValue();
    /// Switches the marker laser, with a running measurement stopped before and started again after it.
    void SwitchRedLaser(bool on);
    /// Sends a parameter ("301", "304") with a new value, likewise. What the sensor refuses is taken back and shown.
    void ChangeSetting(std::string_view code, std::int32_t ParameterSet::*setting, std::int32_t value,
                       const modRVQComm::PumpEvents& pumpEvents);
    // The same commands as operations, for a session that is driven by ticks alone: one step after each tick.
    static constexpr int kStepsPerPass = kPass_ms / kInterval_ms;
    /// See `StartStop`. Without `waits` it does not wait for an open answer.
    Operation<> StartingOrStopping(bool waits = true, int stepsPerPass = kStepsPerPass);
    Operation<> RequestingSingleValue(bool waits = true);
    Operation<> SwitchingRedLaser(bool on, bool waits = true);
    Operation<> ChangingSetting(std::string code, std::int32_t ParameterSet::*setting, std::int32_t value,
                                bool waits = true);

    /// Whether temperatures are read during a measurement.
    void PollTemperature(bool poll) { m_pollTemperature = poll; }
    /// Closes the port and opens the one that the settings name.
    void ChangePort();
    /// Takes over the rate that the settings name.
    void ChangeBaudrate();
    /// Shows a measurement, live or played back: the number and, if it is one, a point of the chart.
    void Show(const Measurement& measurement);
    /// Lets an automatic value axis fit the newest values.
    void FitRange();

    /// A recording is played from now on: what is shown becomes points of the chart only, a change of the unit resets
    /// nothing, and the histories begin anew.
    void BeginPlaying();
    /// Tells the points that are still held back; they go on in pieces.
    void TellPlayed();
    /// Nothing is played any more: shows the texts of the last measurement, if there was one, and fits the value axis.
    void EndPlaying(const std::optional<Measurement>& last);
    /// The window goes: every wait ends, the port is closed, nothing more is sent.
    void Unload();

    /// Continuous measurement was started and not stopped; it survives a lost connection, so that measuring resumes.
    bool IsMeasuring() const { return m_measuring; }
    /// A temperature was asked for and has not come.
    bool IsTemperaturePending() const { return m_temperaturePending; }
    /// The newest values and their times.
    const clsFIFO& Values() const { return m_values; }
    const clsFIFO& Times() const { return m_times; }

private:
    void absorbClockJump(double now);
    void servePort();
    void reopenPort();
    void tryPort();
    void evaluate();
    void dispatch();
    void noAnswer();
    void newDistance();
    void newTemperature();
    void newConfiguration();
    void interruptForTemperature();
    void pollAfterSilentSingle();
    void askForUnit();
    Operation<bool> awaitingOpenAnswer(bool waits);
    void startStop(std::int32_t before);
    Operation<> requestingOne(int stepsPerPass);
    Operation<bool> passingUntilDistance(int stepsPerPass);
    bool passBringsDistance();
    void showSensorSettings();
    void forgetHistory();
    void showTexts(const Measurement& measurement);
    void breakCurve(double time);
    void addPlayed(const ChartPoint& point);
    void readPort();
    void showRule();
    void advanceClock();
    void status(TextId textId);
    bool mayStart() const;

    clsRVQ& m_device;
    const modGlobals::Settings& m_settings;
    SessionListener& m_listener;
    char m_decimalSeparator;

    bool m_measuring = false;
    bool m_pollTemperature = false;
    bool m_temperaturePending = false;
    double m_previousTick = 0.0; ///< the last one that came to its end
    double m_previousTime = 0.0; ///< of the last one, whether it did or not
    double m_clock_ms = 0.0;
    std::int32_t m_shownUnit = -1;
    clsBackOff m_backOff{kInterval_ms};
    std::int32_t m_triedPort = 0;
    bool m_passing = false; ///< the passes read the port, not the tick
    bool m_inGap = true;
    bool m_playing = false;
    bool m_breaksAfterPlaying = false; ///< what was played has its gap to the next value still to come
    static constexpr std::size_t kPlayedPiece = 4096;
    std::vector<ChartPoint> m_played;
    std::optional<ControlRule> m_shownRule;
    std::int32_t m_shownDialogue = -1;
    clsFIFO m_values;
    clsFIFO m_times;
};
