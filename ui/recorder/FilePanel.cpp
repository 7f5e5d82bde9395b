#include "ui/recorder/FilePanel.h"

#include "session/clsSession.h"
#include "store/modGlobals.h"
#include "ui/widgets/Localise.h"

#include <QFile>

FilePanel::~FilePanel()
{
    if (m_session != nullptr) {
        m_session->Leave(*this);
    }
}

void FilePanel::Follow(clsSession& session, const modGlobals::Settings& settings)
{
    m_session = &session;
    m_settings = &settings;
    session.Listen(*this);
}

void FilePanel::Localise()
{
    if (!m_playedFile.isEmpty() && text() == m_playedFile) {
        explainPlayed();
    }
}

void FilePanel::ShowWarning(const QString& warning)
{
    if (text() == m_warning) {
        showFile(warning, warning);
    }
    m_warning = warning;
}

void FilePanel::RecordingStarted(const std::filesystem::path& file)
{
    const QString path = QFile::decodeName(file.c_str());
    showFile(QStringLiteral("REC: %1 ").arg(path), path);
}

void FilePanel::PlaybackBegins()
{
    showFile(Text(TextId::StatusLoading, m_settings->Language), {});
}

void FilePanel::PlaybackEnds(const std::filesystem::path& file, const modPlayback::Loaded& loaded)
{
    m_playedFile = QFile::decodeName(file.c_str());
    m_playedLines = loaded.lines;
    explainPlayed();
}

/// Shows the file and whether the chart has all of it.
void FilePanel::explainPlayed()
{
    QString toolTip = m_playedFile;
    const std::int64_t shown = CountIncomplete ? CountIncomplete() : -1;
    if (shown >= 0) {
        toolTip += u'\n' + Text(TextId::ToolTipLastPoints, m_settings->Language).arg(m_playedLines).arg(shown);
    }
    showFile(m_playedFile, toolTip);
}

void FilePanel::showFile(const QString& file, const QString& toolTip)
{
    setText(file);
    setToolTip(toolTip);
}
