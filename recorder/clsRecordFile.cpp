#include "recorder/clsRecordFile.h"

#include "shell/Days.h"
#include "shell/Numbers.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <limits>
#include <stdexcept>
#include <string>
#include <sys/stat.h>

namespace {

std::error_code lastError()
{
    return {errno, std::generic_category()};
}

std::string nameOf(std::int16_t number)
{
    std::string name = "SAVE";
    AppendPadded(name, number, 4);
    return name.append(".rec");
}

/// The name reaches the disk with its folder only.
void flushFolder(const std::filesystem::path& folder)
{
    const FileHandle handle(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (handle.IsOpen()) {
        fsync(handle.Descriptor());
    }
}

} // namespace

std::error_code clsRecordFile::FlushToDisk(int descriptor)
{
    return fdatasync(descriptor) == 0 ? std::error_code() : lastError();
}

clsRecordFile::clsRecordFile(const std::filesystem::path& folder, FlushFunction flush) : m_flush(flush)
{
    std::filesystem::create_directories(folder);
    // Deliberate: the number of a recording has 16 bits; with 32767 files in the folder no further one can begin.
    for (std::int16_t number = 1; !m_file.IsOpen(); number = static_cast<std::int16_t>(number + 1)) {
        m_path = folder / nameOf(number);
        m_file = FileHandle(open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
        if (!m_file.IsOpen() && errno != EEXIST) {
            throw std::system_error(lastError(), m_path.string());
        }
        if (!m_file.IsOpen() && number == std::numeric_limits<std::int16_t>::max()) {
            throw std::overflow_error(folder.string() + " holds no further recording");
        }
    }
    struct stat info {};
    if (fstat(m_file.Descriptor(), &info) == 0) {
        m_device = info.st_dev;
        m_inode = info.st_ino;
    }
    flushFolder(folder);
}

std::error_code clsRecordFile::WriteLine(std::string_view line, double now)
{
    struct stat info {};
    if (fstat(m_file.Descriptor(), &info) == 0 && info.st_nlink == 0) {
        return std::make_error_code(std::errc::no_such_file_or_directory); // deleted: nobody would ever find the line
    }
    std::size_t written = 0;
    while (written < line.size()) {
        const ssize_t count = write(m_file.Descriptor(), line.data() + written, line.size() - written);
        if (count > 0) {
            written += static_cast<std::size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            const std::error_code error = count == 0 ? std::make_error_code(std::errc::io_error) : lastError();
            // Half a line would make the rest unreadable. Where it cannot be taken back, playback stops at it.
            static_cast<void>(written == 0 || ftruncate(m_file.Descriptor(), m_size) == 0);
            return error;
        }
    }
    m_size += static_cast<std::int64_t>(line.size());
    if (!m_unflushed) {
        m_unflushedSince = now;
    }
    m_unflushed = true;
    return {};
}

std::error_code clsRecordFile::FlushIfDue(double now)
{
    if (m_flushing.valid()) {
        const bool ready = m_flushing.wait_for(std::chrono::seconds::zero()) == std::future_status::ready;
        return ready ? m_flushing.get() : std::error_code();
    }
    // A clock that was set back says nothing about the time that has passed.
    const bool setBack = now < std::exchange(m_now, now);
    const bool due = setBack || now - m_unflushedSince >= kFlushAfter_ms / kMsPerDay;
    if (m_unflushed && due) {
        m_flushing = std::async(std::launch::async, m_flush, m_file.Descriptor());
        m_unflushed = false;
    }
    return {};
}

std::error_code clsRecordFile::Close()
{
    const std::error_code before = m_flushing.valid() ? m_flushing.get() : std::error_code();
    const std::error_code flushed = m_flush(m_file.Descriptor());
    const bool closed = m_file.Close();
    return before ? before : flushed ? flushed : closed ? std::error_code() : lastError();
}

bool clsRecordFile::IsEmpty() const
{
    struct stat info {};
    return stat(m_path.c_str(), &info) == 0 && info.st_dev == m_device && info.st_ino == m_inode && info.st_size == 0;
}
