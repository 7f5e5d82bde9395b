#include "app/Termination.h"

#include "base/modAPI.h"
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
        modAPI::HandleSignal(signal, noteSignal);
    }
}

void SurviveFailedWrites()
{
    // Handled, not ignored: programs started from here would inherit an ignored signal.
    for (const int signal : {SIGPIPE, SIGXFSZ}) {
        modAPI::HandleSignal(signal, passOver);
    }
}
