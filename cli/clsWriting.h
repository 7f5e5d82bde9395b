// Writes to the connected sensor as the windows do, with backup, reading back, passport and report, and asks their
// questions on the terminal. Where nobody can be asked, options have the answers.
#pragma once

#include "cli/clsArguments.h"
#include "session/clsTransfer.h"
#include "session/modPlan.h"
#include "store/Configuration.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

class clsProgram;
class clsSensorRun;

class clsWriting : private TransferView {
public:
    static constexpr OptionDef kOnFailure = {"on-failure", 0, "abort|retry|ignore",
                                             "when a value is not accepted; without a terminal abort, else it asks"};
    static constexpr OptionDef kWithoutBackup = {"without-backup", 0, "",
                                                 "write even when the values before cannot be backed up"};
    static constexpr OptionDef kStore = {"store", 's', "", "store the values permanently in the sensor"};

    /// For a run that keeps writes and is connected. Throws UsageError.
    clsWriting(clsProgram& program, clsSensorRun& run, const clsArguments& arguments);

    /// Sends the values that `target` has for these codes and reports what became of them; with `kStore`, everything
    /// is then stored if all is as it should be. Without codes nothing is sent, which is said. When the operator ends
    /// the program meanwhile, the value under way is the last one, and the report says what is in the sensor.
    int Write(const ParameterSet& target, const std::vector<std::string>& codes);

private:
    void ShowBusy(bool) override {}
    void ShowStatusText(TextId) override {}
    void ShowFailed(bool) override {}
    void ShowFailure(TextId textId, TextId reasonTextId) override;
    void ShowProgress(const TransferProgress& progress) override;
    void ShowReport(const WriteReport& report) override { m_report = report; }
    bool MayWriteWithoutBackup(const std::filesystem::path& file, std::error_code why) override;
    FailureAnswer AskAboutFailure(TextId reasonTextId, const TransferFailure& failure) override;
    void SelectDeviceEntry() override {}
    void FillFromDeviceEntry() override {}
    int perform(Operation<> operation, bool storesNext = false);
    int tellReport();

    clsProgram& m_program;
    clsSensorRun& m_run;
    Configuration m_entry;
    clsTransfer m_transfer;
    bool m_stores, m_mayBeWithoutBackup;
    std::optional<FailureAnswer> m_answer; ///< to every question about a value
    int m_retries = 0;
    std::string m_failure; ///< what was said last
    std::optional<WriteReport> m_report;
};

/// Says what there is to say about a plan; false when it is refused.
bool IsAccepted(clsProgram& program, const modPlan::Plan& plan);
