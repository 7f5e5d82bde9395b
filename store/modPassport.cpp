#include "store/modPassport.h"

#include "base/FileHandle.h"
#include "base/IsoTime.h"
#include "base/Numbers.h"
#include "base/modAPI.h"
#include "base/modFiles.h"
#include "store/JsonValues.h"
#include "store/clsPassportReader.h"
#include "store/modBackup.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace modPassport {

namespace {

using namespace JsonValues;

static_assert(kLongestLine == clsPassportReader::kLongestLine);
constexpr std::string_view kEnding = ".jsonl";
constexpr std::int64_t kNewestWithin = std::int64_t{1} << 22;
constexpr std::size_t kBlock = std::size_t{1} << 16;
constexpr int kLockPause_ms = 5;

/// The words for `Event`, in its order.
constexpr std::array<std::string_view, 6> kEvents{"identity", "send", "store", "defaults", "undo", "single"};
constexpr std::array<std::string_view, 3> kResults{"verified", "differs", "failed"};

struct EntryText {
    const char* key;
    std::string Entry::*text;
};
constexpr EntryText kTexts[] = {{"user", &Entry::user}, {"version", &Entry::version}, {"port", &Entry::port}};

std::error_code lastError()
{
    return {errno, std::system_category()};
}

// Writing.

/// The hour that autumn repeats is the one that the clock shows now, if the entry is of now.
std::string timeText(double time)
{
    const modAPI::UtcOffsets here = modAPI::UtcOffsetsOf(time);
    const bool isSecond = here.first_min != here.second_min && modAPI::UtcOffsetNow_min() == here.second_min;
    return IsoText(time) + IsoOffset(isSecond ? here.second_min : here.first_min);
}

ordered_json changesOf(const std::vector<Change>& all)
{
    ordered_json changes = ordered_json::array();
    for (const Change& change : all) {
        ordered_json& one = changes.emplace_back();
        one["code"] = change.code;
        one["old"] = change.before;
        one["new"] = change.wanted;
        if (change.readBack) {
            one["readBack"] = *change.readBack;
        }
    }
    return changes;
}

std::string lineOf(const Entry& entry)
{
    ordered_json line;
    line["time"] = timeText(entry.time);
    line["event"] = kEvents.at(static_cast<std::size_t>(entry.event));
    for (const auto& [key, text] : kTexts) {
        line[key] = entry.*text;
    }
    line["changes"] = changesOf(entry.changes);
    if (!entry.result.empty()) {
        line["result"] = entry.result;
    }
    if (entry.event == Event::Identity) {
        line["identity"] = SensorOf(entry.identity);
    }
    if (!entry.replaced.empty()) {
        line["replaced"] = entry.replaced;
    }
    if (entry.set) {
        ordered_json& set = line["set"] = ordered_json::object();
        for (const ParameterDef& row : ParameterTable()) {
            set[std::string(row.code)] = (*entry.set).*row.value;
        }
    }
    return line.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + '\n';
}

/// Whether this program alone may append now; no value without locks in this file system, where a line in one piece has
/// to do.
std::optional<bool> lock(int fd, std::chrono::milliseconds patience)
{
    for (std::chrono::milliseconds waited(0);; waited += std::chrono::milliseconds(kLockPause_ms)) {
        if (flock(fd, LOCK_EX | LOCK_NB) == 0) {
            return true;
        }
        if (errno != EWOULDBLOCK && errno != EINTR) {
            return std::nullopt;
        }
        if (waited >= patience) {
            return false;
        }
        poll(nullptr, 0, kLockPause_ms);
    }
}

/// Why the bytes could not be appended in one piece.
std::error_code write(int fd, std::string_view bytes, bool isAwaited)
{
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count = ::write(fd, bytes.data() + written, bytes.size() - written);
        if (count < 0 && errno != EINTR) {
            return lastError();
        }
        if (count == 0) {
            return std::make_error_code(std::errc::no_space_on_device);
        }
        written += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return isAwaited && fsync(fd) != 0 ? lastError() : std::error_code();
}

std::error_code appendTo(int fd, const std::string& line, bool isAwaited, std::chrono::milliseconds patience)
{
    const std::optional<bool> locked = lock(fd, patience);
    struct stat before {};
    if (locked == false) {
        return std::make_error_code(std::errc::device_or_resource_busy);
    }
    if (fstat(fd, &before) != 0) {
        return lastError();
    }
    char last = '\n';
    if (before.st_size > 0 && pread(fd, &last, 1, before.st_size - 1) != 1) {
        return lastError();
    }
    const std::string bytes = last == '\n' ? line : '\n' + line;
    const std::error_code why = write(fd, bytes, isAwaited);
    struct stat after {};
    if (why && locked && fstat(fd, &after) == 0 && after.st_size <= before.st_size + std::ssize(bytes) &&
        ftruncate(fd, before.st_size) != 0) {
        return why; // the next line ends what is left of this one
    }
    return why;
}

// Reading.

std::vector<Change> readChanges(const json& changes)
{
    std::vector<Change> list;
    for (const json& one : changes) {
        Change change;
        ReadText(ValueOf(one, "code"), change.code);
        ReadText(ValueOf(one, "old"), change.before);
        ReadText(ValueOf(one, "new"), change.wanted);
        if (const json& readBack = ValueOf(one, "readBack"); readBack.is_string()) {
            change.readBack = readBack.get<std::string>();
        }
        if (!change.code.empty()) {
            list.push_back(std::move(change));
        }
    }
    return list;
}

/// The bytes of a file from its beginning, cut into lines.
class clsLines {
public:
    /// Takes a piece; `take` gets each line that it ends, an empty one for one that is too long.
    bool Add(std::string_view piece, const std::function<bool(std::string_view)>& take)
    {
        for (std::size_t end; (end = piece.find('\n')) != std::string_view::npos; piece.remove_prefix(end + 1)) {
            keep(piece.substr(0, end));
            if (!End(take)) {
                return false;
            }
        }
        keep(piece);
        return true;
    }
    bool End(const std::function<bool(std::string_view)>& take)
    {
        const bool goesOn = (m_line.empty() && !m_isTooLong) || take(m_isTooLong ? std::string_view() : m_line);
        m_line.clear();
        m_isTooLong = false;
        return goesOn;
    }

private:
    void keep(std::string_view piece)
    {
        m_isTooLong = m_isTooLong || m_line.size() + piece.size() > kLongestLine;
        m_line.append(m_isTooLong ? std::string_view() : piece);
    }

    std::string m_line;
    bool m_isTooLong = false;
};

} // namespace

std::string WireText(const ParameterDef& row, std::int32_t stored)
{
    const bool isListed = stored >= 0 && stored < std::ssize(row.wireTexts);
    return isListed ? std::string(row.wireTexts[static_cast<std::size_t>(stored)]) : std::to_string(stored);
}

std::optional<std::int32_t> StoredOf(const ParameterDef& row, std::string_view wireText)
{
    const auto found = std::ranges::find(row.wireTexts, wireText);
    if (found != row.wireTexts.end()) {
        return static_cast<std::int32_t>(found - row.wireTexts.begin());
    }
    return row.wireTexts.empty() ? WholeNumber(wireText) : std::nullopt;
}

std::filesystem::path FileOf(const std::filesystem::path& folder, std::string_view serialNo)
{
    return folder / modBackup::NameOf(serialNo).append(kEnding);
}

std::vector<std::filesystem::path> List(const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code unknown;
        if (entry->path().extension() == kEnding && entry->is_regular_file(unknown)) {
            files.push_back(entry->path());
        }
    }
    std::ranges::sort(files);
    return files;
}

std::error_code Append(const std::filesystem::path& folder, std::string_view serialNo, const Entry& entry,
                       std::chrono::milliseconds patience)
{
    std::error_code why;
    if (!modFiles::MakeFolder(folder, why)) {
        return why;
    }
    const std::filesystem::path path = FileOf(folder, serialNo);
    const bool isNew = !std::filesystem::exists(path, why);
    // Non-blocking: a named pipe in the file's place must not hang the program.
    const FileHandle file(open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_NONBLOCK | O_CLOEXEC, 0666));
    struct stat info {};
    if (!file.IsOpen() || fstat(file.Descriptor(), &info) != 0) {
        return lastError();
    }
    if (!S_ISREG(info.st_mode)) {
        return std::make_error_code(std::errc::not_supported);
    }
    const bool isAwaited = entry.event != Event::Identity;
    why = appendTo(file.Descriptor(), lineOf(entry), isAwaited, patience);
    if (!why && isNew && isAwaited) {
        modFiles::SyncFolder(folder);
    }
    return why;
}

std::optional<Entry> EntryOf(std::string_view line)
{
    if (line.size() > kLongestLine || IsDeep(line)) {
        return std::nullopt;
    }
    const json object = json::parse(line, nullptr, false);
    std::string time, event;
    ReadText(ValueOf(object, "time"), time);
    ReadText(ValueOf(object, "event"), event);
    const auto when = TimeOfIso(time);
    const auto found = std::ranges::find(kEvents, event);
    if (!when || found == kEvents.end()) {
        return std::nullopt;
    }
    Entry entry{.time = when->time, .event = static_cast<Event>(found - kEvents.begin())};
    for (const auto& [key, text] : kTexts) {
        ReadText(ValueOf(object, key), entry.*text);
    }
    entry.changes = readChanges(ValueOf(object, "changes"));
    ReadText(ValueOf(object, "result"), entry.result);
    if (std::ranges::find(kResults, entry.result) == kResults.end()) {
        entry.result.clear();
    }
    if (const json& set = ValueOf(object, "set"); set.is_object()) {
        ReadParameters(set, entry.set.emplace());
    }
    if (entry.event == Event::Identity) {
        ReadSensor(ValueOf(object, "identity"), entry.identity);
    }
    ReadText(ValueOf(object, "replaced"), entry.replaced);
    return entry;
}

ReadOutcome Read(const std::filesystem::path& file, const std::function<bool(const Entry&)>& take)
{
    ReadOutcome outcome;
    const FileHandle opened(open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat info {};
    if (!opened.IsOpen() || fstat(opened.Descriptor(), &info) != 0) {
        outcome.why = lastError();
        return outcome;
    }
    if (!S_ISREG(info.st_mode)) {
        outcome.why = std::make_error_code(std::errc::not_supported);
        return outcome;
    }
    const auto takeLine = [&](std::string_view line) {
        const auto entry = EntryOf(line);
        ++(entry ? outcome.entries : outcome.unreadable);
        return !entry || take(*entry);
    };
    clsLines lines;
    std::string piece(kBlock, '\0');
    ssize_t count = 0;
    while ((count = read(opened.Descriptor(), piece.data(), piece.size())) != 0) {
        if (count < 0 && errno != EINTR) {
            outcome.why = lastError();
            break;
        }
        if (count > 0 && !lines.Add(std::string_view(piece).substr(0, static_cast<std::size_t>(count)), takeLine)) {
            return outcome;
        }
    }
    lines.End(takeLine);
    return outcome;
}

std::optional<Entry> Newest(const std::filesystem::path& file, Event event)
{
    const std::string word = '"' + std::string(kEvents.at(static_cast<std::size_t>(event))) + '"';
    std::optional<Entry> newest;
    clsPassportReader reader(file);
    const std::int64_t all = reader.Left();
    const auto take = [&](std::string_view line, const auto&) {
        if (Contains(line, word)) { // else it need not be read
            newest = EntryOf(line);
        }
        newest = newest && newest->event == event ? std::move(newest) : std::nullopt;
        return !newest;
    };
    while (all - reader.Left() < kNewestWithin && reader.Step(take)) {
    }
    return newest;
}

} // namespace modPassport
