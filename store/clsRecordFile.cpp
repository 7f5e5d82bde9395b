#include "store/clsRecordFile.h"

#include "base/Days.h"
#include "base/Numbers.h"

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

/// Writes a file to the disk and, if one is named, its folder: the file's name reaches the disk only with the folder.
std::error_code flushBoth(clsRecordFile::FlushFunction flush, int descriptor, const std::filesystem::path& folder)
{
    const FileHandle handle(folder.empty() ? -1 : open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (handle.IsOpen()) {
        fsync(handle.Descriptor());
    }
    return flush(descriptor);
}

} // namespace

std::error_code clsRecordFile::FlushToDisk(int descriptor)
{
    return fdatasync(descriptor) == 0 ? std::error_code() : lastError();
}

clsRecordFile::clsRecordFile(const std::filesystem::path& folder, FlushFunction flush)
    : m_flush(flush), m_unflushedFolder(folder)
{
    std::filesystem::create_directories(folder);
    // Each line goes to the end, wherever that is: when another program empties the file, no gap is left before the
    // next line.
    constexpr int kMode = O_WRONLY | O_APPEND | O_CREAT | O_EXCL | O_CLOEXEC;
    // Deliberate: the number of a recording has 16 bits; with 32767 files in the folder, no further recording can
    // begin.
    for (std::int16_t number = 1; !m_file.IsOpen(); number = static_cast<std::int16_t>(number + 1)) {
        m_path = folder / nameOf(number);
        m_file = FileHandle(open(m_path.c_str(), kMode, 0666));
        if (!m_file.IsOpen() && errno != EEXIST) {
            throw std::system_error(lastError(), m_path.string());
        }
        if (!m_file.IsOpen() && number == std::numeric_limits<std::int16_t>::max()) {
            throw std::overflow_error(folder.string() + " holds no further recording");
        }
    }
    m_identity = FileIdentity::Of(m_file.Descriptor());
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
            takeBack(info.st_size, written);
            return error;
        }
    }
    if (!m_unflushed) {
        m_unflushedSince = now;
    }
    m_unflushed = true;
    return {};
}

/// Half a line would make the rest unreadable. If it cannot be taken back, or another program has changed the file
/// meanwhile, playback stops at it.
void clsRecordFile::takeBack(std::int64_t size, std::size_t written) const
{
    struct stat info {};
    const bool isLast = written > 0 && fstat(m_file.Descriptor(), &info) == 0 &&
                        info.st_size == size + static_cast<std::int64_t>(written);
    static_cast<void>(isLast && ftruncate(m_file.Descriptor(), size) == 0);
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
        m_flushing = std::async(std::launch::async, flushBoth, m_flush, m_file.Descriptor(), m_unflushedFolder);
        m_unflushed = false;
        m_unflushedFolder.clear();
    }
    return {};
}

std::error_code clsRecordFile::Close()
{
    const std::error_code before = m_flushing.valid() ? m_flushing.get() : std::error_code();
    const std::error_code flushed = flushBoth(m_flush, m_file.Descriptor(), m_unflushedFolder);
    const bool closed = m_file.Close();
    return before ? before : flushed ? flushed : closed ? std::error_code() : lastError();
}

bool clsRecordFile::IsEmpty() const
{
    struct stat info {};
    return stat(m_path.c_str(), &info) == 0 && m_identity == FileIdentity{info.st_dev, info.st_ino} &&
           info.st_size == 0;
}
