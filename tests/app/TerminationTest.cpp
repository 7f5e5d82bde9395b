// The signals that end the program, and those that do not. Each test runs in a process of its own.
#include "app/Termination.h"

#include <QCoreApplication>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

int endsAfterHangUpAndTerm()
{
    std::signal(SIGHUP, SIG_IGN); // as nohup does
    QObject context;
    int ends = 0;
    WatchForTermination(context, [&] { ++ends; });
    std::raise(SIGHUP);
    QCoreApplication::processEvents();
    const int afterHangUp = ends;
    std::raise(SIGTERM);
    QCoreApplication::processEvents();
    return afterHangUp * 10 + ends;
}

TEST(Termination, ASignalThatWasIgnoredStaysIgnored)
{
    EXPECT_EXIT(_exit(endsAfterHangUpAndTerm()), testing::ExitedWithCode(1), "");
}

TEST(Termination, AFailedWriteEndsNothing)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    const auto write = [&](int file) { return ::write(file, "x", 1) < 0 ? errno : 0; };
    const auto writesFail = [&] {
        SurviveFailedWrites();
        const rlimit room{0, RLIM_INFINITY};
        std::FILE* const file = std::tmpfile();
        setrlimit(RLIMIT_FSIZE, &room);
        return write(ends[1]) == EPIPE && write(fileno(file)) == EFBIG;
    };
    EXPECT_EXIT(_exit(writesFail() ? 0 : 1), testing::ExitedWithCode(0), "");
    close(ends[1]);
}

} // namespace
