// Plays a recording: turns its lines into measurements, and works out the chart's time axis for them.
#pragma once

#include "base/FileHandle.h"
#include "sensor/Measurement.h"
#include "sensor/Parameters.h"
#include "session/clsHistory.h"
#include "store/RecordingInfo.h"
#include "store/modRecordParts.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <vector>

namespace modPlayback {

/// Entries that the chart's series holds while a recording is shown.
inline constexpr std::int32_t kChartPoints = 30000;

/// How loading ended.
enum class Outcome : std::uint8_t { Complete, Unreadable, Cancelled };

/// What has become of the sidecar that stands beside a recording.
enum class SidecarUse : std::uint8_t { Missing, Used, Unreadable, Foreign };

struct Loaded {
    double first = 0.0, last = 0.0; ///< time stamps, days since 1899-12-30; 0 without any line
    /// How far the last line's place on the time axis is from its time: not 0 where the clock was set, see clsTimeLine.
    double shift = 0.0;
    std::int64_t lines = 0;         ///< lines shown
    std::optional<Measurement> end; ///< the last one shown
    std::string temperature;        ///< of the last line that has one, one byte per character
    Outcome outcome = Outcome::Complete;
    std::optional<RecordingInfo> info; ///< what the sidecar says
    SidecarUse sidecar = SidecarUse::Missing;
    std::size_t files = 0;      ///< of the recording
    std::size_t unreadable = 0; ///< the file at which loading ended, 0 for the first
    std::int64_t line = 0;      ///< and the line in it, 1 for the first
    std::error_code failure; ///< why the file could not be opened or read further; false when its lines are the reason
};

/// What loading fills and calls.
struct Stage {
    /// Takes up every line.
    clsHistory& history;
    /// Shows the next measurements; on the time axis each is later by `shift` than its time says.
    std::function<void(std::span<const Measurement>, double shift)> show;
    /// The next measurement is not joined to the one before, which was at `place` on the time axis.
    std::function<void(double place)> gap;
    /// Called now and then with the fraction read so far, 0..1; returning false ends the loading.
    std::function<bool(double fraction)> goOn;
};

/// Shows every line of a recording in one pass, as measurements in the unit and the output format of its first sidecar,
/// or of `set` when it has none of its own that can be read. A line that says "No Echo" or "TempError" carries the
/// marker, never a distance. `gap` is called where the curve is not joined, see `clsPlayedGaps`. Loading ends at a line
/// that cannot be read, at any error of a file, and when `goOn` returns false; lines loaded by then remain. The files
/// stay open in `played`, and the history reads from them again; `played` must outlive it.
Loaded LoadData(std::span<const RecordPart> parts, const ParameterSet& set, const Stage& stage,
                std::vector<FileHandle>& played);

/// The time axis for a recording.
struct TimeAxis {
    std::optional<std::int32_t> range_ms; ///< empty: the axis keeps its range
    double origin = 0.0;                  ///< the start of its divisions, days since 1899-12-30
};

/// The axis covers the recording if that is longer than a minute, and one day if it is longer than 14 days; its
/// divisions are counted from midnight of the last line's day. A recording is as long as it is on the time axis,
/// whatever the clock was set to meanwhile.
TimeAxis TimeAxisOf(const Loaded& loaded);

} // namespace modPlayback
