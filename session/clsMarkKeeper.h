// The marks of a session and of the recording that is shown, and the sidecars in which they are kept: each mark goes to
// the file that has its time. What a file that is being recorded says is the session's business; here are the others.
#pragma once

#include "session/clsHistory.h"
#include "session/clsMarks.h"
#include "store/RecordingInfo.h"
#include "store/modRecordParts.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <optional>
#include <span>
#include <string_view>
#include <system_error>
#include <vector>

class clsRecorder;

/// Where a mark is after it was set, changed or removed.
enum class MarkHome : std::uint8_t {
    Sidecar,    ///< in the sidecar of a recording, or on its way there
    Session,    ///< nowhere else: no recording has its time
    Gone,       ///< only here, because the recording is not there any more
    Foreign,    ///< only here, because the sidecar describes another recording
    Unreadable, ///< only here, because the sidecar is not one of ours
    Unwritten,  ///< only here, because the sidecar cannot be written
    None        ///< it was not set: there are too many
};

struct MarkOutcome {
    MarkHome home = MarkHome::Session;
    std::filesystem::path sidecar{}; ///< of `Gone`, `Foreign`, `Unreadable` and `Unwritten`
    std::error_code why{};           ///< of `Gone` and `Unwritten`
};

class clsMarkKeeper {
public:
    explicit clsMarkKeeper(const clsRecorder& recorder) : m_recorder(recorder) {}

    /// Called with what a change does to the marks of the file that is being recorded.
    std::function<void(const MarkChange& change)> ChangePresent;

    // Marks of what is shown. `times` is its time axis.
    std::span<const clsMarks::Mark> Marks() const { return shelf().marks.All(); }
    /// A number that changes with everything that changes.
    std::uint64_t Version() const { return m_version; }
    MarkOutcome Set(const clsTimeLine& times, double place, std::string_view text);
    /// Both throw std::out_of_range when there is no such mark.
    MarkOutcome Change(const clsTimeLine& times, std::size_t mark, std::string_view text);
    MarkOutcome Remove(const clsTimeLine& times, std::size_t mark);
    /// The recording in whose sidecar a mark at this place is kept; none, or empty while its name is not known yet.
    std::optional<std::filesystem::path> RecordingAt(double place) const;

    // What is recorded.
    /// The files that follow belong to another recording.
    void BeginRecording() { m_firstOfRecording = m_session.files.size(); }
    /// A file begins, or the present one ends, at a place on the session's time axis.
    void BeginFile(double place);
    void EndFile(double place);
    /// A recording has got another name.
    void Renamed(const std::filesystem::path& from, const std::filesystem::path& to);
    /// Learns the names of the files and writes what had to wait for them. Returns what could not be written.
    std::vector<MarkOutcome> Serve();

    // What is played.
    /// A recording is being loaded: none of the marks before are shown, but those that are set from now on.
    void BeginPlayed();
    /// The marks of a recording are shown instead of the session's. `parts` are its files in their order. Those that
    /// were set while it was being loaded are its own.
    void ShowPlayed(const clsTimeLine& times, std::span<const RecordPart> parts);
    void EndPlayed();

private:
    struct File {
        std::filesystem::path recording;
        double begin = 0.0, end = std::numeric_limits<double>::infinity(); ///< places
        std::optional<double> firstLine;                                   ///< its time, of a file that is played
    };
    struct Shelf {
        clsMarks marks;
        std::vector<File> files;
    };
    struct Waiting {
        std::optional<std::size_t> file; ///< of the session; none: `played`
        File played;
        MarkChange change;
    };

    const Shelf& shelf() const { return m_played ? *m_played : m_session; }
    Shelf& shelf() { return m_played ? *m_played : m_session; }
    static const File* fileAt(const Shelf& shelf, double place);
    MarkOutcome keep(double place, const MarkChange& change);
    bool isPresent(std::size_t file) const;
    bool isSettled(std::size_t file) const;
    static MarkOutcome write(const File& file, const MarkChange& change);

    const clsRecorder& m_recorder;
    Shelf m_session;
    std::optional<Shelf> m_played;
    std::size_t m_firstOfRecording = 0; ///< of the session's files, the first of the last recording
    std::vector<Waiting> m_waiting;
    std::uint64_t m_version = 0;
};
