#include "session/modPlayback.h"

#include "base/Numbers.h"
#include "sensor/Parameters.h"
#include "store/clsRecordReader.h"

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

void load(clsRecordReader& reader, Measurement& measurement, const Stage& stage, Loaded& loaded)
{
    const double unit_mm = UnitOf(measurement.unit).millimetres;
    std::uint64_t reported = 0;
    RecordStep step = RecordStep::End;
    while ((step = reader.Next()) == RecordStep::Value) {
        const modRecordLine::RecordedValue& line = reader.Value();
        fill(measurement, line, unit_mm);
        if (!line.sameTemperature && !line.temperature.empty()) {
            loaded.temperature = line.temperature;
        }
        if (loaded.first == 0.0) {
            loaded.first = measurement.time;
        }
        loaded.last = measurement.time;
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
    Measurement measurement{.unit = set.DistanceUnit, .outputFormat = set.OutputFormat};
    Loaded loaded;
    std::optional<clsRecordReader> reader;
    try {
        reader.emplace(file);
        load(*reader, measurement, stage, loaded);
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
