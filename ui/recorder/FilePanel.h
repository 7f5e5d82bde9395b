// The status bar's panel for files: the recording that is made or was played, or a warning while neither has been.
#pragma once

#include "session/SessionListener.h"
#include "ui/widgets/LineLabel.h"

#include <cstdint>
#include <functional>

class clsSession;

namespace modGlobals {
struct Settings;
}

class FilePanel : public LineLabel, public SessionListener {
    Q_OBJECT

public:
    explicit FilePanel(QWidget* parent) : LineLabel(parent, Qt::ElideMiddle) {}
    ~FilePanel() override;

    /// Shows the files of a session; to be called once. Both must outlive the panel.
    void Follow(clsSession& session, const modGlobals::Settings& settings);
    /// The texts in the current language.
    void Localise();
    /// Says something as long as no file is shown.
    void ShowWarning(const QString& warning);
    /// How many points the chart shows of a recording that does not fit; less than 0 when all of it does.
    std::function<std::int64_t()> CountIncomplete;

    void RecordingStarted(const std::filesystem::path& file) override;
    void PlaybackBegins() override;
    void PlaybackEnds(const std::filesystem::path& file, const modPlayback::Loaded& loaded) override;

private:
    void explainPlayed();
    void showFile(const QString& file, const QString& toolTip);

    clsSession* m_session = nullptr;
    const modGlobals::Settings* m_settings = nullptr;
    QString m_warning;
    QString m_playedFile;           ///< what was shown after the last playback
    std::int64_t m_playedLines = 0; ///< of that file
};
