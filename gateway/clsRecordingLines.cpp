#include "gateway/clsRecordingLines.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// The disk cannot read such a block: it counts as damage.
constexpr std::size_t kBlock = 4096;
/// Two lines that damage has made one are longer. So is a line with a temperature that no sensor says.
constexpr std::size_t kShortestLine = 36, kLongestLine = 64;

/// Whether bytes with their line end have the form that a recorder gives a line. What its parts say is another matter.
bool isLine(std::string_view bytes)
{
    constexpr std::string_view kHead = "00.00.0000 00:00:00,000; "; // 0 stands for a digit
    constexpr std::string_view kEnd = "\r\n";
    if (bytes.size() < kShortestLine || bytes.size() > kLongestLine || !bytes.ends_with(kEnd)) {
        return false;
    }
    const std::string_view head = bytes.substr(0, kHead.size());
    const std::string_view rest = bytes.substr(head.size(), bytes.size() - head.size() - kEnd.size());
    const bool hasHead = std::ranges::equal(
        head, kHead, [](char c, char form) { return form == '0' ? c >= '0' && c <= '9' : c == form; });
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    return hasHead && std::ranges::none_of(rest, isControl) && std::ranges::count(rest, ';') == 1 &&
           std::ranges::count(rest, ':') == 0;
}

/// How much of a damaged stretch lies before the whole line that it may end with.
std::size_t damagedIn(std::string_view stretch)
{
    std::size_t at = std::max<std::size_t>(stretch.size() - std::min(stretch.size(), kLongestLine), 1);
    for (; at + kShortestLine <= stretch.size(); ++at) {
        if (isLine(stretch.substr(at))) {
            return at;
        }
    }
    return stretch.size();
}

} // namespace

std::error_code clsRecordingLines::Open(const std::filesystem::path& file, std::uint64_t offset)
{
    m_file = FileHandle(open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
    struct stat info {};
    if (!m_file.IsOpen() || fstat(m_file.Descriptor(), &info) != 0) {
        return {errno, std::generic_category()};
    }
    if (!S_ISREG(info.st_mode)) {
        m_file = FileHandle();
        return std::make_error_code(std::errc::not_supported);
    }
    m_size = static_cast<std::uint64_t>(info.st_size);
    m_offset = offset;
    m_begin = m_end = 0;
    m_isPassingOver = false;
    return {};
}

bool clsRecordingLines::IsAtLine() const
{
    if (m_offset == 0 || m_offset > m_size) {
        return m_offset == 0;
    }
    std::array<char, 1 + kLongestLine> bytes{};
    const ssize_t count = pread(m_file.Descriptor(), bytes.data(), bytes.size(), static_cast<off_t>(m_offset - 1));
    const std::string_view read(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    const std::string_view line = read.substr(std::min<std::size_t>(read.size(), 1));
    return !read.empty() && (read.front() == '\n' || isLine(line.substr(0, line.find('\n') + 1)));
}

LineStep clsRecordingLines::Next()
{
    while (true) {
        const char* const begin = m_buffer.data() + m_begin;
        const auto* const found = static_cast<const char*>(std::memchr(begin, '\n', m_end - m_begin));
        if (found != nullptr) {
            const std::string_view stretch(begin, static_cast<std::size_t>(found - begin) + 1);
            const bool isWhole = !std::exchange(m_isPassingOver, false) && isLine(stretch);
            m_line = isWhole ? stretch.substr(0, stretch.size() - 2) : std::string_view();
            pass(isWhole ? stretch.size() : damagedIn(stretch));
            return isWhole ? LineStep::Line : LineStep::Damage;
        }
        if (m_end - m_begin == m_buffer.size()) {
            m_passedFrom = m_isPassingOver ? m_passedFrom : m_offset;
            m_isPassingOver = true;
            pass(m_buffer.size() - kLongestLine); // a line may begin there
        }
        if (fill() == 0) {
            return m_failure ? LineStep::Failed : LineStep::End;
        }
    }
}

void clsRecordingLines::PassRest()
{
    m_isPassingOver = false;
    pass(m_end - m_begin);
}

/// 0 at the end of the file.
std::size_t clsRecordingLines::fill()
{
    std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
    m_end -= std::exchange(m_begin, 0);
    const std::uint64_t at = m_offset + m_end;
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

void clsRecordingLines::pass(std::size_t bytes)
{
    m_begin += bytes;
    m_offset += bytes;
}
