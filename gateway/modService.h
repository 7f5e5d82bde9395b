// What a service and the system tell each other: the log, the state for the service manager, the signals that end it or
// have it read its configuration again, and that no other one uses the same folder.
#pragma once

#include "gateway/clsGateway.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace modService {

/// Writes a line to standard error, with its level before it when the system's journal reads there.
void Log(LogLevel level, const std::string& text);

/// Tells the service manager; nothing happens without one. See sd_notify(3).
void Notify(const std::string& state);
/// How often the service manager wants to hear that the service lives, in seconds; none when it does not care.
std::optional<double> WatchdogPeriod_s();

/// SIGTERM, SIGINT and SIGHUP arrive here from now on. Make it before the first thread; it lasts to the end.
class Signals {
public:
    /// Throws std::system_error.
    Signals();
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    /// Becomes readable with a signal.
    int Handle() const { return m_handle; }
    /// The next one that has come; 0: none.
    int Take();

private:
    int m_handle;
};

/// While it exists, no other one can be made for the same folder, which is created when it is missing.
class FolderGuard {
public:
    /// Throws std::system_error: EWOULDBLOCK when another service has the folder.
    explicit FolderGuard(const std::filesystem::path& folder);
    ~FolderGuard();
    FolderGuard(const FolderGuard&) = delete;
    FolderGuard& operator=(const FolderGuard&) = delete;

private:
    int m_file;
};

} // namespace modService
