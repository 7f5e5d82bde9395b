#include "gateway/clsRecordingWalk.h"

#include "store/modRecordLine.h"
#include "store/modSidecar.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

namespace {

/// A line of other length is perhaps two, or half a line, unless it can be read.
constexpr std::size_t kShortestUsual = 36, kLongestUsual = 64;
/// The disk cannot read such a block: it counts as damage.
constexpr std::size_t kBlock = 4096;
/// Behind a file that is written, so many names are tried: those between may be taken.
constexpr std::int32_t kNamesTried = 3;

/// How a line begins; 0 stands for a digit.
constexpr std::string_view kHead = "00.00.0000 00:00:00,";

bool isHead(std::string_view text)
{
    return text.size() >= kHead.size() &&
           std::ranges::equal(text.substr(0, kHead.size()), kHead,
                              [](char c, char form) { return form == '0' ? c >= '0' && c <= '9' : c == form; });
}

/// How much of a damaged stretch lies before the whole line that it may end with.
std::size_t damagedIn(std::string_view stretch)
{
    std::size_t at = stretch.size() - std::min(stretch.size(), kLongestUsual);
    for (; at + kShortestUsual <= stretch.size(); ++at) {
        if (at > 0 && isHead(stretch.substr(at))) {
            return at;
        }
    }
    return stretch.size();
}

std::optional<RecordingInfo> sidecarOf(const std::filesystem::path& recording)
{
    std::error_code none;
    return modSidecar::Read(modSidecar::SidecarOf(recording), none);
}

} // namespace

clsRecordingWalk::clsRecordingWalk(std::filesystem::path folder, const RecordingKey& key, const LinePlace& from,
                                   bool isClosed, std::vector<char>& buffer)
    : m_folder(std::move(folder)), m_key(key), m_place(from), m_isClosed(isClosed), m_buffer(buffer)
{}

std::filesystem::path clsRecordingWalk::File() const
{
    return m_folder / modRecordingName::FileOf({m_key, m_place.part});
}

WalkStep clsRecordingWalk::Next()
{
    while (true) {
        if (!m_file.IsOpen()) {
            if (const auto step = open()) {
                return *step;
            }
        } else if (const auto step = takeLine()) {
            return *step;
        }
    }
}

/// A file that is not there was deleted by somebody, and nobody knows how many lines it had.
std::optional<WalkStep> clsRecordingWalk::open()
{
    m_file = FileHandle(::open(File().c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
    struct stat info {};
    if (!m_file.IsOpen() && errno == ENOENT) {
        const auto part = nextPart();
        if (!part) {
            return WalkStep::End;
        }
        const std::int64_t number = numberBehindDamage(*part, 0);
        m_place = {*part, 0, number, number};
        return WalkStep::Torn;
    }
    const bool isFile = m_file.IsOpen() && fstat(m_file.Descriptor(), &info) == 0 && S_ISREG(info.st_mode);
    if (!isFile) {
        m_failure = m_file.IsOpen() ? std::make_error_code(std::errc::not_supported)
                                    : std::error_code(errno, std::generic_category());
        m_file = FileHandle();
        return WalkStep::Failed;
    }
    return isAtLine(static_cast<std::uint64_t>(info.st_size)) ? std::nullopt : std::optional(WalkStep::Misplaced);
}

/// Behind a line end, or behind damage in front of a line.
bool clsRecordingWalk::isAtLine(std::uint64_t size) const
{
    if (m_place.offset == 0 || m_place.offset > size) {
        return m_place.offset == 0;
    }
    std::array<char, 1 + kHead.size()> bytes{};
    const ssize_t count =
        pread(m_file.Descriptor(), bytes.data(), bytes.size(), static_cast<off_t>(m_place.offset - 1));
    const std::string_view read(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return !read.empty() && (read.front() == '\n' || isHead(read.substr(1)));
}

std::optional<WalkStep> clsRecordingWalk::takeLine()
{
    const char* const begin = m_buffer.data() + m_begin;
    const auto* const found = static_cast<const char*>(std::memchr(begin, '\n', m_end - m_begin));
    if (found == nullptr) {
        if (m_end - m_begin == m_buffer.size()) {
            m_passedFrom = m_isPassingOver ? m_passedFrom : m_place.offset;
            m_isPassingOver = true;
            pass(m_buffer.size() - kLongestUsual); // a line may begin there
        }
        return fill() > 0 ? std::nullopt : passEnd();
    }
    const auto size = static_cast<std::size_t>(found - begin);
    m_line = {begin, size > 0 && begin[size - 1] == '\r' ? size - 1 : size};
    const bool isLine = !std::exchange(m_isPassingOver, false) && isWhole({begin, size + 1});
    pass(isLine ? size + 1 : damagedIn({begin, size + 1}));
    m_place.sequence = isLine ? m_place.sequence + 1 : numberBehindDamage(m_place.part, m_place.offset);
    return isLine ? WalkStep::Line : WalkStep::Torn;
}

bool clsRecordingWalk::isWhole(std::string_view line) const
{
    if (line.size() >= kShortestUsual && line.size() <= kLongestUsual) {
        return true;
    }
    modRecordLine::clsLineParser parser;
    modRecordLine::RecordedValue value;
    return parser.Parse(m_line, value);
}

/// At the end of a file that may still grow. What was written before the next file began is there when the next one is.
std::optional<WalkStep> clsRecordingWalk::passEnd()
{
    if (m_failure) {
        return WalkStep::Failed;
    }
    if (!m_next && (m_next = nextPart())) {
        return std::nullopt;
    }
    if (!m_next && !m_isClosed) {
        m_place.offset = m_isPassingOver ? m_passedFrom : m_place.offset;
        return WalkStep::End;
    }
    if (m_begin < m_end || m_isPassingOver) {
        m_isPassingOver = false;
        pass(m_end - m_begin);
        ++m_place.sequence;
        return WalkStep::Unreadable;
    }
    return endPart();
}

/// The sidecar knows how many lines there were.
WalkStep clsRecordingWalk::endPart()
{
    const auto info = sidecarOf(File());
    const bool isCounted = info && info->end && !info->hasOnlyMarks;
    const std::int64_t lines = m_place.sequence - m_place.partFirst;
    const std::int64_t recorded = isCounted ? info->account.recorded : lines;
    if (lines < recorded && recorded < kBehindDamage) {
        m_place.sequence = m_place.partFirst + recorded;
        return WalkStep::Lost;
    }
    if (!m_next) {
        return WalkStep::End;
    }
    const bool isBehindDamage = m_place.sequence >= kBehindDamage;
    const bool isKnown = followsDirectly(*m_next) && (lines == recorded || isBehindDamage);
    const std::int64_t number = isKnown ? m_place.sequence : numberBehindDamage(*m_next, 0);
    m_place = {*m_next, 0, number, number};
    m_next.reset();
    m_file = FileHandle();
    m_begin = m_end = 0;
    return isKnown ? WalkStep::Part : WalkStep::Torn;
}

/// 0 at the end of the file.
std::size_t clsRecordingWalk::fill()
{
    std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
    m_end -= std::exchange(m_begin, 0);
    const std::uint64_t at = m_place.offset + m_end;
    ssize_t count = 0;
    do {
        count = pread(m_file.Descriptor(), m_buffer.data() + m_end, m_buffer.size() - m_end, static_cast<off_t>(at));
    } while (count < 0 && errno == EINTR);
    if (count < 0 && errno == EIO) {
        const std::size_t rest = kBlock - at % kBlock; // the disk has lost it for good
        count = static_cast<ssize_t>(std::min(rest, m_buffer.size() - m_end));
        std::memset(m_buffer.data() + m_end, 0, static_cast<std::size_t>(count));
    } else if (count < 0) {
        m_failure = std::error_code(errno, std::generic_category());
    }
    m_end += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    return static_cast<std::size_t>(std::max<ssize_t>(count, 0));
}

void clsRecordingWalk::pass(std::size_t bytes)
{
    m_begin += bytes;
    m_place.offset += bytes;
}

std::optional<std::int32_t> clsRecordingWalk::nextPart() const
{
    std::optional<std::int32_t> next;
    const auto exists = [this](std::int32_t part) {
        return access((m_folder / modRecordingName::FileOf({m_key, part})).c_str(), F_OK) == 0;
    };
    for (std::int32_t part = m_place.part + 1; part <= m_place.part + kNamesTried; ++part) {
        if (exists(part)) {
            return part;
        }
    }
    std::error_code unreadable;
    for (std::filesystem::directory_iterator entry(m_folder, unreadable), end;
         m_isClosed && !unreadable && entry != end; entry.increment(unreadable)) {
        const auto found = modRecordingName::PartOf(entry->path().filename().native());
        if (found && found->key == m_key && found->part > m_place.part && (!next || found->part < *next)) {
            next = found->part;
        }
    }
    return next;
}

/// Whether no file between this one and that one is missing.
bool clsRecordingWalk::followsDirectly(std::int32_t part) const
{
    const auto here = sidecarOf(File());
    const auto there = sidecarOf(m_folder / modRecordingName::FileOf({m_key, part}));
    const bool areNumbered = here && there && here->part > 0 && there->part > 0;
    return areNumbered ? there->part == here->part + 1 : part == m_place.part + 1;
}

/// Higher than any number that a line of this recording can have had before the damage.
std::int64_t clsRecordingWalk::numberBehindDamage(std::int32_t part, std::uint64_t offset) const
{
    const std::int64_t number = m_key.first + part * kBehindDamage + static_cast<std::int64_t>(offset);
    return std::max(number, m_place.sequence + 1);
}
