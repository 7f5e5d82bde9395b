#include "session/modPlayback.h"

#include "base/Numbers.h"
#include "sensor/Parameters.h"
#include "session/clsPlayedGaps.h"
#include "store/clsRecordReader.h"
#include "store/modSidecar.h"

#include <cmath>
#include <exception>

namespace modPlayback {

namespace {

constexpr std::uint64_t kReportEvery = std::uint64_t{1} << 18; // bytes, well under a millisecond
constexpr double kLongestSpan = 14.0;                          // days; their milliseconds still fit 32 bits
constexpr std::int32_t kDay_ms = 86400000;
constexpr std::int32_t kShortestRange_ms = 60000;

/// Fills a measurement as a reply from the sensor would.
void fill(Measurement& measurement, const modRecordLine::RecordedValue& line, double unit_mm)
{
    measurement.time = line.time;
    if (line.kind == MeasurementKind::Distance) {
        measurement.value_mm = line.value_mm;
        measurement.value = line.value_mm / unit_mm;
    } else {
        measurement.value_mm = line.kind == MeasurementKind::NoEcho ? kMarkerNoEcho : kMarkerTempError;
        measurement.value = measurement.value_mm;
    }
}

/// Looks for the sidecar of a recording whose first line is known.
void readSidecar(const std::filesystem::path& recording, Loaded& loaded)
{
    const std::filesystem::path sidecar = modSidecar::SidecarOf(recording);
    if (sidecar == recording) {
        return;
    }
    std::error_code why;
    loaded.info = modSidecar::Read(sidecar, why);
    if (!loaded.info) {
        const bool isMissing = why == std::errc::no_such_file_or_directory;
        loaded.sidecar = isMissing ? SidecarUse::Missing : SidecarUse::Unreadable;
    } else if (modSidecar::Belongs(*loaded.info, loaded.first)) {
        loaded.sidecar = SidecarUse::Used;
    } else {
        loaded.info.reset();
        loaded.sidecar = SidecarUse::Foreign;
    }
}

/// What the lines of a recording have in common, known with the first.
struct Then {
    double unit_mm = 0.0;
    clsPlayedGaps gaps{nullptr};
};

Then begin(const std::filesystem::path& recording, const ParameterSet& now, Measurement& measurement, Loaded& loaded)
{
    readSidecar(recording, loaded);
    const ParameterSet& then = loaded.info && loaded.info->isSensorKnown ? loaded.info->parameters : now;
    measurement.unit = then.DistanceUnit;
    measurement.outputFormat = then.OutputFormat;
    return {UnitOf(then.DistanceUnit).millimetres, clsPlayedGaps(loaded.info ? &*loaded.info : nullptr)};
}

void load(clsRecordReader& reader, const std::filesystem::path& recording, const ParameterSet& now,
          Measurement& measurement, const Stage& stage, Loaded& loaded)
{
    Then then;
    std::uint64_t reported = 0;
    RecordStep step = RecordStep::End;
    while ((step = reader.Next()) == RecordStep::Value) {
        const modRecordLine::RecordedValue& line = reader.Value();
        if (loaded.lines == 0) {
            loaded.first = line.time;
            then = begin(recording, now, measurement, loaded);
        }
        if (then.gaps.LiesBefore(line.time, line.sameSecond)) {
            stage.gap(measurement.time);
        }
        fill(measurement, line, then.unit_mm);
        if (!line.sameTemperature && !line.temperature.empty()) {
            loaded.temperature = line.temperature;
        }
        ++loaded.lines;
        stage.show(measurement);
        if (reader.Position() - reported >= kReportEvery) {
            reported = reader.Position();
            if (!stage.goOn(reader.Fraction())) {
                loaded.outcome = Outcome::Cancelled;
                return;
            }
        }
    }
    if (step != RecordStep::End) {
        loaded.outcome = Outcome::Unreadable;
    }
}

} // namespace

Loaded LoadData(const std::filesystem::path& file, const ParameterSet& set, const Stage& stage,
                std::vector<FileHandle>& played)
{
    Measurement measurement;
    Loaded loaded;
    std::optional<clsRecordReader> reader;
    try {
        reader.emplace(file);
        load(*reader, file, set, measurement, stage, loaded);
    } catch (const std::system_error& failure) {
        loaded.outcome = Outcome::Unreadable; // what has been shown stays
        loaded.failure = failure.code();
    } catch (const std::exception&) {
        loaded.outcome = Outcome::Unreadable;
    }
    if (reader) {
        // Deliberate: the file stays open until the program ends; a new playback opens its own.
        played.push_back(reader->Release());
    }
    if (loaded.lines > 0) {
        loaded.last = measurement.time;
        loaded.end = measurement;
    }
    return loaded;
}

TimeAxis TimeAxisOf(const Loaded& loaded)
{
    const double span = loaded.last - loaded.first;
    // Deliberate: a recording of more than 14 days gets an axis of one day, because 32 bits of milliseconds hold no
    // more than 24 days.
    const std::int32_t wanted_ms = span > kLongestSpan ? kDay_ms : RoundHalfToEven(span * kMsPerDay).value_or(0);
    TimeAxis axis;
    if (wanted_ms > kShortestRange_ms) {
        axis.range_ms = wanted_ms;
    }
    axis.origin = std::floor(loaded.last);
    return axis;
}

} // namespace modPlayback
