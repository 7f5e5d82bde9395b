// What happens to printed lines when nobody reads them.
#include "base/clsLinePrinter.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

namespace {

TEST(LinePrinter, DropsAndCountsWholeLinesThatNobodyReads)
{
    std::signal(SIGPIPE, SIG_IGN);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(fcntl(ends[1], F_SETPIPE_SZ, 4096), 4096);
    const auto print = [&](clsLinePrinter& printer, int lines) {
        for (int i = 0; i < lines; ++i) {
            printer.Print(std::to_string(100000000 + i));
        }
    };
    constexpr int kLines = 5000; // of 10 bytes: more than fit into the pipe and may wait
    clsLinePrinter unread(ends[1]);
    print(unread, kLines);
    EXPECT_EQ(unread.Finish(std::chrono::milliseconds(50)), kLines - 409);
    std::string bytes(4096, '\0');
    EXPECT_EQ(read(ends[0], bytes.data(), bytes.size()), 4090) << "no half line";
    EXPECT_TRUE(bytes.starts_with("100000000\n100000001\n"));

    clsLinePrinter slow(ends[1]);
    print(slow, 900);
    for (std::size_t all = 0; all < 9010;) { // including the line that the other printer was writing
        all += static_cast<std::size_t>(read(ends[0], bytes.data(), bytes.size()));
    }
    close(ends[0]);
    print(slow, 2);
    EXPECT_EQ(slow.Finish(std::chrono::seconds(10)), 2) << "the reader has gone";
    close(ends[1]);
}

} // namespace
