#include "gateway/modService.h"

#include "base/PlainText.h"
#include "base/modFiles.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/signalfd.h>
#include <system_error>
#include <systemd/sd-daemon.h>
#include <unistd.h>

namespace modService {

void Log(LogLevel level, const std::string& text)
{
    static const char* const stream = std::getenv("JOURNAL_STREAM");
    const bool hasJournal = stream != nullptr && *stream != '\0';
    constexpr std::size_t kLongest = 1000;
    const std::string line = PlainText(text, kLongest);
    if (hasJournal) {
        std::fprintf(stderr, "<%d>%s\n", static_cast<int>(level), line.c_str());
    } else {
        std::fprintf(stderr, "rvqd: %s\n", line.c_str());
    }
}

void Notify(const std::string& state)
{
    sd_notify(0, state.c_str());
}

std::optional<double> WatchdogPeriod_s()
{
    constexpr double kMicroseconds = 1e6, kShare = 0.4; // well before it is due
    std::uint64_t period = 0;
    return sd_watchdog_enabled(0, &period) > 0 ? std::optional(static_cast<double>(period) / kMicroseconds * kShare)
                                               : std::nullopt;
}

Signals::Signals()
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        sigaddset(&set, signal);
    }
    sigprocmask(SIG_BLOCK, &set, nullptr);
    m_handle = signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
    if (m_handle < 0) {
        throw std::system_error(errno, std::generic_category(), "signalfd");
    }
    // A disk or a broker that refuses is no reason to end.
    for (const int ignored : {SIGPIPE, SIGXFSZ}) {
        std::signal(ignored, SIG_IGN);
    }
}

Signals::~Signals()
{
    close(m_handle);
}

int Signals::Take()
{
    signalfd_siginfo info{};
    return read(m_handle, &info, sizeof info) == sizeof info ? static_cast<int>(info.ssi_signo) : 0;
}

FolderGuard::FolderGuard(const std::filesystem::path& folder)
{
    std::error_code why;
    if (!modFiles::MakeFolder(folder, why)) {
        throw std::system_error(why, folder.string());
    }
    const std::filesystem::path file = folder / "lock";
    m_file = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
    if (m_file < 0 || flock(m_file, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        if (m_file >= 0) {
            close(m_file);
        }
        throw std::system_error(error, std::generic_category(), file.string());
    }
}

FolderGuard::~FolderGuard()
{
    close(m_file);
}

} // namespace modService
