#include "store/modSidecar.h"

#include "base/Days.h"
#include "base/IsoTime.h"
#include "base/modAPI.h"
#include "base/modFiles.h"
#include "sensor/Fields.h"
#include "sensor/Parameters.h"
#include "store/JsonValues.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string_view>

namespace modSidecar {

namespace {

using namespace JsonValues;

constexpr double kSlack = 5.0 / kSecondsPerDay;
constexpr int kIndentation = 2;

/// The words for `GapReason`, in its order; `Unknown` has none.
constexpr std::array<std::string_view, 6> kReasons{"no echo",          "damage",  "line lost",
                                                   "temperature poll", "stopped", "clock changed"};

bool isSetBack(const Gap& gap)
{
    return gap.reason == GapReason::ClockChanged && gap.to < gap.from;
}

// Writing.

/// Local times as texts with their offset, in the order of a recording: the hour that autumn repeats is the first one
/// until the clock has been set back.
class clsMoments {
public:
    explicit clsMoments(const RecordingInfo& info)
    {
        const modAPI::UtcOffsets here = modAPI::UtcOffsetsOf(info.start);
        m_isSecond = info.offset_min == here.second_min && info.offset_min != here.first_min;
        if (info.offset_min && info.offset_min != here.first_min && !m_isSecond) {
            m_elsewhere = info.offset_min; // recorded in another time zone
        }
    }
    void SetBack() { m_isSecond = true; }
    /// Null when the calendar has no such time.
    ordered_json Text(double time) const
    {
        const std::string text = IsoText(time);
        if (text.empty()) {
            return nullptr;
        }
        const modAPI::UtcOffsets here = modAPI::UtcOffsetsOf(time);
        return text + IsoOffset(m_elsewhere.value_or(m_isSecond ? here.second_min : here.first_min));
    }

private:
    bool m_isSecond = false;
    std::optional<std::int32_t> m_elsewhere;
};

ordered_json parametersOf(const RecordingInfo& info)
{
    ordered_json parameters = ordered_json::object();
    for (const ParameterDef& row : ParameterTable()) {
        if (IsReported(row, info.parameters, info.sensor)) {
            parameters[std::string(row.code)] = info.parameters.*row.value;
        }
    }
    return parameters;
}

/// Times have no more.
double toMicroseconds(double ms)
{
    return std::round(ms * 1000.0) / 1000.0;
}

ordered_json accountOf(const AccountFigures& figures)
{
    ordered_json account;
    for (const auto& [key, count] : kAccountCounts) {
        account[key] = figures.*count;
    }
    account["longestGap_ms"] = toMicroseconds(figures.longestGap_ms);
    return account;
}

ordered_json gapsOf(const std::vector<Gap>& all, clsMoments& moments)
{
    ordered_json gaps = ordered_json::array();
    for (const Gap& gap : all) {
        ordered_json& entry = gaps.emplace_back();
        entry["from"] = moments.Text(gap.from);
        if (isSetBack(gap)) {
            moments.SetBack();
        }
        entry["to"] = moments.Text(gap.to);
        entry["reason"] = kReasons.at(static_cast<std::size_t>(gap.reason));
    }
    return gaps;
}

ordered_json marksOf(const std::vector<RecordingMark>& all, const clsMoments& moments)
{
    clsMoments afterwards = moments;
    afterwards.SetBack();
    ordered_json marks = ordered_json::array();
    for (const RecordingMark& mark : all) {
        ordered_json& entry = marks.emplace_back();
        entry["time"] = (mark.isSecondTime ? afterwards : moments).Text(mark.time);
        entry["text"] = mark.text;
    }
    return marks;
}

void addSensor(const RecordingInfo& info, ordered_json& document)
{
    const std::int32_t format = info.parameters.OutputFormat;
    const bool hasFormat = format >= 0 && format < std::ssize(kOutputFormatTexts);
    document["sensor"] = SensorOf(info.sensor);
    document["parameters"] = parametersOf(info);
    document["unit"] = UnitOf(info.parameters.DistanceUnit).name;
    document["format"] = kOutputFormatTexts.at(static_cast<std::size_t>(hasFormat ? format : 0));
}

ordered_json documentOf(const RecordingInfo& info)
{
    clsMoments moments(info);
    ordered_json document;
    document["program"] = info.program;
    document["version"] = info.version;
    document["port"] = info.port;
    document["simulated"] = info.simulated;
    if (info.isSensorKnown) {
        addSensor(info, document);
    }
    document["start"] = info.start == 0.0 ? ordered_json() : moments.Text(info.start);
    document["end"] = nullptr; // its place
    if (info.part > 0) {
        document["recordingStart"] = moments.Text(info.recordingStart);
        document["part"] = info.part;
    }
    if (info.bytes) {
        document["bytes"] = *info.bytes;
    }
    document["everyValue"] = info.everyValue;
    document["account"] = accountOf(info.account);
    ordered_json marks = marksOf(info.marks, moments);
    document["gaps"] = gapsOf(info.gaps, moments);
    document["gapsDropped"] = info.gapsDropped;
    document["longestDroppedGap_ms"] = toMicroseconds(info.longestDroppedGap_ms);
    document["marks"] = std::move(marks);
    if (info.end) {
        document["end"] = moments.Text(*info.end);
    }
    return document;
}

// Reading. A value of a wrong type is as good as none.

void readFlag(const json& value, bool& flag)
{
    if (const auto* found = value.get_ptr<const json::boolean_t*>()) {
        flag = *found;
    }
}

/// The index of a text in a list; empty when the list lacks it.
template <typename List>
std::optional<std::int32_t> indexOf(const json& value, const List& list)
{
    const auto* text = value.get_ptr<const json::string_t*>();
    const auto found = text == nullptr ? list.end() : std::ranges::find(list, std::string_view(*text));
    return found == list.end() ? std::nullopt : std::optional(static_cast<std::int32_t>(found - list.begin()));
}

std::optional<IsoTime> timeOf(const json& value)
{
    const auto* text = value.get_ptr<const json::string_t*>();
    return text == nullptr ? std::nullopt : TimeOfIso(*text);
}

double lengthOf(const json& value)
{
    return value.is_number() ? std::max(0.0, value.get<double>()) : 0.0;
}

void readAccount(const json& account, AccountFigures& figures)
{
    for (const auto& [key, member] : kAccountCounts) {
        constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
        figures.*member = WholeOf(ValueOf(account, key), 0, kMost).value_or(figures.*member);
    }
    figures.longestGap_ms = lengthOf(ValueOf(account, "longestGap_ms"));
}

void readGaps(const json& gaps, std::vector<Gap>& list)
{
    for (const json& entry : gaps) {
        const auto from = timeOf(ValueOf(entry, "from")), to = timeOf(ValueOf(entry, "to"));
        if (from && to && list.size() < kMostGaps) {
            // An unknown reason, of a later version perhaps, leaves the first; the gap counts.
            const auto reason = static_cast<GapReason>(indexOf(ValueOf(entry, "reason"), kReasons).value_or(0));
            list.push_back({from->time, to->time, reason});
        }
    }
}

void readMarks(const json& marks, std::vector<RecordingMark>& list)
{
    for (const json& entry : marks) {
        if (const auto time = timeOf(ValueOf(entry, "time"))) {
            const modAPI::UtcOffsets here = modAPI::UtcOffsetsOf(time->time);
            const bool isSecond = time->offset_min == here.second_min && here.first_min != here.second_min;
            list.push_back({time->time, {}, isSecond});
            ReadText(ValueOf(entry, "text"), list.back().text);
        }
    }
}

RecordingInfo infoOf(const json& document)
{
    RecordingInfo info;
    ReadText(ValueOf(document, "program"), info.program);
    ReadText(ValueOf(document, "version"), info.version);
    ReadText(ValueOf(document, "port"), info.port);
    readFlag(ValueOf(document, "simulated"), info.simulated);
    ReadSensor(ValueOf(document, "sensor"), info.sensor);
    ReadParameters(ValueOf(document, "parameters"), info.parameters);
    std::array<std::string_view, kUnits.size()> units{};
    std::ranges::transform(kUnits, units.begin(), &UnitDef::name);
    const auto unit = indexOf(ValueOf(document, "unit"), units);
    const auto format = indexOf(ValueOf(document, "format"), kOutputFormatTexts);
    info.isSensorKnown = unit && format;
    info.parameters.DistanceUnit = unit.value_or(info.parameters.DistanceUnit);
    info.parameters.OutputFormat = format.value_or(info.parameters.OutputFormat);
    if (const auto start = timeOf(ValueOf(document, "start"))) {
        info.start = start->time;
        info.offset_min = start->offset_min;
    }
    if (const auto end = timeOf(ValueOf(document, "end"))) {
        info.end = end->time;
    }
    constexpr std::int64_t kMostParts = std::numeric_limits<std::int32_t>::max();
    const auto recordingStart = timeOf(ValueOf(document, "recordingStart"));
    const auto part = WholeOf(ValueOf(document, "part"), 1, kMostParts);
    if (recordingStart && part) {
        info.recordingStart = recordingStart->time;
        info.part = static_cast<std::int32_t>(*part);
    }
    info.bytes = WholeOf(ValueOf(document, "bytes"), 0, std::numeric_limits<std::int64_t>::max());
    readFlag(ValueOf(document, "everyValue"), info.everyValue);
    readAccount(ValueOf(document, "account"), info.account);
    readGaps(ValueOf(document, "gaps"), info.gaps);
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
    info.gapsDropped = WholeOf(ValueOf(document, "gapsDropped"), 0, kMost).value_or(0);
    info.longestDroppedGap_ms = lengthOf(ValueOf(document, "longestDroppedGap_ms"));
    readMarks(ValueOf(document, "marks"), info.marks);
    info.hasOnlyMarks = document.contains("marks") && document.size() <= 2 && info.start != 0.0;
    return info;
}

std::error_code replace(const std::filesystem::path& sidecar, const ordered_json& document)
{
    const std::string text = document.dump(kIndentation, ' ', false, ordered_json::error_handler_t::replace);
    std::error_code why;
    modFiles::Replace(sidecar, text + '\n', why, kLargest);
    return why;
}

} // namespace

std::filesystem::path SidecarOf(const std::filesystem::path& recording)
{
    std::filesystem::path sidecar = recording;
    return sidecar.replace_extension(".json");
}

std::error_code Write(const std::filesystem::path& sidecar, const RecordingInfo& info)
{
    return replace(sidecar, documentOf(info));
}

std::error_code WriteMarks(const std::filesystem::path& sidecar, const RecordingInfo& info)
{
    const clsMoments moments(info);
    std::error_code why;
    const auto text = modFiles::ReadWhole(sidecar, why, kLargest);
    if (!text && why != std::errc::no_such_file_or_directory) {
        return why;
    }
    ordered_json document;
    if (!text) {
        document["start"] = moments.Text(info.start);
    } else if (!IsDeep(*text)) {
        document = ordered_json::parse(*text, nullptr, false);
    }
    if (!document.is_object()) {
        return std::make_error_code(std::errc::bad_message);
    }
    document["marks"] = marksOf(info.marks, moments);
    return replace(sidecar, document);
}

std::optional<RecordingInfo> Read(const std::filesystem::path& sidecar, std::error_code& why)
{
    const auto text = modFiles::ReadWhole(sidecar, why, kLargest);
    if (!text) {
        return std::nullopt;
    }
    why = std::make_error_code(std::errc::bad_message);
    if (IsDeep(*text)) {
        return std::nullopt;
    }
    const json document = json::parse(*text, nullptr, false);
    if (!document.is_object()) {
        return std::nullopt;
    }
    why.clear();
    return infoOf(document);
}

bool Belongs(const RecordingInfo& info, double firstLine)
{
    const auto isClockChange = [](const Gap& gap) { return gap.reason == GapReason::ClockChanged; };
    if (info.account.clockJumps > 0 || std::ranges::any_of(info.gaps, isClockChange)) {
        return true;
    }
    return info.start != 0.0 && firstLine >= info.start - kSlack && (!info.end || firstLine <= *info.end + kSlack);
}

std::error_code Remove(const std::filesystem::path& recording)
{
    std::error_code error;
    if (const std::filesystem::path sidecar = SidecarOf(recording); sidecar != recording) {
        std::filesystem::remove(sidecar, error);
    }
    return error;
}

std::error_code Rename(const std::filesystem::path& oldRecording, const std::filesystem::path& newRecording)
{
    std::error_code error;
    std::filesystem::rename(SidecarOf(oldRecording), SidecarOf(newRecording), error);
    return error == std::errc::no_such_file_or_directory ? std::error_code() : error;
}

} // namespace modSidecar
