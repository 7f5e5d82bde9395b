// The measurement loop: what happens every 50 ms, in which order, and what the operator's commands do to it. It has no
// widgets; it drives a device and reports to a listener.
#pragma once

#include "base/Operation.h"
#include "base/clsBackOff.h"
#include "plot/clsFIFO.h"
#include "plot/clsTimeLine.h"
#include "sensor/Measurement.h"
#include "sensor/clsRVQ.h"
#include "sensor/modRVQComm.h"
#include "session/SessionListener.h"
#include "session/clsAccount.h"
#include "session/clsRateFollower.h"
#include "store/modGlobals.h"
#include "texts/TextId.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

class clsWriteCircle;
class clsWriteKeeper;

class clsMeasurementLoop {
public:
    static constexpr std::int32_t kInterval_ms = 50;

    /// All three must outlive the loop. `decimalSeparator` comes from the user's locale.
    clsMeasurementLoop(clsRVQ& device, const modGlobals::Settings& settings, SessionListener& listener,
                       char decimalSeparator);

    /// One tick at the local time `now` (days since 1899-12-30): reads and evaluates, shows what has come, reopens a
    /// closed port. Sends nothing while a wait for the sensor is running.
    void Tick(double now);

    /// Lets the front end handle its events for `kPass_ms` and returns the local time afterwards.
    using NextPass = std::function<double()>;
    static constexpr std::int32_t kPass_ms = 100;

    /// From now on a changed setting goes the full circle: the sensor's set is backed up before the first one of a
    /// session, and read and compared after each, while a measurement is still stopped for it. `keeper` must outlive
    /// the loop.
    void KeepWrites(clsWriteKeeper& keeper) { m_keeper = &keeper; }
    /// Whether to change a setting although the set cannot be saved in this folder. When it is empty, the setting is
    /// changed, and the report says that there is no backup.
    std::function<bool(const std::filesystem::path& folder, std::error_code why)> MayChangeWithoutBackup;

    /// For so many milliseconds after the port was opened nothing is sent, so that a sensor that measures on its own
    /// can be heard: the first probe ends its measurement.
    std::int32_t ListenFirst_ms = 0;

    /// A sensor with a temperature error that measures owes values like any other. Without it such a sensor's silence
    /// is shown as its error, and not as a loss: deliberate, for the operator at a window.
    bool SilenceIsLoss = false;

    /// Lets the front end handle its events while a command waits for the answer to an idle poll; ticks continue
    /// meanwhile. When it is empty, commands do not wait.
    modRVQComm::PumpEvents PumpEvents;

    /// Starts or stops continuous measurement. A sensor with single output is asked for one value instead; the wait for
    /// it takes at most 41 passes.
    void StartStop(const NextPass& nextPass);
    /// Starts measuring as soon as the sensor answers, as after a lost connection.
    void MeasureWhenConnected() { m_measuring = true; }
    /// Asks for one value; it arrives in a later tick.
    void RequestSingleValue();
    /// Switches the marker laser. A running measurement is stopped before and restarted afterwards.
    void SwitchRedLaser(bool on);
    /// Sends a parameter with a new value, also between stop and restart. A refused value is taken back, and the old
    /// one is shown. Deliberate: the sensor's set is not read before. When another sensor has taken the place of the
    /// known one without the port being closed, the backup is the known one's, and the other one gets the value; the
    /// report says so.
    void ChangeSetting(std::int32_t ParameterSet::*setting, std::int32_t value,
                       const modRVQComm::PumpEvents& pumpEvents);
    // The same commands as operations, for a session that is driven by ticks alone: one step after each tick.
    static constexpr int kStepsPerPass = kPass_ms / kInterval_ms;
    /// See `StartStop`. Without `waits` it does not wait for an open answer.
    Operation<> StartingOrStopping(bool waits = true, int stepsPerPass = kStepsPerPass);
    Operation<> RequestingSingleValue(bool waits = true);
    Operation<> SwitchingRedLaser(bool on, bool waits = true);
    Operation<> ChangingSetting(std::int32_t ParameterSet::*setting, std::int32_t value, bool waits = true);

    /// A measuring sensor takes only the stop by hand: it hears nothing else, or answers among its values.
    bool MayBeSentByHand(std::string_view typed) const;
    /// Sends what the operator has typed (see `modHandSending`) once no answer is open. Start, stop and laser do what
    /// the buttons do. After a frame the configuration is read again, since it may have changed a parameter.
    Operation<> SendingByHand(std::string typed);

    /// Whether temperatures are read during a measurement.
    void PollTemperature(bool poll) { m_pollTemperature = poll; }
    /// Closes the port and opens the one that the settings name.
    void ChangePort();
    /// Applies the rate from the settings.
    void ChangeBaudrate();
    /// Closes the port and leaves it to somebody else until it ends; for a port without a sensor.
    void Rest(bool rest);
    /// Adds measurements of a recording to the chart; on its time axis each is later by `shift` than its time says.
    void Play(std::span<const Measurement> measurements, double shift);
    /// The next measurement of the recording is not joined to those before.
    void PlayGap(double place) { breakCurve(place); }
    /// Fits an automatic value axis to the newest values.
    void FitRange();

    /// Begins a playback: measurements become points of the chart only, a change of unit resets nothing, and the
    /// histories start empty.
    void BeginPlaying();
    /// Passes on the points that are still held back; played points go on in pieces.
    void TellPlayed();
    /// Gives a playback up without showing anything; harmless after its end.
    void StopPlaying()
    {
        m_playing = false;
        m_playedCount = 0;
    }
    /// Ends the playback: shows the texts of the last measurement, if there was one, and fits the value axis.
    void EndPlaying(const std::optional<Measurement>& last);
    /// Called when the session ends: ends every wait and closes the port; nothing more is sent.
    void Unload();

    /// Whether continuous measurement was started and not stopped. A lost connection does not change it, so measuring
    /// resumes.
    bool IsMeasuring() const { return m_measuring; }
    /// The unit of the values in the chart, an index for `UnitOf`; less than 0 before the first.
    std::int32_t ShownUnit() const { return m_shownUnit; }
    /// Whether a temperature was requested and has not come yet.
    bool IsTemperaturePending() const { return m_temperaturePending; }
    /// Whether the sensor has reported its configuration since the port was opened.
    bool IsSensorKnown() const { return m_knownOpening == m_device.Openings(); }
    /// How many configurations the sensor has sent.
    std::uint64_t Dumps() const { return m_dumps; }
    /// What has become of everything that the sensor has sent since the measurement was started.
    clsAccount& Account() { return m_account; }
    const clsAccount& Account() const { return m_account; }
    /// The newest values and their times.
    const clsFIFO& Values() const { return m_values; }
    const clsFIFO& Times() const { return m_times; }

private:
    void absorbClockJump(double now);
    void servePort();
    void watchLine(double now);
    void reopenPort();
    void tryPort();
    void followRate();
    void forgetRates();
    void evaluate();
    void dispatch();
    void noAnswer();
    void tellSamples();
    void draw(const Measurement& sample);
    void newDistance();
    void newTemperature();
    void newConfiguration();
    void interruptForTemperature();
    void pollAfterSilentSingle();
    void askForUnit();
    Operation<bool> awaitingOpenAnswer(bool waits);
    Operation<> changing(std::int32_t ParameterSet::*setting, std::int32_t value);
    Operation<> changingInCircle(std::int32_t ParameterSet::*setting, std::int32_t value);
    bool mayChange(clsWriteCircle& circle);
    void startStop(std::int32_t before);
    Operation<> requestingOne(int stepsPerPass);
    Operation<> sendingFrame(std::string bytes);
    Operation<bool> passingUntilDistance(int stepsPerPass);
    bool passBringsDistance();
    void showSensorSettings();
    void forgetHistory();
    void showTexts(const Measurement& measurement);
    void showShutDown(bool shutDown);
    void place(double time, bool clockSet);
    double placeOf(double now) const;
    void breakCurve(double place);
    void addPlayed(double place, double value);
    void noteNewest(std::span<const ChartPoint> points);
    void readPort();
    void showRule();
    void advanceClock();
    void status(TextId textId);
    bool mayStart() const;

    clsRVQ& m_device;
    const modGlobals::Settings& m_settings;
    SessionListener& m_listener;
    char m_decimalSeparator;
    clsWriteKeeper* m_keeper = nullptr;

    bool m_measuring = false;
    bool m_pollTemperature = false;
    bool m_temperaturePending = false;
    double m_previousTick = 0.0; ///< the last one that was completed
    double m_previousTime = 0.0; ///< of the last tick, completed or not
    double m_clock_ms = 0.0;
    std::int32_t m_shownUnit = -1;
    clsBackOff m_backOff{kInterval_ms};
    std::int32_t m_triedPort = 0;
    clsRateFollower m_rates{kInterval_ms};
    std::uint64_t m_choiceDumps = 0; ///< so many dumps were there when the operator chose port or rate
    bool m_resting = false;
    bool m_passing = false; ///< the passes read the port, not the tick
    bool m_inGap = true;
    bool m_playing = false;
    bool m_breaksAfterPlaying = false; ///< the gap between played points and the next value is still to come
    static constexpr std::size_t kPlayedPiece = 4096;
    std::vector<ChartPoint> m_played; ///< room for a piece
    std::size_t m_playedCount = 0;    ///< points in it that are not passed on yet
    std::optional<ControlRule> m_shownRule;
    std::int32_t m_shownDialogue = -1;
    std::int32_t m_toldUnit = -1;
    bool m_toldShutDown = false;
    std::uint64_t m_dumps = 0;
    std::int32_t m_knownOpening = -1; ///< of the port, at which the last configuration has come
    std::int64_t m_damagedBefore = 0; ///< of the device, as far as it is counted
    clsAccount m_account;
    clsTimeLine m_timeLine;        ///< as the session's history has it: fed with the same samples and gaps
    double m_place = 0.0;          ///< of the last sample
    double m_setSincePlaced = 0.0; ///< days by which the clock was set since
    clsFIFO m_values;
    clsFIFO m_times;
};
