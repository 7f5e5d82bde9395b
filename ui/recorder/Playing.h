// Playing recordings, for every window that offers it: the recorder, the list of recent ones, a file dropped on a
// window.
#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>

class QWidget;
class clsSession;

namespace modGlobals {
struct Settings;
}
namespace modPlayback {
struct Loaded;
}

/// Plays a recording with a bar and "Cancel" in front of `owner` if that takes long. One file is played with all the
/// parts of its recording, several are played as they are, in the order of their times. Nothing is played while a
/// measurement or a recording runs, and while another recording is loaded. `showMessage` is called with what the status
/// bar should say: an empty text when loading begins, and why it could not begin or go on to the end. The recording
/// joins the recent ones. Returns when all is loaded; whether anything was played.
bool PlayRecording(QWidget& owner, clsSession& session, const modGlobals::Settings& settings, const QStringList& files,
                   const std::function<void(const QString&)>& showMessage);

/// How loading ended, in a sentence.
QString LoadedText(const modPlayback::Loaded& loaded, std::int32_t language);
