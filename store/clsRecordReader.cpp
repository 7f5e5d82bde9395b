#include "store/clsRecordReader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

constexpr std::size_t kBlock = std::size_t{1} << 16; // stays in the processor's cache

} // namespace

FileHandle clsRecordReader::Open(const std::filesystem::path& file)
{
    // Non-blocking: a named pipe in the file's place must not hang the program.
    FileHandle handle(open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!handle.IsOpen()) {
        throw std::system_error(errno, std::generic_category(), file.string());
    }
    return handle;
}

clsRecordReader::clsRecordReader(const std::filesystem::path& file) : clsRecordReader(Open(file)) {}

clsRecordReader::clsRecordReader(FileHandle file) : clsRecordReader(file.Descriptor())
{
    m_own = std::move(file);
}

clsRecordReader::clsRecordReader(int descriptor, std::uint64_t offset, double date)
    : m_descriptor(descriptor), m_position(offset), m_buffer(kBlock + kLongestLine + 1), m_parser(date)
{
    struct stat info {};
    if (fstat(m_descriptor, &info) != 0) {
        throw std::system_error(errno, std::generic_category(), "recording");
    }
    if (!S_ISREG(info.st_mode)) {
        throw std::system_error(std::make_error_code(std::errc::not_supported), "recording");
    }
    m_size = static_cast<std::uint64_t>(info.st_size);
    posix_fadvise(m_descriptor, 0, 0, POSIX_FADV_SEQUENTIAL);
}

double clsRecordReader::Fraction() const
{
    return m_size == 0 ? 1.0 : std::min(1.0, static_cast<double>(m_position) / static_cast<double>(m_size));
}

RecordStep clsRecordReader::nextOfAnyKind()
{
    if (m_skipping) {
        return skip();
    }
    std::size_t searched = 0;
    while (true) {
        const char* const begin = m_buffer.data() + m_begin;
        const std::size_t length = m_end - m_begin;
        const void* const found = std::memchr(begin + searched, '\n', length - searched);
        if (found != nullptr) {
            const auto size = static_cast<std::size_t>(static_cast<const char*>(found) - begin);
            m_begin += size + 1;
            m_lineLength = size + 1;
            return take({begin, size});
        }
        searched = length;
        if (length > kLongestLine + 1) { // the last byte may be the CR of the longest line
            m_skipping = true;
            ++m_lineNumber;
            return RecordStep::Unreadable;
        }
        if (!fill()) {
            m_begin = m_end;
            m_lineLength = length;
            return length == 0 ? RecordStep::End : take({m_buffer.data(), length});
        }
    }
}

RecordStep clsRecordReader::take(std::string_view line)
{
    ++m_lineNumber;
    if (!line.empty() && line.back() == '\r') {
        line.remove_suffix(1);
    }
    const bool read = line.size() <= kLongestLine && m_parser.Parse(line, m_value);
    return read ? RecordStep::Value : RecordStep::Unreadable;
}

/// Skips what the buffer holds of an overlong line.
RecordStep clsRecordReader::skip()
{
    const char* const begin = m_buffer.data() + m_begin;
    const void* const found = std::memchr(begin, '\n', m_end - m_begin);
    if (found != nullptr) {
        m_begin += static_cast<std::size_t>(static_cast<const char*>(found) - begin) + 1;
        m_skipping = false;
        return RecordStep::Skipped;
    }
    m_begin = m_end;
    return fill() ? RecordStep::Skipped : RecordStep::End;
}

/// Moves what is left to the front of the buffer and reads more after it; false at the end of the file.
bool clsRecordReader::fill()
{
    std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
    m_end -= m_begin;
    m_begin = 0;
    ssize_t count = 0;
    do {
        count = pread(m_descriptor, m_buffer.data() + m_end, std::min(kBlock, m_buffer.size() - m_end),
                      static_cast<off_t>(m_position));
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        throw std::system_error(errno, std::generic_category(), "recording");
    }
    m_end += static_cast<std::size_t>(count);
    m_position += static_cast<std::uint64_t>(count);
    return count > 0;
}
