#include "shell/Termination.h"

#include "shell/Guarded.h"

#include <QSocketNotifier>

#include <array>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

std::array<int, 2> pipeEnds{-1, -1};

extern "C" void noteSignal(int)
{
    // Nothing else may be done here; the event loop does the rest.
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = write(pipeEnds[1], &byte, 1);
}

} // namespace

void WatchForTermination(QObject& context, const std::function<void()>& end)
{
    if (pipe2(pipeEnds.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return; // then a signal ends the program at once, as it does by default
    }
    auto* notifier = new QSocketNotifier(pipeEnds[0], QSocketNotifier::Read, &context);
    QObject::connect(notifier, &QSocketNotifier::activated, &context, [end] {
        char byte = 0;
        if (read(pipeEnds[0], &byte, 1) == 1) {
            Guarded(end);
        }
    });
    struct sigaction action {};
    action.sa_handler = noteSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        sigaction(signal, &action, nullptr);
    }
}
