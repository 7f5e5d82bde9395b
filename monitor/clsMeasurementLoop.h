// The measurement loop: what happens every 50 ms, in which order, and what the operator's commands do to it.
// It has no widgets; it drives a device and shows through a view.
#pragma once

#include "device/clsRVQ.h"
#include "monitor/Measurement.h"
#include "monitor/MonitorView.h"
#include "monitor/clsFIFO.h"
#include "shell/modGlobals.h"

#include <cstdint>

class clsMeasurementLoop {
public:
    static constexpr std::int32_t kInterval_ms = 50;

    /// All three must outlive the loop. `decimalSeparator` is that of the user's locale.
    clsMeasurementLoop(clsRVQ& device, const modGlobals::Settings& settings, MonitorView& view, char decimalSeparator);

    /// One tick at the local time `now` (days since 1899-12-30): reads and evaluates, shows what came, re-opens a
    /// closed port. While somebody waits for the sensor it sends nothing.
    void Tick(double now);

    /// Starts continuous measurement, or stops it.
    void StartStop();
    /// Measuring begins by itself once the sensor answers, as it does after a lost connection.
    void MeasureWhenConnected() { m_measuring = true; }
    /// Asks for one value; it arrives in a later tick.
    void RequestSingleValue();
    /// Whether temperatures are read during a measurement.
    void PollTemperature(bool poll) { m_pollTemperature = poll; }
    /// Closes the port and opens the one that the settings name.
    void ChangePort();
    /// Takes over the rate that the settings name.
    void ChangeBaudrate();
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
    void dispatch();
    void noAnswer();
    void newDistance();
    void newTemperature();
    void newConfiguration();
    void interruptForTemperature();
    void resumeAfterSilentSingle();
    void show(const Measurement& measurement);
    void showRule();
    void advanceClock();
    void status(std::int32_t textId);
    bool mayStart() const;

    clsRVQ& m_device;
    const modGlobals::Settings& m_settings;
    MonitorView& m_view;
    char m_decimalSeparator;

    bool m_measuring = false;
    bool m_pollTemperature = false;
    bool m_temperaturePending = false;
    double m_previousTick = 0.0;
    double m_clock_ms = 0.0;
    std::int32_t m_shownUnit = -1;
    clsFIFO m_values;
    clsFIFO m_times;
};
