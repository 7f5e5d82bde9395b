// Ends the program in order when something outside asks for it: the end of the session, kill or Ctrl+C. A failed write
// does not end it.
#pragma once

#include <functional>

class QObject;

/// Calls `end` from the event loop when SIGTERM, SIGINT or SIGHUP arrives, as long as `context` lives. Call it once per
/// program. A signal that was ignored when the program started stays ignored, as nohup wants it.
void WatchForTermination(QObject& context, const std::function<void()>& end);

/// Lets a write fail where it would otherwise end the program: to a pipe without a reader (SIGPIPE), and beyond the
/// largest size of a file (SIGXFSZ).
void SurviveFailedWrites();
