// A settings window that answers questions from a list and writes down what it is told.
#pragma once

#include "session/clsTransfer.h"

#include <deque>
#include <string>
#include <utility>

class clsRecordingTransferView : public TransferView {
public:
    std::string told; ///< status texts, "!" for red, "!text:reason", "select", "fill" and "ask", in order
    std::deque<FailureAnswer> answers; ///< Abort when there are none left
    TransferProgress progress;

    std::string TakeTold() { return std::exchange(told, {}); }
    void ShowBusy(bool) override {}
    void ShowStatusText(std::int32_t id) override { told += id == 0 ? "" : std::to_string(id) + " "; }
    void ShowFailed(bool failed) override { told += failed ? "! " : ""; }
    void ShowFailure(std::int32_t id, std::int32_t reason) override
    {
        told += "!" + std::to_string(id) + ":" + std::to_string(reason) + " ";
    }
    void ShowProgress(const TransferProgress& shown) override { progress = shown; }
    FailureAnswer AskAboutFailure(std::int32_t reason) override
    {
        told += "ask " + std::to_string(reason) + " ";
        answers.push_back(FailureAnswer::Abort);
        const FailureAnswer answer = answers.front();
        answers.pop_front();
        return answer;
    }
    void SelectDeviceEntry() override { told += "select "; }
    void FillFromDeviceEntry() override { told += "fill "; }
};
