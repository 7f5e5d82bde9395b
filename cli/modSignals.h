// What the system tells the program by signals: end, the terminal has another size, it stops or goes on. A signal that
// was ignored when the program started stays ignored, as nohup wants it.
#pragma once

namespace modSignals {

/// Watches from now on. A failed write no longer ends the program.
void Watch();

/// Whether the program was asked to end: SIGINT, SIGTERM or SIGHUP. A second SIGINT, half a second later or more, ends
/// it at once; before that it calls what `AtSuddenEnd` has named.
bool EndIsWanted();
/// A function that may run inside a signal handler, to put a terminal back as it was: also before the program is
/// stopped (SIGTSTP) or gives up (SIGQUIT, SIGABRT). Null: none.
void AtSuddenEnd(void (*restore)());

/// Whether the terminal has another size, or the program goes on after it was stopped, since the last call.
bool TakeRedraw();

} // namespace modSignals
