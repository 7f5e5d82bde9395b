// Prints lines to an open file of the system from a thread of its own: a reader that does not read, or that has gone,
// holds nobody up.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

class clsLinePrinter {
public:
    /// Lines that may wait for the reader; what comes on top is dropped.
    static constexpr std::size_t kMostWaiting = 1000;

    /// The descriptor is only used, not closed. SIGPIPE must not end the program.
    explicit clsLinePrinter(int descriptor);
    /// Nothing that still waits is printed.
    ~clsLinePrinter();
    clsLinePrinter(const clsLinePrinter&) = delete;
    clsLinePrinter& operator=(const clsLinePrinter&) = delete;

    /// Prints a line and its end, or drops it whole when too many wait. Never waits.
    void Print(std::string line);
    /// Waits for what is on its way, `patience` at most. Returns how many lines were not printed since the beginning.
    /// Ends the printing.
    std::int64_t Finish(std::chrono::milliseconds patience);

private:
    struct Work;
    std::shared_ptr<Work> m_work; ///< also the thread's, which may outlive the printer: a write cannot be called off
};
