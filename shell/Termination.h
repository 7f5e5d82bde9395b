// Ends the program in order when it is told to from outside: by the session's end, by kill, by Ctrl+C.
#pragma once

#include <functional>

class QObject;

/// Calls `end` from the event loop when SIGTERM, SIGINT or SIGHUP arrives. One per program; `context` is what it goes
/// with.
void WatchForTermination(QObject& context, const std::function<void()>& end);
