// The recorder's window: record, play, stop, and a text that says what the recorder does. There is at most one; the
// recorder itself goes on without it.
#pragma once

#include "session/SessionListener.h"
#include "session/modPlayback.h"
#include "texts/TextId.h"

#include <QDialog>

#include <functional>
#include <optional>
#include <system_error>

class QLabel;
class QLayout;
class QPushButton;
class clsRecorder;
class clsSession;

namespace modGlobals {
struct Settings;
}

class frmRecorder : public QDialog, public SessionListener {
    Q_OBJECT

public:
    /// `session` and `settings` must outlive the window.
    frmRecorder(QWidget& owner, const modGlobals::Settings& settings, clsSession& session);
    ~frmRecorder() override;

    /// Shows what the recorder does now. Call it in every tick too.
    void ShowState();
    /// Called with a message for the status bar that stays long enough to be read; an empty one clears it.
    std::function<void(const QString&)> ShowMessage;
    /// Asks for a recording; returns an empty text when the user cancels.
    std::function<QString()> ChooseFile;

    void Ticked() override { ShowState(); }
    void PlaybackBegins() override { ShowState(); }

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
    QString loadedText() const;
    bool hasFile() const;
    QString askForFile();
    void cmdRec_Click();
    void cmdPlay_Click();
    void cmdStop_Click();
    void play(const QString& file);
    QString text(TextId id) const;

    const modGlobals::Settings& m_settings;
    clsSession& m_session;
    clsRecorder& m_recorder;
    std::error_code m_startFailure; ///< why the last recording could not begin
    std::optional<modPlayback::Loaded> m_loaded;
    bool m_choosing = false; ///< a file is being chosen or loaded

    QLabel* lblState;
    QLabel* lblFile;
    QPushButton* cmdRec;
    QPushButton* cmdPlay;
    QPushButton* cmdStop;
};
