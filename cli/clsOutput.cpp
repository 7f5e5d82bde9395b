#include "cli/clsOutput.h"

#include "base/modAPI.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t kPiece = 65536;
constexpr int kLookEvery = 10;     // ticks
constexpr int kGatheredTicks = 10; // that a file gets at once
constexpr int kPatience_ms = 100;

} // namespace

clsOutput::clsOutput(int descriptor, std::size_t mostWaiting) : m_descriptor(descriptor), m_mostWaiting(mostWaiting)
{
    struct stat info {};
    if (fstat(descriptor, &info) != 0) {
        m_failure = std::error_code(errno, std::system_category());
        return;
    }
    m_gathers = S_ISREG(info.st_mode);
    if (S_ISSOCK(info.st_mode)) {
        m_kind = Kind::Socket;
    } else if (S_ISFIFO(info.st_mode) || isatty(descriptor) != 0) {
        const std::string name = "/proc/self/fd/" + std::to_string(descriptor);
        m_own = FileHandle(open(name.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        m_kind = m_own.IsOpen() ? Kind::Owned : Kind::Shared;
    }
}

void clsOutput::Print(std::string_view line)
{
    if (mayAdd(line.size() + 1)) {
        m_waiting += line;
        m_waiting += '\n';
    }
}

void clsOutput::Write(std::string_view text)
{
    if (mayAdd(text.size())) {
        m_waiting += text;
    }
}

bool clsOutput::mayAdd(std::size_t size)
{
    const bool fits = Waiting() + size <= m_mostWaiting;
    m_dropped += fits || !IsOpen() ? 0 : 1;
    return fits && IsOpen();
}

void clsOutput::Discard()
{
    m_waiting.clear();
    m_written = 0;
}

/// A descriptor that is shared with others is not made non-blocking, so it is asked before each write.
bool clsOutput::hasRoom(int timeout_ms) const
{
    pollfd room{m_descriptor, POLLOUT, 0};
    return poll(&room, 1, timeout_ms) > 0;
}

void clsOutput::Serve()
{
    if (Waiting() == 0) {
        lookForReader();
    } else if (!m_gathers || Waiting() >= kPiece || ++m_held % kGatheredTicks == 0) {
        write();
    }
}

void clsOutput::write()
{
    while (IsOpen() && Waiting() > 0 && (m_kind != Kind::Shared || hasRoom(0))) {
        // A pipe that has room takes as much as this at once.
        const std::size_t most = m_kind == Kind::Shared ? PIPE_BUF : kPiece;
        const char* const from = m_waiting.data() + m_written;
        const std::size_t size = std::min(Waiting(), most);
        const ssize_t count = m_kind == Kind::Socket
                                  ? send(m_descriptor, from, size, MSG_DONTWAIT | MSG_NOSIGNAL)
                                  : ::write(m_own.IsOpen() ? m_own.Descriptor() : m_descriptor, from, size);
        if (count < 0 && errno == EAGAIN) {
            break;
        }
        if (count < 0 && errno != EINTR) {
            m_failure = std::error_code(errno, std::system_category());
        }
        m_written += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    if (Waiting() == 0 || m_written > m_waiting.size() / 2) {
        m_waiting.erase(0, m_written);
        m_written = 0;
    }
}

/// A reader that goes while nothing is written is missed too.
void clsOutput::lookForReader()
{
    if (m_kind == Kind::File || !IsOpen() || ++m_idle % kLookEvery != 0) {
        return;
    }
    pollfd reader{m_descriptor, 0, 0};
    if (poll(&reader, 1, 0) > 0 && (reader.revents & POLLERR) != 0) {
        m_failure = std::make_error_code(std::errc::broken_pipe);
    }
}

void clsOutput::Finish(const std::function<bool()>& goOn)
{
    for (write(); IsOpen() && Waiting() > 0 && goOn(); write()) {
        if (m_kind != Kind::File) {
            hasRoom(kPatience_ms);
        }
    }
}

void clsOutput::FinishWithin(double seconds)
{
    const double end_s = modAPI::UpTime_s() + seconds;
    Finish([end_s] { return modAPI::UpTime_s() < end_s; });
}
