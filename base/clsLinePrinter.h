// Prints lines to an open file from a thread of its own: a reader that does not read, or has gone, holds nothing up.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

class clsLinePrinter {
public:
    /// Lines that may wait for the reader; further ones are dropped.
    static constexpr std::size_t kMostWaiting = 1000;

    /// Uses the descriptor without closing it. SIGPIPE must not end the program.
    explicit clsLinePrinter(int descriptor);
    /// Lines that still wait are not printed.
    ~clsLinePrinter();
    clsLinePrinter(const clsLinePrinter&) = delete;
    clsLinePrinter& operator=(const clsLinePrinter&) = delete;

    /// Prints a line and its end, or drops it whole when too many wait. Never waits.
    void Print(std::string line);
    /// Ends the printing, after waiting at most `patience` for the lines that are still to be printed. Returns how many
    /// lines were not printed since the beginning.
    std::int64_t Finish(std::chrono::milliseconds patience);

private:
    struct Work;
    std::shared_ptr<Work> m_work; ///< the thread, which may outlive the printer, shares it: a write cannot be cancelled
};
