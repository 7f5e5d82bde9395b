#include "session/modPlayback.h"

#include "base/FileIdentity.h"
#include "base/Numbers.h"
#include "sensor/Parameters.h"
#include "session/clsPlayedGaps.h"
#include "store/clsRecordReader.h"
#include "store/modSidecar.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <exception>
#include <memory>
#include <utility>

namespace modPlayback {

namespace {

constexpr std::uint64_t kReportEvery = std::uint64_t{1} << 18; // bytes, well under a millisecond
constexpr std::size_t kPiece = 256;                            // lines, stay in the processor's cache
constexpr double kLongestSpan = 14.0;                          // days; their milliseconds still fit 32 bits
constexpr std::int32_t kDay_ms = 86400000;
constexpr std::int32_t kShortestRange_ms = 60000;

/// The sidecar of a file whose first line is known, and what has become of it.
std::pair<std::optional<RecordingInfo>, SidecarUse> sidecarOf(const std::filesystem::path& file, double first)
{
    const std::filesystem::path sidecar = modSidecar::SidecarOf(file);
    if (sidecar == file) {
        return {std::nullopt, SidecarUse::Missing};
    }
    std::error_code why;
    auto info = modSidecar::Read(sidecar, why);
    if (info && info->hasOnlyMarks) {
        return {std::nullopt, SidecarUse::Missing}; // it says nothing of the values
    }
    if (!info) {
        const bool isMissing = why == std::errc::no_such_file_or_directory;
        return {std::nullopt, isMissing ? SidecarUse::Missing : SidecarUse::Unreadable};
    }
    if (!modSidecar::Belongs(*info, first)) {
        return {std::nullopt, SidecarUse::Foreign};
    }
    return {std::move(info), SidecarUse::Used};
}

std::int32_t numberOf(const modRecordLine::RecordedValue& line)
{
    switch (line.kind) {
    case MeasurementKind::NoEcho:
        return kMarkerNoEcho;
    case MeasurementKind::TempError:
        return kMarkerTempError;
    case MeasurementKind::Distance:
        break;
    }
    return line.value_mm;
}

/// Files that are open, for reading again what memory has no room for.
class clsLinesAgain {
public:
    /// Remembers where a line stands. Lines come in their order.
    LinePosition Note(std::uint32_t file, const clsRecordReader& reader)
    {
        const LinePosition position{file, reader.Offset()};
        m_dates.push_back({position, reader.Date()});
        return position;
    }
    void Add(int descriptor) { m_descriptors.push_back(descriptor); }

    /// False if the disk does not answer; fewer lines if they are not there any more.
    bool Read(const LinePosition& from, std::size_t lines, std::vector<RecordedSample>& samples) const
    {
        const auto key = [](const Dated& dated) { return std::pair(dated.position.file, dated.position.offset); };
        const auto found = std::ranges::lower_bound(m_dates, std::pair(from.file, from.offset), {}, key);
        if (found == m_dates.end() || key(*found) != std::pair(from.file, from.offset)) {
            return true;
        }
        try {
            clsRecordReader reader(m_descriptors.at(from.file), from.offset, found->date);
            for (; lines > 0 && reader.Next() == RecordStep::Value; --lines) {
                samples.push_back({reader.Value().time, numberOf(reader.Value())});
            }
        } catch (const std::system_error&) {
            return false;
        }
        return true;
    }

private:
    struct Dated {
        LinePosition position;
        double date = 0.0;
    };
    std::vector<Dated> m_dates;
    std::vector<int> m_descriptors;
};

/// Opens a file, unless an earlier playback has done so.
int open(const std::filesystem::path& file, std::vector<FileHandle>& played)
{
    FileHandle handle = clsRecordReader::Open(file);
    const auto identity = FileIdentity::Of(handle.Descriptor());
    const auto isSame = [&](const FileHandle& other) { return FileIdentity::Of(other.Descriptor()) == identity; };
    const auto known = std::ranges::find_if(played, isSame);
    if (known != played.end()) {
        return known->Descriptor();
    }
    // Deliberate: the file stays open until the program ends.
    played.push_back(std::move(handle));
    return played.back().Descriptor();
}

/// One pass over the files of a recording.
class clsLoading {
public:
    clsLoading(const ParameterSet& now, const Stage& stage, Loaded& loaded)
        : m_now(now), m_stage(stage), m_loaded(loaded), m_again(std::make_shared<clsLinesAgain>())
    {
        m_stage.history.ReadFrom(
            {.where = [this] { return m_again->Note(m_file, *m_reader); },
             .read =
                 [again = m_again](const LinePosition& from, std::size_t lines, std::vector<RecordedSample>& samples) {
                     return again->Read(from, lines, samples);
                 }});
    }
    ~clsLoading() { m_stage.history.EndLoading(); }
    clsLoading(const clsLoading&) = delete;
    clsLoading& operator=(const clsLoading&) = delete;

    void Load(std::span<const RecordPart> parts, std::vector<FileHandle>& played);
    /// Shows what is held back.
    void Tell();

private:
    void measure(std::span<const RecordPart> parts);
    RecordStep loadFile(const RecordPart& part);
    void beginFile(const RecordPart& part, double first);
    void begin();
    void take(const modRecordLine::RecordedValue& line);
    void breakCurve(GapReason reason);
    void followShift(bool isGap);
    bool goOn();

    const ParameterSet& m_now;
    const Stage& m_stage;
    Loaded& m_loaded;
    std::shared_ptr<clsLinesAgain> m_again; ///< the history has it, too
    std::optional<clsRecordReader> m_reader;
    std::uint32_t m_file = 0;
    double m_bytes = 0.0, m_bytesBefore = 0.0; ///< of all files, and of those before the present one
    std::uint64_t m_reported = 0;
    double m_unit_mm = 1.0;
    clsPlayedGaps m_gaps{nullptr};
    std::array<Measurement, kPiece> m_piece{}; ///< a call for each line would take as long as reading it
    std::size_t m_held = 0;
    double m_time = 0.0;       ///< of the last line
    std::int32_t m_number = 0; ///< and its value
    double m_shift = 0.0;
};

void clsLoading::Load(std::span<const RecordPart> parts, std::vector<FileHandle>& played)
{
    m_loaded.files = parts.size();
    measure(parts);
    RecordStep step = RecordStep::End;
    for (; m_file < parts.size() && step == RecordStep::End; ++m_file) {
        m_loaded.unreadable = m_file;
        m_loaded.line = 0;
        const int descriptor = open(parts[m_file].file, played);
        m_again->Add(descriptor);
        m_reader.emplace(descriptor);
        m_reported = 0;
        step = loadFile(parts[m_file]);
        m_loaded.line = m_reader->LineNumber();
        Tell();
        m_bytesBefore += static_cast<double>(m_reader->Size());
        m_stage.history.EndFile();
    }
    if (step != RecordStep::End && m_loaded.outcome == Outcome::Complete) {
        m_loaded.outcome = Outcome::Unreadable;
    }
}

void clsLoading::measure(std::span<const RecordPart> parts)
{
    for (const RecordPart& part : parts) {
        std::error_code unknown;
        const auto size = std::filesystem::file_size(part.file, unknown);
        m_bytes += unknown ? 0.0 : static_cast<double>(size);
    }
}

RecordStep clsLoading::loadFile(const RecordPart& part)
{
    RecordStep step = m_reader->Next();
    if (step == RecordStep::Value) {
        beginFile(part, m_reader->Value().time);
    }
    for (; step == RecordStep::Value; step = m_reader->Next()) {
        take(m_reader->Value());
        if (m_reader->Position() - m_reported >= kReportEvery && !goOn()) {
            m_loaded.outcome = Outcome::Cancelled;
            return step;
        }
    }
    return step;
}

void clsLoading::beginFile(const RecordPart& part, double first)
{
    auto [info, use] = sidecarOf(part.file, first);
    m_gaps.GoOn(info ? &*info : nullptr);
    if (m_loaded.lines > 0) {
        if (!part.joinsBefore) {
            breakCurve(GapReason::Unknown);
        }
        return;
    }
    m_loaded.first = first;
    m_loaded.info = std::move(info);
    m_loaded.sidecar = use;
    begin();
}

/// What all lines have in common.
void clsLoading::begin()
{
    const ParameterSet& then = m_loaded.info && m_loaded.info->isSensorKnown ? m_loaded.info->parameters : m_now;
    m_unit_mm = UnitOf(then.DistanceUnit).millimetres;
    for (Measurement& measurement : m_piece) {
        measurement.unit = then.DistanceUnit;
        measurement.outputFormat = then.OutputFormat;
    }
}

/// Fills a measurement as a reply from the sensor would.
inline void clsLoading::take(const modRecordLine::RecordedValue& line)
{
    constexpr double kSteady = 0.5 / kSecondsPerDay;
    const bool isGap = m_gaps.LiesBefore(line.time, line.sameSecond) && m_loaded.lines > 0;
    if (isGap) {
        breakCurve(m_gaps.Reason());
    }
    m_number = numberOf(line);
    m_stage.history.AddPlayed(line.time, m_number);
    if (const double step = line.time - m_time; step < 0.0 || step > kSteady) {
        followShift(isGap);
    }
    m_time = line.time;
    Measurement& measurement = m_piece[m_held];
    // Mostly in millimetres: a division for each line would take a sixth of the time.
    measurement.value = line.kind == MeasurementKind::Distance && m_unit_mm != 1.0 ? m_number / m_unit_mm : m_number;
    measurement.value_mm = m_number;
    measurement.time = line.time;
    if (!line.sameTemperature && !line.temperature.empty()) {
        m_loaded.temperature = line.temperature;
    }
    ++m_loaded.lines;
    if (++m_held == m_piece.size()) {
        Tell();
    }
}

void clsLoading::breakCurve(GapReason reason)
{
    Tell();
    m_stage.gap(m_time + m_shift);
    m_stage.history.AddGap(reason);
}

/// The history's time axis knows whether the clock was set before a line that it has just taken up.
void clsLoading::followShift(bool isGap)
{
    const double shift = m_stage.history.Times().Shift();
    if (shift != m_shift) {
        Tell();
        if (!isGap) {
            m_stage.gap(m_time + m_shift); // nothing is joined across it
        }
        m_shift = shift;
    }
}

void clsLoading::Tell()
{
    if (m_held > 0) {
        m_loaded.last = m_time;
        m_loaded.shift = m_shift;
        m_loaded.end = m_piece[m_held - 1];
        m_stage.show(std::span(m_piece).first(std::exchange(m_held, 0)), m_shift);
    }
}

bool clsLoading::goOn()
{
    m_reported = m_reader->Position();
    Tell();
    const double read = m_bytesBefore + static_cast<double>(m_reader->Position());
    return m_stage.goOn(m_bytes > 0.0 ? std::min(1.0, read / m_bytes) : 1.0);
}

} // namespace

Loaded LoadData(std::span<const RecordPart> parts, const ParameterSet& set, const Stage& stage,
                std::vector<FileHandle>& played)
{
    Loaded loaded;
    clsLoading loading(set, stage, loaded);
    try {
        loading.Load(parts, played);
    } catch (const std::system_error& failure) {
        loaded.outcome = Outcome::Unreadable; // what has been shown stays
        loaded.failure = failure.code();
    } catch (const std::exception&) {
        loaded.outcome = Outcome::Unreadable;
    }
    loading.Tell();
    return loaded;
}

TimeAxis TimeAxisOf(const Loaded& loaded)
{
    const double span = loaded.last + loaded.shift - loaded.first;
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
