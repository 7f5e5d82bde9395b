// Takes back the last write to the sensor from the main window. What the transfer says goes to the message panel.
#pragma once

#include "session/clsTransfer.h"
#include "ui/settings/RVQBoxes.h"

class Help;
class MessagePanel;
class QMessageBox;
class QWidget;
class clsSession;

namespace modGlobals {
struct Settings;
}

class UndoRun : private TransferView {
public:
    /// `entry` is the sensor's entry in the list of configurations. All must outlive the object.
    UndoRun(QWidget& window, clsSession& session, Configuration& entry, const modGlobals::Settings& settings,
            const Help& help, MessagePanel& messages);

    /// Returns when it has ended; does nothing when there is nothing to undo.
    void Undo() { m_transfer.UndoLast(); }
    /// Called when the main window closes: a question closes with Abort, and none is asked any more.
    void Unload();
    /// Also asks for the single parameters of the main window.
    bool MayWriteWithoutBackup(const std::filesystem::path& file, std::error_code why) override;

private:
    void ShowBusy(bool) override {}
    void ShowStatusText(TextId textId) override;
    void ShowFailed(bool) override {}
    void ShowFailure(TextId textId, TextId reasonTextId) override;
    void ShowProgress(const TransferProgress& progress) override;
    void ShowReport(const WriteReport& report) override;
    FailureAnswer AskAboutFailure(TextId reasonTextId, const TransferFailure& failure) override;
    void SelectDeviceEntry() override {}
    void FillFromDeviceEntry() override {}

    QString text(TextId id) const;

    const modGlobals::Settings& m_settings;
    MessagePanel& m_messages;
    QMessageBox* m_question = nullptr;
    RVQDialogs m_boxes;
    bool m_unloading = false;
    clsTransfer m_transfer;
};
