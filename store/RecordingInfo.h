// What a recording knows about itself besides its lines: who measured, with what, from when to when, what was counted
// and where distances are missing.
#pragma once

#include "sensor/AccountFigures.h"
#include "sensor/ParameterSet.h"

#include <optional>
#include <string>
#include <vector>

/// A note of the operator.
struct RecordingMark {
    double time = 0.0; ///< days since 1899-12-30, local time
    std::string text;  ///< UTF-8
    bool operator==(const RecordingMark&) const = default;
};

struct RecordingInfo {
    std::string program, version;
    std::string port; ///< as the operator knows it, UTF-8: "COM 3 (/dev/ttyUSB0)"
    bool simulated = false;
    SensorIdentity sensor;
    ParameterSet parameters;   ///< `DistanceUnit` and `OutputFormat` among them
    double start = 0.0;        ///< days since 1899-12-30, local time
    std::optional<double> end; ///< empty while the recording runs, and for good when the program was killed
    bool everyValue = true;    ///< false: one value a tick
    AccountFigures account;    ///< of this recording
    std::vector<Gap> gaps;
    std::vector<RecordingMark> marks;
};
