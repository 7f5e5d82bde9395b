#include "store/modRecordParts.h"

#include "base/Days.h"
#include "base/modFiles.h"
#include "store/clsRecordReader.h"
#include "store/modSidecar.h"

#include <algorithm>
#include <cmath>
#include <fcntl.h>
#include <map>
#include <optional>
#include <string>
#include <system_error>
#include <tuple>
#include <unistd.h>

namespace modRecordParts {

namespace {

constexpr double kSameMoment = 2.0 / kMsPerDay; // a sidecar rounds its times
constexpr double kNextLine = 2.0 / kSecondsPerDay;
constexpr int kStrangers = 16; // in a row; names that were taken lie between those of a recording

/// A file's place in the names of a recording.
struct Name {
    std::string series; ///< what the names have in common
    int number = 1;

    static Name Of(const std::filesystem::path& file);
};

std::optional<int> numberOf(std::string_view digits)
{
    const bool isNumber = !digits.empty() && digits.size() <= 5 &&
                          std::ranges::all_of(digits, [](char c) { return c >= '0' && c <= '9'; });
    return isNumber ? std::optional(std::stoi(std::string(digits))) : std::nullopt;
}

Name Name::Of(const std::filesystem::path& file)
{
    const std::string stem = file.stem().string();
    if (const auto number = numberOf(std::string_view(stem).substr(std::min<std::size_t>(stem.size(), 4)));
        stem.starts_with("SAVE") && stem.size() >= 8 && number) {
        return {"/SAVE", *number}; // no chosen name has a slash
    }
    const auto bracket = stem.rfind(" (");
    if (bracket != std::string::npos && stem.ends_with(')')) {
        const auto number = numberOf(std::string_view(stem).substr(bracket + 2, stem.size() - bracket - 3));
        if (number && *number > 1) {
            return {stem.substr(0, bracket), *number};
        }
    }
    return {stem, 1};
}

/// What is known of a file without reading it to its end.
struct Known {
    std::filesystem::path file;
    int number = 0;                    ///< in its name
    std::optional<RecordingInfo> info; ///< of its sidecar, if that is its own
    std::optional<double> first, last; ///< lines

    bool IsNumbered() const { return info && info->recordingStart != 0.0 && info->part > 0; }
};

/// The time of the last whole line; none when the end of the file is no line.
std::optional<double> lastLineOf(const std::filesystem::path& file)
{
    constexpr off_t kTail = 4096;
    const FileHandle handle = clsRecordReader::Open(file);
    const off_t size = lseek(handle.Descriptor(), 0, SEEK_END);
    std::string tail(static_cast<std::size_t>(std::clamp<off_t>(size, 0, kTail)), '\0');
    const ssize_t count = pread(handle.Descriptor(), tail.data(), tail.size(), size - std::ssize(tail));
    tail.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    while (!tail.empty() && (tail.back() == '\n' || tail.back() == '\r')) {
        tail.pop_back();
    }
    const auto begin = tail.rfind('\n');
    modRecordLine::clsLineParser parser;
    modRecordLine::RecordedValue value;
    const bool isLine = parser.Parse(std::string_view(tail).substr(begin == std::string::npos ? 0 : begin + 1), value);
    return isLine ? std::optional(value.time) : std::nullopt;
}

Known look(const std::filesystem::path& file)
{
    Known known{.file = file, .number = Name::Of(file).number, .info = {}, .first = {}, .last = {}};
    try {
        clsRecordReader reader(file);
        if (reader.Next() == RecordStep::Value) {
            known.first = reader.Value().time;
            known.last = lastLineOf(file);
        }
    } catch (const std::system_error&) {
        return known; // playing it will say why
    }
    const std::filesystem::path sidecar = modSidecar::SidecarOf(file);
    std::error_code missing;
    if (sidecar != file && known.first) {
        known.info = modSidecar::Read(sidecar, missing);
        if (known.info && (known.info->hasOnlyMarks || !modSidecar::Belongs(*known.info, *known.first))) {
            known.info.reset();
        }
    }
    return known;
}

bool areSame(double one, double other)
{
    return std::fabs(one - other) <= kSameMoment;
}

/// A file has the values of one sensor; a recording that went on with another one is a recording of its own.
bool isOfAnotherSensor(const Known& one, const Known& other)
{
    return one.info && other.info && one.info->isSensorKnown && other.info->isSensorKnown &&
           one.info->sensor.SerialNo != other.info->sensor.SerialNo;
}

/// Whether a file goes on where another ended.
bool meets(const Known& before, const Known& behind)
{
    if (before.IsNumbered() && behind.IsNumbered()) {
        return areSame(before.info->recordingStart, behind.info->recordingStart) &&
               behind.info->part == before.info->part + 1;
    }
    if (before.IsNumbered() || behind.IsNumbered()) {
        return false;
    }
    if (before.info && before.info->end && behind.info && behind.info->start != 0.0) {
        return areSame(*before.info->end, behind.info->start);
    }
    return !before.info && !behind.info && behind.number == before.number + 1 && before.last && behind.first &&
           *behind.first >= *before.last && *behind.first - *before.last <= kNextLine;
}

/// Whether two files belong to one recording, even if others are missing between them.
bool belongTogether(const Known& chosen, const Known& neighbour, const Known& before, const Known& behind)
{
    if (isOfAnotherSensor(chosen, neighbour)) {
        return false;
    }
    if (chosen.IsNumbered() && neighbour.IsNumbered()) {
        return areSame(chosen.info->recordingStart, neighbour.info->recordingStart);
    }
    return meets(before, behind);
}

/// All files of the folder whose names are of the same series, by their numbers.
std::map<int, std::filesystem::path> seriesOf(const std::filesystem::path& file)
{
    std::map<int, std::filesystem::path> files;
    const std::string series = Name::Of(file).series;
    std::error_code unreadable;
    for (std::filesystem::directory_iterator entry(file.parent_path(), unreadable), end; !unreadable && entry != end;
         entry.increment(unreadable)) {
        const Name name = Name::Of(entry->path());
        if (entry->path().extension() == file.extension() && name.series == series) {
            files.emplace(name.number, entry->path());
        }
    }
    return files;
}

/// Goes through the neighbours on one side of the chosen file, as far as they belong to it.
template <typename Iterator>
void collect(Iterator entry, Iterator end, bool isUpwards, const Known& chosen, std::vector<Known>& found)
{
    Known last = chosen;
    for (int strangers = 0; entry != end && strangers < kStrangers; ++entry) {
        Known next = look(entry->second);
        if (belongTogether(chosen, next, isUpwards ? last : next, isUpwards ? next : last)) {
            strangers = 0;
            found.push_back(next);
            last = std::move(next);
        } else {
            ++strangers;
        }
    }
}

std::vector<RecordPart> sorted(std::vector<Known> files)
{
    const auto key = [](const Known& file) {
        const bool isNumbered = file.IsNumbered();
        const double first = file.first.value_or(0.0);
        return std::tuple(isNumbered ? file.info->recordingStart : first, isNumbered ? file.info->part : 0, first);
    };
    std::ranges::stable_sort(files, {}, key);
    std::vector<RecordPart> parts;
    for (std::size_t i = 0; i < files.size(); ++i) {
        parts.push_back({files[i].file, i > 0 && meets(files[i - 1], files[i])});
    }
    return parts;
}

} // namespace

std::vector<RecordPart> PartsOf(const std::filesystem::path& file)
{
    const auto series = file.extension() == ".rec" ? seriesOf(file) : std::map<int, std::filesystem::path>();
    const int number = Name::Of(file).number;
    if (series.size() < 2 || !series.contains(number)) {
        return {{file, false}};
    }
    const Known chosen = look(file);
    std::vector<Known> before, behind;
    collect(std::make_reverse_iterator(series.lower_bound(number)), series.rend(), false, chosen, before);
    collect(series.upper_bound(number), series.end(), true, chosen, behind);
    std::vector<Known> files(before.rbegin(), before.rend());
    files.push_back(chosen);
    files.insert(files.end(), behind.begin(), behind.end());
    if (chosen.IsNumbered()) {
        return sorted(std::move(files));
    }
    std::vector<RecordPart> parts; // each goes on where the one before ended, whatever the clock says
    parts.reserve(files.size());
    for (const Known& part : files) {
        parts.push_back({part.file, !parts.empty()});
    }
    return parts;
}

std::vector<RecordPart> InOrder(const std::vector<std::filesystem::path>& files)
{
    std::vector<Known> known;
    std::ranges::transform(files, std::back_inserter(known), look);
    return sorted(std::move(known));
}

} // namespace modRecordParts
