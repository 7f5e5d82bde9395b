#include "store/clsRecordFile.h"

#include "base/Numbers.h"
#include "store/modSidecar.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <stdexcept>
#include <sys/stat.h>
#include <utility>

namespace {

std::error_code lastError()
{
    return {errno, std::generic_category()};
}

std::string nameOf(const std::string& chosen, std::int32_t number)
{
    std::string name = chosen.empty() ? "SAVE" : chosen;
    if (chosen.empty()) {
        AppendPadded(name, number, 4);
    } else if (number > 1) {
        name += " (" + std::to_string(number) + ")";
    }
    return name.append(".rec");
}

struct Created {
    FileHandle file;
    std::filesystem::path path;
    std::int32_t number = 0;
};

/// Creates the first file that is free.
Created create(const RecordPlace& place)
{
    std::filesystem::create_directories(place.folder);
    // Each line goes to the end, wherever that is: when another program empties the file, no gap is left before the
    // next line.
    constexpr int kMode = O_WRONLY | O_APPEND | O_CREAT | O_EXCL | O_CLOEXEC;
    // Deliberate: the number of a recording has 16 bits; with 32767 files in the folder, no further recording can
    // begin.
    for (std::int32_t number = place.first; number <= std::numeric_limits<std::int16_t>::max(); ++number) {
        const auto path = place.folder / nameOf(place.name, number);
        std::error_code unknown;
        // Beside SAVE0001.rec the program alone writes, so what is there was left behind by a recording.
        const bool isTaken = !place.name.empty() && std::filesystem::exists(modSidecar::SidecarOf(path), unknown);
        FileHandle file(isTaken ? -1 : open(path.c_str(), kMode, 0666));
        if (file.IsOpen()) {
            return {std::move(file), path, number};
        }
        if (!isTaken && errno != EEXIST) {
            throw std::system_error(lastError(), path.string());
        }
    }
    throw std::overflow_error(place.folder.string() + " holds no further recording");
}

/// Writes a file to the disk and, if one is named, its folder: the file's name reaches the disk only with the folder.
std::error_code flushBoth(decltype(RecordDisk::flush) flush, int descriptor, const std::filesystem::path& folder)
{
    const FileHandle handle(folder.empty() ? -1 : open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (handle.IsOpen()) {
        fsync(handle.Descriptor());
    }
    return flush(descriptor);
}

} // namespace

std::error_code RecordDisk::FlushToDisk(int descriptor)
{
    return fdatasync(descriptor) == 0 ? std::error_code() : lastError();
}

bool clsRecordFile::IsName(std::string_view name)
{
    const auto isBad = [](char c) {
        constexpr unsigned char kFirstPrintable = 0x20, kDelete = 0x7F;
        const auto byte = static_cast<unsigned char>(c);
        return byte < kFirstPrintable || byte == kDelete ||
               std::string_view("/\\:*?\"<>|").find(c) != std::string_view::npos;
    };
    const auto isAtEnd = [&](char c) { return name.front() == c || name.back() == c; };
    return !name.empty() && name.size() <= kLongestName && std::ranges::none_of(name, isBad) && !isAtEnd('.') &&
           !isAtEnd(' ');
}

clsRecordFile::clsRecordFile(const RecordPlace& place, const RecordDisk& disk)
    : m_disk(disk), m_unflushedFolder(place.folder)
{
    Created created = create(place);
    m_file = std::move(created.file);
    m_path = std::move(created.path);
    m_number = created.number;
    m_identity = FileIdentity::Of(m_file.Descriptor());
}

std::filesystem::path clsRecordFile::Reserve(const RecordPlace& place)
{
    return create(place).path;
}

clsRecordFile::Written clsRecordFile::Write(std::string_view lines, Clock::time_point now)
{
    struct stat info {};
    if (fstat(m_file.Descriptor(), &info) == 0 && info.st_nlink == 0) {
        return {0, std::make_error_code(std::errc::no_such_file_or_directory)}; // deleted: nobody would find the lines
    }
    std::size_t written = 0;
    std::error_code error;
    while (written < lines.size() && !error) {
        const ssize_t count = m_disk.write(m_file.Descriptor(), lines.data() + written, lines.size() - written);
        if (count > 0) {
            written += static_cast<std::size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            error = count == 0 ? std::make_error_code(std::errc::io_error) : lastError();
        }
    }
    if (error) {
        written = takeBack(lines, info.st_size, written);
    }
    if (written > 0 && !m_unflushedSince) {
        m_unflushedSince = now;
    }
    m_bytes += static_cast<std::int64_t>(written);
    return {std::ranges::count(lines.substr(0, written), '\n'), error};
}

/// Half a line would make the rest unreadable. If it cannot be taken back, or another program has changed the file
/// meanwhile, playback stops at it. Returns the length of the whole lines.
std::size_t clsRecordFile::takeBack(std::string_view lines, std::int64_t size, std::size_t written) const
{
    const std::size_t whole = written == 0 ? 0 : lines.rfind('\n', written - 1) + 1; // 0 also without any line end
    struct stat info {};
    const bool isLast = written > whole && fstat(m_file.Descriptor(), &info) == 0 &&
                        info.st_size == size + static_cast<std::int64_t>(written);
    static_cast<void>(isLast && ftruncate(m_file.Descriptor(), size + static_cast<std::int64_t>(whole)) == 0);
    return whole;
}

std::error_code clsRecordFile::FlushIfDue(Clock::time_point now)
{
    if (m_flushing.valid()) {
        const bool ready = m_flushing.wait_for(std::chrono::seconds::zero()) == std::future_status::ready;
        return ready ? m_flushing.get() : std::error_code();
    }
    if (m_unflushedSince && now - *m_unflushedSince >= kFlushAfter) {
        m_flushing = std::async(std::launch::async, flushBoth, m_disk.flush, m_file.Descriptor(), m_unflushedFolder);
        m_unflushedSince.reset();
        m_unflushedFolder.clear();
    }
    return {};
}

std::error_code clsRecordFile::Close()
{
    const std::error_code before = m_flushing.valid() ? m_flushing.get() : std::error_code();
    const std::error_code flushed = flushBoth(m_disk.flush, m_file.Descriptor(), m_unflushedFolder);
    const bool closed = m_file.Close();
    return before ? before : flushed ? flushed : closed ? std::error_code() : lastError();
}

bool clsRecordFile::IsInPlace() const
{
    return m_identity && FileIdentity::Of(m_path) == m_identity;
}

bool clsRecordFile::IsEmpty() const
{
    std::error_code unknown;
    return IsInPlace() && std::filesystem::file_size(m_path, unknown) == 0;
}
