// Standard output or standard error: lines that go out with the next `Serve`. It never waits while a measurement runs:
// what a slow reader has not taken yet stays in memory.
#pragma once

#include "base/FileHandle.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <system_error>

class clsOutput {
public:
    /// Bytes that may wait for a reader that does not read. Lines beyond are dropped and counted: at 60 values a second
    /// that is after some hours.
    static constexpr std::size_t kMostWaiting = 32U << 20U;

    explicit clsOutput(int descriptor, std::size_t mostWaiting = kMostWaiting);

    /// A line and its end; whole or, when too much waits, not at all.
    void Print(std::string_view line);
    /// Text without a line's end, by the same rule.
    void Write(std::string_view text);
    /// Drops what waits, and does not count it.
    void Discard();
    /// Writes what can be written without waiting; to a file in larger pieces, twice a second. Call it in every tick.
    void Serve();
    /// Waits until everything is written, as long as `goOn`, which is asked now and then, says so.
    void Finish(const std::function<bool()>& goOn);
    /// The same for so many seconds at most.
    void FinishWithin(double seconds);

    /// Whether anything more can be written.
    bool IsOpen() const { return !m_failure; }
    /// Whether the reader has closed the pipe: it has what it wanted.
    bool HasNoReader() const { return m_failure == std::errc::broken_pipe; }
    /// Why it ended; false when it has not.
    const std::error_code& Failure() const { return m_failure; }
    /// Lines that were dropped.
    std::int64_t Dropped() const { return m_dropped; }
    /// Bytes that wait.
    std::size_t Waiting() const { return m_waiting.size() - m_written; }

private:
    enum class Kind : std::uint8_t { File, Owned, Shared, Socket };

    bool mayAdd(std::size_t size);
    bool hasRoom(int timeout_ms) const;
    void write();
    void lookForReader();

    int m_descriptor;
    FileHandle m_own; ///< of the same pipe or terminal: nobody else is affected by its being non-blocking
    Kind m_kind = Kind::File;
    std::size_t m_mostWaiting;
    std::string m_waiting;
    std::size_t m_written = 0; ///< of `m_waiting`
    std::error_code m_failure;
    std::int64_t m_dropped = 0;
    int m_idle = 0; ///< calls of `Serve` with nothing to write
    bool m_gathers = false;
    int m_held = 0; ///< calls of `Serve` with something for a file
};
