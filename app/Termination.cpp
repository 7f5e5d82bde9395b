#include "app/Termination.h"

#include "ui/widgets/Guarded.h"

#include <QSocketNotifier>

#include <array>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

std::array<int, 2> pipeEnds{-1, -1};

extern "C" void noteSignal(int)
{
    // A signal handler may do no more; the event loop does the rest.
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = write(pipeEnds[1], &byte, 1);
}

extern "C" void passOver(int) {}

/// Sets the handler. A signal that was already ignored when the program started stays ignored.
void handle(int signal, void (*handler)(int))
{
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) {
        return;
    }
    action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

} // namespace

void WatchForTermination(QObject& context, const std::function<void()>& end)
{
    if (pipe2(pipeEnds.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return; // a signal then ends the program at once, as it does by default
    }
    auto* notifier = new QSocketNotifier(pipeEnds[0], QSocketNotifier::Read, &context);
    QObject::connect(notifier, &QSocketNotifier::activated, &context, [end] {
        char byte = 0;
        if (read(pipeEnds[0], &byte, 1) == 1) {
            Guarded(end);
        }
    });
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        handle(signal, noteSignal);
    }
}

void SurviveFailedWrites()
{
    // Handled, not ignored: programs started from here would inherit an ignored signal.
    for (const int signal : {SIGPIPE, SIGXFSZ}) {
        handle(signal, passOver);
    }
}
