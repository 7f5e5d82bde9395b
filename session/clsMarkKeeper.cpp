#include "session/clsMarkKeeper.h"

#include "base/Days.h"
#include "base/modAPI.h"
#include "base/modFiles.h"
#include "session/clsRecorder.h"
#include "store/clsRecordReader.h"
#include "store/modSidecar.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace {

/// A mark may be set just before the first value of a recording comes.
constexpr double kBefore = 1.0 / kSecondsPerDay;

bool isRepeatedHour(double time)
{
    const modAPI::UtcOffsets offsets = modAPI::UtcOffsetsOf(time);
    return offsets.first_min != offsets.second_min;
}

/// A mark as a sidecar has it. In the hour that autumn repeats it also says which time it means.
RecordingMark recordedMark(const clsTimeLine& times, const clsMarks::Mark& mark)
{
    const double time = times.TimeOf(mark.place);
    const auto& stretches = times.Stretches();
    const auto hasSetBack = [&](const clsTimeLine::Stretch& stretch) {
        return stretch.begin <= mark.place && stretch.shift > 0.0;
    };
    return {time, mark.text, isRepeatedHour(time) && std::ranges::any_of(stretches, hasSetBack)};
}

double placeOf(const clsTimeLine& times, const RecordingMark& mark)
{
    const auto& stretches = times.Stretches();
    if (isRepeatedHour(mark.time) && !mark.isSecondTime && !stretches.empty()) {
        return mark.time + stretches.front().shift;
    }
    return times.PlaceOf(mark.time);
}

/// The time of the first line; none in a file without lines that can be read.
std::optional<double> firstLineOf(const std::filesystem::path& recording)
{
    try {
        clsRecordReader reader(recording);
        return reader.Next() == RecordStep::Value ? std::optional(reader.Value().time) : std::nullopt;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace

MarkOutcome clsMarkKeeper::Set(const clsTimeLine& times, double place, std::string_view text)
{
    const auto added = shelf().marks.Add(place, text);
    if (!added) {
        return {.home = MarkHome::None};
    }
    ++m_version;
    return keep(place, {.before = {}, .after = recordedMark(times, Marks()[*added])});
}

MarkOutcome clsMarkKeeper::Change(const clsTimeLine& times, std::size_t mark, std::string_view text)
{
    MarkChange change{.before = recordedMark(times, shelf().marks.At(mark)), .after = {}};
    shelf().marks.Change(mark, text);
    change.after = recordedMark(times, Marks()[mark]);
    ++m_version;
    return keep(Marks()[mark].place, change);
}

MarkOutcome clsMarkKeeper::Remove(const clsTimeLine& times, std::size_t mark)
{
    const clsMarks::Mark removed = shelf().marks.At(mark);
    shelf().marks.Remove(mark);
    ++m_version;
    return keep(removed.place, {.before = recordedMark(times, removed), .after = {}});
}

const clsMarkKeeper::File* clsMarkKeeper::fileAt(const Shelf& shelf, double place)
{
    const auto behind = std::ranges::find_if(shelf.files.rbegin(), shelf.files.rend(),
                                             [place](const File& file) { return place >= file.begin - kBefore; });
    if (behind == shelf.files.rend() || place > behind->end) {
        return nullptr;
    }
    const bool isEarlier = place < behind->begin && std::next(behind) != shelf.files.rend() &&
                           place <= std::next(behind)->end; // the part before has it
    return isEarlier ? &*std::next(behind) : &*behind;
}

std::optional<std::filesystem::path> clsMarkKeeper::RecordingAt(double place) const
{
    const File* file = fileAt(shelf(), place);
    return file == nullptr ? std::nullopt : std::optional(file->recording);
}

MarkOutcome clsMarkKeeper::keep(double place, const MarkChange& change)
{
    const File* file = fileAt(shelf(), place);
    if (file == nullptr) {
        return {.home = MarkHome::Session};
    }
    if (m_played) {
        if (!m_recorder.IsWriting()) {
            return write(*file, change);
        }
        m_waiting.push_back({{}, *file, change}); // the recorder may not be through with this very file
        return {.home = MarkHome::Sidecar};
    }
    const auto index = static_cast<std::size_t>(file - m_session.files.data());
    if (isPresent(index)) {
        ChangePresent(change);
        return {.home = MarkHome::Sidecar};
    }
    if (isSettled(index)) {
        return write(*file, change);
    }
    m_waiting.push_back({index, {}, change});
    return {.home = MarkHome::Sidecar};
}

/// Whether a file of the session is still being filled.
bool clsMarkKeeper::isPresent(std::size_t file) const
{
    return m_recorder.Mode == RecorderRecording && file + 1 == m_session.files.size() &&
           m_session.files[file].end == std::numeric_limits<double>::infinity();
}

/// Whether the recorder's thread will write nothing into the sidecar of a file any more.
bool clsMarkKeeper::isSettled(std::size_t file) const
{
    if (m_session.files[file].recording.empty() || m_recorder.IsWriting()) {
        return false;
    }
    return m_recorder.Mode != RecorderRecording || file < m_firstOfRecording ||
           file - m_firstOfRecording + 1 < m_recorder.RunningParts().size();
}

MarkOutcome clsMarkKeeper::write(const File& file, const MarkChange& change)
{
    const std::filesystem::path sidecar = modSidecar::SidecarOf(file.recording);
    if (sidecar == file.recording) {
        return {.home = MarkHome::Unreadable, .sidecar = sidecar};
    }
    std::error_code why;
    if (!std::filesystem::exists(file.recording, why)) {
        return {.home = MarkHome::Gone,
                .sidecar = sidecar,
                .why = why ? why : std::make_error_code(std::errc::no_such_file_or_directory)};
    }
    const modFiles::FolderLock lock(sidecar); // another program may be setting a mark in the same file
    auto info = modSidecar::Read(sidecar, why);
    if (!info && why != std::errc::no_such_file_or_directory) {
        return {.home = MarkHome::Unreadable, .sidecar = sidecar};
    }
    const std::optional<double> firstLine = file.firstLine ? file.firstLine : firstLineOf(file.recording);
    if (info && (!firstLine || !modSidecar::Belongs(*info, *firstLine))) {
        return {.home = MarkHome::Foreign, .sidecar = sidecar};
    }
    if (!info) {
        info.emplace();
        info->start = firstLine.value_or(0.0);
    }
    Apply(change, info->marks);
    if ((why = modSidecar::WriteMarks(sidecar, *info))) {
        return {.home = MarkHome::Unwritten, .sidecar = sidecar, .why = why};
    }
    return {.home = MarkHome::Sidecar};
}

void clsMarkKeeper::BeginFile(double place)
{
    m_session.files.push_back({.recording = {}, .begin = place, .firstLine = {}});
}

void clsMarkKeeper::EndFile(double place)
{
    if (!m_session.files.empty()) {
        m_session.files.back().end = place;
    }
}

void clsMarkKeeper::Renamed(const std::filesystem::path& from, const std::filesystem::path& to)
{
    for (Shelf* one : {&m_session, m_played ? &*m_played : nullptr}) {
        for (File& file : one == nullptr ? std::span<File>() : std::span(one->files)) {
            file.recording = file.recording == from ? to : file.recording;
        }
    }
    for (Waiting& waiting : m_waiting) {
        waiting.played.recording = waiting.played.recording == from ? to : waiting.played.recording;
    }
}

std::vector<MarkOutcome> clsMarkKeeper::Serve()
{
    if (m_recorder.Mode == RecorderRecording) {
        const auto parts = m_recorder.RunningParts();
        for (std::size_t i = 0; i < parts.size() && m_firstOfRecording + i < m_session.files.size(); ++i) {
            File& file = m_session.files[m_firstOfRecording + i];
            file.recording = file.recording.empty() ? parts[i] : file.recording;
        }
    }
    std::vector<MarkOutcome> failures;
    std::erase_if(m_waiting, [&](const Waiting& waiting) {
        if (waiting.file ? !isSettled(*waiting.file) : m_recorder.IsWriting()) {
            return false;
        }
        MarkOutcome outcome = write(waiting.file ? m_session.files[*waiting.file] : waiting.played, waiting.change);
        if (outcome.home != MarkHome::Sidecar) {
            failures.push_back(std::move(outcome));
        }
        return true;
    });
    return failures;
}

void clsMarkKeeper::BeginPlayed()
{
    m_played.emplace();
    ++m_version;
}

void clsMarkKeeper::ShowPlayed(const clsTimeLine& times, std::span<const RecordPart> parts)
{
    Shelf shelf;
    for (const RecordPart& part : parts) {
        const std::optional<double> firstLine = firstLineOf(part.file);
        if (!firstLine) {
            continue;
        }
        const double before = shelf.files.empty() ? times.PlaceOf(*firstLine) : shelf.files.back().begin;
        shelf.files.push_back({part.file, std::max(times.PlaceOf(*firstLine), before),
                               std::numeric_limits<double>::infinity(), firstLine});
        std::error_code unknown;
        const auto info = modSidecar::Read(modSidecar::SidecarOf(part.file), unknown);
        if (info && modSidecar::Belongs(*info, *firstLine)) {
            for (const RecordingMark& mark : info->marks) {
                shelf.marks.Add(placeOf(times, mark), mark.text);
            }
        }
    }
    if (!shelf.files.empty()) {
        shelf.files.front().begin = -std::numeric_limits<double>::infinity();
    }
    std::swap(shelf, m_played ? *m_played : m_played.emplace());
    ++m_version;
    for (const clsMarks::Mark& mark : shelf.marks.All()) { // set meanwhile
        Set(times, mark.place, mark.text);
    }
}

void clsMarkKeeper::EndPlayed()
{
    m_version += m_played ? 1 : 0;
    m_played.reset();
}
