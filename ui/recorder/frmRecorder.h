// The recorder's window: record, play, stop, and a text that says what the recorder does. There is at most one; the
// recorder itself goes on without it.
#pragma once

#include "session/SessionListener.h"
#include "session/modPlayback.h"
#include "texts/TextId.h"

#include <QDialog>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <optional>
#include <system_error>

class PlanPanel;
class ProgressPanel;
class QLabel;
class QLayout;
class QPushButton;
class clsRecorder;
class clsSession;

namespace modGlobals {
struct Settings;
}

/// Begins a recording as the settings plan it, with a name or without; returns why it could not begin.
std::error_code BeginRecording(clsSession& session, const QString& name);
/// That reason in a sentence.
QString NotStartedText(const std::error_code& why, std::int32_t language);

class frmRecorder : public QDialog, public SessionListener {
    Q_OBJECT

public:
    /// `session` and `settings` must outlive the window, which keeps the operator's choices in the settings.
    frmRecorder(QWidget& owner, modGlobals::Settings& settings, clsSession& session);
    ~frmRecorder() override;

    /// What the buttons for recording and stopping do.
    void StartOrStop();
    /// Shows what the recorder does now.
    void ShowState();
    /// Called with a message for the status bar that stays long enough to be read; an empty one clears it.
    std::function<void(const QString&)> ShowMessage;
    /// Asks for the files of a recording; none when the user cancels.
    std::function<QStringList()> ChooseFiles;

    void Ticked() override;
    void PlaybackBegins() override;
    void PlaybackEnds(const std::filesystem::path& file, const modPlayback::Loaded& loaded) override;

    /// Escape; does nothing while something runs.
    void reject() override;

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    QPushButton* addButton(const char* name, TextId tag, TextId toolTip);
    QLayout* buildButtons();
    void localise();
    void drawSymbols() const;
    void showRule();
    QString stateText() const;
    QString newsText() const;
    QString recordedText() const;
    bool hasFile() const;
    bool mayClose();
    void say(const QString& word);
    void rename(const QString& name);
    QStringList askForFiles();
    void cmdRec_Click();
    void cmdPlay_Click();
    void cmdStop_Click();
    QString text(TextId id) const;

    modGlobals::Settings& m_settings;
    clsSession& m_session;
    clsRecorder& m_recorder;
    std::error_code m_startFailure; ///< why the last recording could not begin
    std::optional<modPlayback::Loaded> m_loaded;
    bool m_choosing = false; ///< a file is being chosen or loaded
    std::int32_t m_shownMode = 0, m_ticks = 0;

    QLabel* lblMark;
    QLabel* lblState;
    QLabel* lblFile;
    ProgressPanel* pnlProgress;
    PlanPanel* pnlPlan;
    QPushButton* cmdRec;
    QPushButton* cmdPlay;
    QPushButton* cmdStop;
};
