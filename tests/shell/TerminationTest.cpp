// The signals that end the program, and those that do not.
#include "shell/Termination.h"

#include <QCoreApplication>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// In a process of its own, whose signals are set as whoever starts the program may set them.
int exitCodeOf(int (*body)())
{
    const pid_t child = fork();
    if (child == 0) {
        _exit(body());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Termination, ASignalThatWasIgnoredStaysIgnored)
{
    EXPECT_EQ(exitCodeOf([] {
                  std::signal(SIGHUP, SIG_IGN); // nohup
                  QObject context;
                  int ends = 0;
                  WatchForTermination(context, [&] { ++ends; });
                  std::raise(SIGHUP);
                  QCoreApplication::processEvents();
                  const int afterHangUp = ends;
                  std::raise(SIGTERM);
                  QCoreApplication::processEvents();
                  return afterHangUp == 0 && ends == 1 ? 0 : 1;
              }),
              0);
}

TEST(Termination, AFailedWriteEndsNothing)
{
    EXPECT_EQ(exitCodeOf([] {
                  SurviveFailedWrites();
                  int ends[2];
                  rlimit room{};
                  getrlimit(RLIMIT_FSIZE, &room);
                  room.rlim_cur = 0;
                  std::FILE* const file = std::tmpfile();
                  if (pipe(ends) != 0 || close(ends[0]) != 0 || file == nullptr ||
                      setrlimit(RLIMIT_FSIZE, &room) != 0) {
                      return 1;
                  }
                  const bool toNobody = write(ends[1], "x", 1) < 0 && errno == EPIPE;
                  const bool tooLarge = write(fileno(file), "x", 1) < 0 && errno == EFBIG;
                  return toNobody && tooLarge ? 0 : 2;
              }),
              0);
}

} // namespace
