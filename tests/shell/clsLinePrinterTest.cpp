// What becomes of printed lines when nobody reads them.
#include "shell/clsLinePrinter.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <utility>

namespace {

using std::chrono::seconds;

/// A pipe of the smallest size, and a printer at its end.
struct Pipe {
    int ends[2] = {-1, -1};

    Pipe()
    {
        std::signal(SIGPIPE, SIG_IGN);
        EXPECT_EQ(pipe(ends), 0);
        EXPECT_EQ(fcntl(ends[1], F_SETPIPE_SZ, 4096), 4096);
    }
    ~Pipe()
    {
        close(ends[0]);
        close(ends[1]);
    }
    std::string Read() const
    {
        std::string bytes(std::size_t{1} << 16, '\0');
        bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(read(ends[0], bytes.data(), bytes.size()), 0)));
        return bytes;
    }
};

TEST(LinePrinter, DropsWholeLinesWhenNobodyReads)
{
    const Pipe pipe;
    clsLinePrinter printer(pipe.ends[1]);
    constexpr int kLines = 5000; // of 10 bytes, more than the pipe and those that may wait
    for (int i = 0; i < kLines; ++i) {
        printer.Print(std::to_string(100000000 + i));
    }
    const std::int64_t lost = printer.Finish(std::chrono::milliseconds(50));
    const std::string bytes = pipe.Read();
    EXPECT_EQ(bytes.size() / 10 + static_cast<std::size_t>(lost), kLines);
    EXPECT_EQ(bytes.size(), 4090U) << "no half line";
    EXPECT_TRUE(bytes.starts_with("100000000\n100000001\n"));
}

TEST(LinePrinter, GoesOnWhenThePipeIsReadAgainButNotWithoutAReader)
{
    Pipe pipe;
    clsLinePrinter printer(pipe.ends[1]);
    for (int i = 0; i < 600; ++i) {
        printer.Print("12345 mm");
    }
    std::string bytes;
    while (bytes.size() < 600U * 9) {
        bytes += pipe.Read();
    }
    close(std::exchange(pipe.ends[0], -1));
    printer.Print("nobody reads this");
    printer.Print("nor this");
    EXPECT_EQ(printer.Finish(seconds(10)), 2);
}

} // namespace
