// Carries out commands from outside on one session, one after the other, with the operations that windows and rvqctl
// use. Nothing here waits: an operation makes a step after each tick.
#pragma once

#include "base/Operation.h"
#include "gateway/GatewayMessages.h"
#include "session/SessionListener.h"
#include "session/clsSession.h"
#include "session/clsTransfer.h"
#include "session/modPlan.h"
#include "store/Configuration.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

class clsCommandRun : private SessionListener, private TransferView {
public:
    using Tell = std::function<void(const CommandAnswer&)>;

    /// `session` must outlive the object and what it has started.
    explicit clsCommandRun(clsSession& session);
    ~clsCommandRun() override;
    clsCommandRun(const clsCommandRun&) = delete;
    clsCommandRun& operator=(const clsCommandRun&) = delete;

    /// Queues a command in the session of `run`. It is answered exactly once, also when the session ends before;
    /// not any longer when `tell` holds nothing.
    static void Start(const std::shared_ptr<clsCommandRun>& run, const GatewayCommand& command, double now,
                      std::shared_ptr<Tell> tell);
    /// Commands that are not answered yet.
    std::size_t Open() const { return m_open; }

private:
    class Reply;
    static Operation<> running(std::shared_ptr<Reply> reply, GatewayCommand command, double since);
    Operation<> performing(const GatewayCommand& command, CommandAnswer& answer);
    Operation<> starting(CommandAnswer& answer);
    Operation<> stopping(CommandAnswer& answer);
    Operation<> requestingSingle(CommandAnswer& answer);
    Operation<> readingTemperature(CommandAnswer& answer);
    Operation<> switchingLaser(bool on, CommandAnswer& answer);
    Operation<> readingSet(CommandAnswer& answer);
    Operation<bool> askingTemperature();
    Operation<bool> awaitingSample(std::int64_t before, double patience_s);

    // Writing (clsCommandRunWrite.cpp).
    Operation<> writing(const GatewayCommand& command, CommandAnswer& answer);
    Operation<std::optional<modPlan::Plan>> planning(const GatewayCommand& command, CommandAnswer& answer);
    Operation<> storing(CommandAnswer& answer);
    void tellReport(CommandAnswer& answer) const;
    void tellValues(const modPlan::Plan& plan, CommandAnswer& answer) const;

    void Sampled(std::span<const Measurement> samples, std::string_view temperature) override;
    void ShowBusy(bool) override {}
    void ShowStatusText(TextId) override {}
    void ShowFailed(bool) override {}
    void ShowFailure(TextId textId, TextId reasonTextId) override;
    void ShowProgress(const TransferProgress&) override {}
    void ShowReport(const WriteReport& report) override { m_report = report; }
    bool MayWriteWithoutBackup(const std::filesystem::path&, std::error_code) override { return false; }
    FailureAnswer AskAboutFailure(TextId, const TransferFailure&) override { return FailureAnswer::Abort; }
    void SelectDeviceEntry() override {}
    void FillFromDeviceEntry() override {}

    clsSession& m_session;
    clsRVQ& m_device;
    Configuration m_entry;
    clsTransfer m_transfer;
    std::size_t m_open = 0;
    std::int64_t m_samples = 0; ///< that have come
    Measurement m_sample;       ///< the last one
    std::string m_failure;      ///< of the transfer, said last
    std::optional<WriteReport> m_report;
};
