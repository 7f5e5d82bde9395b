// The recorder's window: record, play, stop, and in words what the recorder does. One at most; the recorder itself goes
// on without it.
#pragma once

#include "session/modPlayback.h"
#include "texts/TextId.h"

#include <QDialog>

#include <functional>
#include <optional>
#include <system_error>

class QLabel;
class QLayout;
class QPushButton;
class RecorderHost;
class clsRecorder;

namespace modGlobals {
struct Settings;
}

class frmRecorder : public QDialog {
    Q_OBJECT

public:
    /// All but `owner` are only referred to; everything must outlive the window.
    frmRecorder(QWidget& owner, const modGlobals::Settings& settings, clsRecorder& recorder, RecorderHost& host);

    /// Shows what the recorder does now; to be called now and then.
    void ShowState();
    /// Asks for a recording; an empty text when the user cancels.
    std::function<QString()> ChooseFile;

    /// Escape; while something runs it does nothing.
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
    clsRecorder& m_recorder;
    RecorderHost& m_host;
    std::error_code m_startFailure; ///< why the last recording could not begin
    std::optional<modPlayback::Loaded> m_loaded;
    bool m_choosing = false; ///< a file is being chosen or loaded

    QLabel* lblState;
    QLabel* lblFile;
    QPushButton* cmdRec;
    QPushButton* cmdPlay;
    QPushButton* cmdStop;
};
