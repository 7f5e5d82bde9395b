// What a recording knows about itself besides its lines: who measured, with what, from when to when, what was counted
// and where distances are missing.
#pragma once

#include "sensor/AccountFigures.h"
#include "sensor/ParameterSet.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// A note of the operator.
struct RecordingMark {
    double time = 0.0;         ///< days since 1899-12-30, local time
    std::string text;          ///< UTF-8
    bool isSecondTime = false; ///< of the two in the hour that a clock set back repeats
    bool operator==(const RecordingMark&) const = default;
};

/// One mark more, one less, or another text.
struct MarkChange {
    std::optional<RecordingMark> before, after;
};
/// Makes a change among the marks of a recording. A mark is found by its text and its time to the millisecond; when it
/// is not there, nothing is taken away.
void Apply(const MarkChange& change, std::vector<RecordingMark>& marks);

struct RecordingInfo {
    std::string program, version; ///< UTF-8
    std::string port;             ///< as the operator knows it, UTF-8: "COM 3 (/dev/ttyUSB0)"
    bool simulated = false;       ///< any value was
    /// Whether the sensor had reported who it is and how it is set. Otherwise the two that follow say nothing.
    bool isSensorKnown = false;
    SensorIdentity sensor;     ///< one byte per character
    ParameterSet parameters;   ///< `DistanceUnit` and `OutputFormat` among them
    double start = 0.0;        ///< days since 1899-12-30, local time; 0 when it is not known
    std::optional<double> end; ///< empty while the recording runs, and for good when the program was killed
    /// The start of the first file of this recording, and which of its files this is; 0 when that is not known.
    double recordingStart = 0.0;
    std::int32_t part = 0;
    std::optional<std::int64_t> bytes; ///< of the file, once it is complete
    /// How far local time was ahead of UTC at the start; empty: as this system's time zone says.
    std::optional<std::int32_t> offset_min;
    bool everyValue = true;       ///< false: one value a tick, at least for a while
    AccountFigures account;       ///< of this recording
    std::vector<Gap> gaps;        ///< in the order in which they happened
    std::int64_t gapsDropped = 0; ///< that are no longer among them, and the length of the longest of these
    double longestDroppedGap_ms = 0.0;
    std::vector<RecordingMark> marks;
    /// Nothing but the marks and the time of the first line, as `start`, is known: the sidecar was made for them.
    bool hasOnlyMarks = false;
    bool operator==(const RecordingInfo&) const = default;
};
