// A settings window that answers questions from a list and records what it is told.
#pragma once

#include "session/clsTransfer.h"
#include "texts/TextId.h"

#include <deque>
#include <optional>
#include <string>
#include <utility>

class clsRecordingTransferView : public TransferView {
public:
    std::string told; ///< status texts, "!" for red, "!text:reason", "select", "fill" and "ask", in order
    std::deque<FailureAnswer> answers; ///< Abort when there are none left
    TransferProgress progress;
    TransferFailure failure;           ///< the last one that was asked about
    std::optional<WriteReport> report; ///< the last one
    bool writesAnyway = true;          ///< without a backup

    std::string TakeTold() { return std::exchange(told, {}); }
    void ShowBusy(bool) override {}
    void ShowStatusText(TextId id) override { told += id == TextId::None ? "" : number(id) + " "; }
    void ShowFailed(bool failed) override { told += failed ? "! " : ""; }
    void ShowFailure(TextId id, TextId reason) override { told += "!" + number(id) + ":" + number(reason) + " "; }
    void ShowProgress(const TransferProgress& shown) override { progress = shown; }
    void ShowReport(const WriteReport& shown) override { report = shown; }
    bool MayWriteWithoutBackup(const std::filesystem::path&, std::error_code) override { return writesAnyway; }
    FailureAnswer AskAboutFailure(TextId reason, const TransferFailure& shown) override
    {
        failure = shown;
        told += "ask " + number(reason) + " ";
        answers.push_back(FailureAnswer::Abort);
        const FailureAnswer answer = answers.front();
        answers.pop_front();
        return answer;
    }
    void SelectDeviceEntry() override { told += "select "; }
    void FillFromDeviceEntry() override { told += "fill "; }

private:
    static std::string number(TextId id) { return std::to_string(static_cast<std::int32_t>(id)); }
};
