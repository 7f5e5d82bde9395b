// The status bar's panel for files: the present recording at a glance, the file that was recorded or played last, or a
// warning while there is none.
#pragma once

#include "session/SessionListener.h"
#include "session/modPlayback.h"
#include "ui/widgets/LineLabel.h"

#include <QStringList>

#include <cstdint>
#include <functional>

class clsSession;
struct RecordTexts;

namespace modGlobals {
struct Settings;
}

class FilePanel : public LineLabel, public SessionListener {
    Q_OBJECT

public:
    explicit FilePanel(QWidget* parent) : LineLabel(parent, Qt::ElideMiddle) {}
    ~FilePanel() override;

    /// Shows the files of a session. Call it once; both must outlive the panel.
    void Follow(clsSession& session, const modGlobals::Settings& settings);
    /// Sets the texts in the current language.
    void Localise();
    /// Shows a warning as long as no file is shown.
    void ShowWarning(const QString& warning);
    /// How many points the chart shows of a recording that does not fit; less than 0 when it shows all of it.
    std::function<std::int64_t()> CountIncomplete;

    void Ticked() override;
    void RecordingStarted(const std::filesystem::path& file) override;
    void PlaybackBegins() override;
    void PlaybackEnds(const std::filesystem::path& file, const modPlayback::Loaded& loaded) override;

protected:
    void drawContent(QPainter& painter) override;

private:
    void followRecording();
    void showFigures(const RecordTexts& texts);
    void explainPlayed();
    void showFile(const QString& file, const QString& toolTip);

    clsSession* m_session = nullptr;
    const modGlobals::Settings* m_settings = nullptr;
    QString m_warning;
    std::int32_t m_ticks = 0;
    /// The running recording: duration, size, and name or warning. They are drawn in place of the text, which stays.
    QStringList m_figures;
    bool m_isWarning = false;           ///< the last of them is
    QString m_recordedFile;             ///< that is or was recorded last
    QString m_playedFile, m_playedText; ///< shown after the last playback
    modPlayback::Loaded m_played;       ///< what came of it
};
