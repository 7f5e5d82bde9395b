// Sends chosen values to the sensor for a window that has no transfer of its own, and asks the questions of a transfer
// in boxes over that window.
#pragma once

#include "session/clsTransfer.h"
#include "ui/settings/RVQBoxes.h"

#include <QPointer>
#include <QString>

#include <functional>
#include <string>
#include <vector>

class Help;
class QMessageBox;
class QWidget;
class clsConfigLibrary;

namespace modGlobals {
struct Settings;
}

class TransferBox : private TransferView {
public:
    struct Context {
        QWidget& window;
        clsRVQ& device;
        clsConfigLibrary& library;
        const modGlobals::Settings& settings;
        const Help& help;
        modRVQComm::PumpEvents pumpEvents;
        clsWriteKeeper* writes = nullptr;
        std::function<void(const TransferProgress&)> showProgress;
        std::function<void(const QString&)> showFailure;
        std::function<void(const WriteReport&)> showReport;
    };
    /// Everything referred to must outlive the object.
    explicit TransferBox(Context context);

    void Send(const ParameterSet& target, const std::vector<std::string>& codes)
    {
        m_transfer.SendChosen(target, codes);
    }
    void Cancel() { m_transfer.Cancel(); }
    /// Answers an open question with Abort or No: the session has ended.
    void CloseQuestion();

private:
    void ShowBusy(bool) override {}
    void ShowStatusText(TextId) override {}
    void ShowFailed(bool) override {}
    void ShowFailure(TextId textId, TextId reasonTextId) override;
    void ShowProgress(const TransferProgress& progress) override;
    void ShowReport(const WriteReport& report) override { m_context.showReport(report); }
    bool MayWriteWithoutBackup(const std::filesystem::path& file, std::error_code why) override;
    FailureAnswer AskAboutFailure(TextId reasonTextId, const TransferFailure& failure) override;
    void SelectDeviceEntry() override {}
    void FillFromDeviceEntry() override {}
    QString text(TextId id) const;

    Context m_context;
    QMessageBox* m_question = nullptr;
    RVQDialogs m_boxes;
    clsTransfer m_transfer;
};
