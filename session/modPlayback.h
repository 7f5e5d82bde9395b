// Plays a recording: turns its lines into measurements, and works out the chart's time axis for them.
#pragma once

#include "base/FileHandle.h"
#include "sensor/Measurement.h"
#include "sensor/Parameters.h"
#include "store/RecordingInfo.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
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
    std::int64_t lines = 0;         ///< lines shown
    std::optional<Measurement> end; ///< the last one shown
    std::string temperature;        ///< of the last line that has one, one byte per character
    Outcome outcome = Outcome::Complete;
    std::optional<RecordingInfo> info; ///< what the sidecar says
    SidecarUse sidecar = SidecarUse::Missing;
    std::error_code failure; ///< why the file could not be opened or read further; false when its lines are the reason
};

/// The functions that loading calls.
struct Stage {
    /// Shows one measurement; it is the same object each time.
    std::function<void(const Measurement&)> show;
    /// The next measurement is not joined to the one before, which was at `time`.
    std::function<void(double time)> gap;
    /// Called now and then with the fraction read so far, 0..1; returning false ends the loading.
    std::function<bool(double fraction)> goOn;
};

/// Shows every line of a recording in one pass, as measurements in the unit and the output format of its sidecar, or of
/// `set` when it has none of its own that can be read. A line that says "No Echo" or "TempError" carries the marker,
/// never a distance. `gap` is called where the curve is not joined, see `clsPlayedGaps`. Loading ends at a line that
/// cannot be read, at any error of the file, and when `goOn` returns false; lines loaded by then remain. The file stays
/// open in `played`.
Loaded LoadData(const std::filesystem::path& file, const ParameterSet& set, const Stage& stage,
                std::vector<FileHandle>& played);

/// The time axis for a recording.
struct TimeAxis {
    std::optional<std::int32_t> range_ms; ///< empty: the axis keeps its range
    double origin = 0.0;                  ///< the start of its divisions, days since 1899-12-30
};

/// The axis covers the recording if that is longer than a minute, and one day if it is longer than 14 days; its
/// divisions are counted from midnight of the last line's day.
TimeAxis TimeAxisOf(const Loaded& loaded);

} // namespace modPlayback
