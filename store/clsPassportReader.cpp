#include "store/clsPassportReader.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::int64_t kBlock = std::int64_t{1} << 16;

/// So many bytes from a place of a file; fewer at its end or when it cannot be read.
std::string bytesAt(int fd, std::int64_t offset, std::size_t count)
{
    std::string bytes(count, '\0');
    std::size_t have = 0;
    while (have < count) {
        const ssize_t got = pread(fd, bytes.data() + have, count - have, offset + static_cast<off_t>(have));
        if (got == 0 || (got < 0 && errno != EINTR)) {
            break;
        }
        have += static_cast<std::size_t>(std::max<ssize_t>(got, 0));
    }
    bytes.resize(have);
    return bytes;
}

} // namespace

clsPassportReader::clsPassportReader(const std::filesystem::path& file)
    : m_file(open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) // a named pipe must not hang the program
{
    struct stat info {};
    if (!m_file.IsOpen() || fstat(m_file.Descriptor(), &info) != 0) {
        m_why = {errno, std::system_category()};
    } else if (!S_ISREG(info.st_mode)) {
        m_why = std::make_error_code(std::errc::not_supported);
    } else {
        m_left = info.st_size;
    }
}

bool clsPassportReader::Step(const Take& take)
{
    if (m_left <= 0 || m_why) {
        return false;
    }
    const std::int64_t begin = std::max<std::int64_t>(m_left - kBlock, 0);
    std::string bytes = bytesAt(m_file.Descriptor(), begin, static_cast<std::size_t>(m_left - begin));
    if (std::ssize(bytes) != m_left - begin) {
        m_why = std::make_error_code(std::errc::io_error); // it is shorter than before
        return false;
    }
    m_left = begin;
    m_restBytes += bytes.size();
    bytes += m_rest;
    m_rest.clear();
    for (std::size_t end; (end = bytes.rfind('\n')) != std::string::npos;) {
        const auto length = static_cast<std::int64_t>(end) + 1;
        m_restBytes -= static_cast<std::size_t>(length);
        if (!passOn(std::string_view(bytes).substr(end + 1), begin + length, take)) {
            return false;
        }
        bytes.resize(end);
        m_restBytes = end;
    }
    if (begin == 0) {
        passOn(bytes, 0, take);
        return false;
    }
    if (m_restBytes <= kLongestLine) {
        m_rest = std::move(bytes);
    }
    return true;
}

/// `m_restBytes` is the length of the line, of which `line` lacks what was dropped.
bool clsPassportReader::passOn(std::string_view line, std::int64_t offset, const Take& take)
{
    if (m_restBytes == 0) {
        return true;
    }
    const bool isWhole = m_restBytes <= kLongestLine;
    return take(isWhole ? line : std::string_view(), {offset, m_restBytes});
}

std::string clsPassportReader::LineAt(const Place& place) const
{
    if (!m_file.IsOpen() || place.length > kLongestLine) {
        return {};
    }
    std::string line = bytesAt(m_file.Descriptor(), place.offset, place.length);
    return line.size() == place.length ? line : std::string();
}
