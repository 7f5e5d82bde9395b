// Ends the program in order when it is told to from outside: by the session's end, by kill, by Ctrl+C. And only then.
#pragma once

#include <functional>

class QObject;

/// Calls `end` from the event loop when SIGTERM, SIGINT or SIGHUP arrives. One per program; `context` is what it goes
/// with. A signal that was ignored when the program was started stays ignored: nohup does that.
void WatchForTermination(QObject& context, const std::function<void()>& end);

/// Lets a write fail where it would end the program: to a pipe whose reader has gone (SIGPIPE), and beyond the largest
/// size of a file (SIGXFSZ).
void SurviveFailedWrites();
