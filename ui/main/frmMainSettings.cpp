// What the main window does when settings or recordings may not reach the disk.
#include "base/modFiles.h"
#include "session/clsSession.h"
#include "store/modGlobals.h"
#include "ui/main/MessagePanel.h"
#include "ui/main/frmMain.h"
#include "ui/recorder/FilePanel.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/Guarded.h"

#include <QFile>

#include <chrono>

/// Saves the settings for the last time. If that fails and no warning was given before, returns false: the window stays
/// open once, so that the message can be read.
bool frmMain::keepsSettings()
{
    modGlobals::Settings kept = m_settings;
    if (m_simulated && kept.Comport == m_simulated->second) {
        kept.Comport = m_simulated->first;
    }
    const std::error_code why = modGlobals::SaveGlobalSettings(kept);
    const bool ends = !why || !m_unkept.isEmpty() || std::exchange(m_closesUnkept, true);
    if (why) {
        pnlMessages->ShowFailure(ends ? unkeptText(why) : text(TextId::StatusCloseAgain).arg(unkeptText(why)));
    }
    if (ends) {
        m_settings = kept;
    }
    return ends;
}

/// Shown at the start, while nothing else is shown there: everything but the settings works.
void frmMain::warnOfUnkeptSettings()
{
    const QString warning = unkeptWarning();
    if (!warning.isEmpty()) {
        pnlFile->ShowWarning(warning);
        m_unkept = warning;
    }
}

QString frmMain::unkeptWarning() const
{
    if (!m_settings.UnreadFile.empty()) {
        return text(TextId::FailureSettingsNotRead)
            .arg(QFile::decodeName(m_settings.UnreadFile.c_str()),
                 FileErrorText(m_settings.UnreadWhy, m_settings.Language));
    }
    const bool areKept = m_settings.IniFile.empty() || modFiles::CanReplace(m_settings.IniFile);
    return areKept ? QString()
                   : text(TextId::FailureSettingsNotWritten).arg(QFile::decodeName(m_settings.IniFile.c_str()));
}

QString frmMain::unkeptText(const std::error_code& why) const
{
    return text(TextId::FailureNotWritten)
        .arg(QFile::decodeName(m_settings.IniFile.c_str()), FileErrorText(why, m_settings.Language));
}

/// The window has closed: a recording gets a last moment to reach the disk. The system already has its lines, so only a
/// loss of power can still lose them.
void frmMain::finishWriting()
{
    constexpr std::chrono::milliseconds kPatience{2200}; // of the three seconds until the program has ended
    if (!m_session.FinishWriting(kPatience)) {
        NoteFault(text(TextId::RecorderNotOnDisk).toUtf8().constData());
    }
    m_session.ServeFiles(m_session.Device().CurrentTime());
}
