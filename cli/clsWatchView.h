// What `rvqctl watch` shows: number, bar, sparkline and account, as lines of text for a terminal of any size.
#pragma once

#include "cli/modTerminal.h"
#include "sensor/AccountFigures.h"
#include "sensor/Measurement.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

/// What a line needs besides the values.
struct WatchState {
    std::string port{}, sensor{}, temperature{}; ///< UTF-8
    std::int32_t dialogue = 0;                   ///< as `clsRVQ::CommStatus`
    double perSecond = 0.0;                      ///< replies
    AccountFigures account{};
};

class clsWatchView {
public:
    struct Style {
        std::int32_t language = 0;
        std::optional<std::int32_t> unit{}; ///< empty: as the sensor has it
        bool hasColours = false, isAscii = false;
    };

    explicit clsWatchView(const Style& style) : m_style(style) {}

    /// Takes a measurement up, at `now_s` of a clock that only goes forward.
    void Add(const Measurement& measurement, double now_s);
    /// The view, at most as large as the terminal; the first lines are the most important ones.
    std::vector<std::string> Lines(const WatchState& state, const modTerminal::Size& size, double now_s);
    /// All in one line.
    std::string Line(const WatchState& state, double now_s) const;

private:
    static constexpr double kSlot_s = 0.5;
    static constexpr std::size_t kMostSlots = 1000; ///< no terminal is wider

    void passTime(double now_s);
    std::string text(const Measurement& measurement) const;
    std::string length(double mm) const;
    std::string number(double now_s) const;
    std::string painted(const std::string& text, const char* colour) const;
    std::string figures(const WatchState& state) const;
    std::int32_t unit() const { return m_style.unit.value_or(m_newest ? m_newest->unit : 1); }

    Style m_style;
    std::optional<Measurement> m_newest;
    double m_newest_s = 0.0;
    std::deque<std::optional<double>> m_slots; ///< millimetres, the newest last
    double m_slot_s = 0.0;                     ///< when the newest began
};
