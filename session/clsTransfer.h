// Carries the parameter set between the sensor and its entry in the list of configurations: reading, sending, storing
// in the sensor, factory defaults. It has no widgets: it reports to a view and waits with the event pump it is given.
#pragma once

#include "base/Operation.h"
#include "sensor/modRVQComm.h"
#include "session/WriteReport.h"
#include "session/clsWriteCircle.h"
#include "store/Configuration.h"
#include "texts/TextId.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

class clsWriteKeeper;

/// `Chosen` sends some of a set's values, `Undo` those that lead back to the set before the last write.
enum class TransferJob : std::uint8_t { Upload, Download, ReadBack, Store, Defaults, Chosen, Undo };

/// The progress of a transfer.
struct TransferProgress {
    std::int32_t step = 0;        ///< 1..steps
    std::int32_t steps = 0;       ///< 0: unknown, the transfer waits for one answer
    TextId textId = TextId::None; ///< what is being done; while a parameter is sent, its caption
};

enum class FailureAnswer : std::uint8_t { Abort, Retry, Ignore };

class TransferView {
public:
    virtual ~TransferView() = default;

    /// Called at the start and at the end: controls follow the enabling rule.
    virtual void ShowBusy(bool busy) = 0;
    /// The text of `lblStatus`; `None` clears it.
    virtual void ShowStatusText(TextId textId) = 0;
    /// `lblStatus` is red when something has failed, else black.
    virtual void ShowFailed(bool failed) = 0;
    /// Shows what has failed and why, in red, with the second text inside the first. It remains readable when the
    /// sensor disconnects and comes back.
    virtual void ShowFailure(TextId textId, TextId reasonTextId) = 0;
    virtual void ShowProgress(const TransferProgress& progress) = 0;
    /// What has become of a write. It comes last, after the texts, once the keeper has noted it, and only with a
    /// keeper. It must not wait: the measurement goes on afterwards.
    virtual void ShowReport(const WriteReport& report) = 0;
    /// The set before a write cannot be saved as this file: whether to write nevertheless.
    virtual bool MayWriteWithoutBackup(const std::filesystem::path& file, std::error_code why) = 0;
    /// Asks in a box with Abort, Retry and Ignore. The box reports the failure, then the reason; `failure` says which
    /// value it is about and how far the sending has come. It must close with Abort when the session ends.
    virtual FailureAnswer AskAboutFailure(TextId reasonTextId, const TransferFailure& failure) = 0;
    /// Selects the device entry's line as the user would: its values are shown, `cmdDelete` follows.
    virtual void SelectDeviceEntry() = 0;
    /// Selects the line without these effects, and fills the fields from the device entry.
    virtual void FillFromDeviceEntry() = 0;
};

/// The codes that an upload sends, in order. Parameters that the type of sensor (serial or Profibus) does not have are
/// left out. The four values of the echo filter are never sent. The rain filter is sent last, when one is chosen and
/// `sensor` has it. The thresholds of Q2 are sent only while the analog output, which takes its place, is off; the
/// logic of both switches is always sent.
std::vector<std::string_view> UploadCodes(const ParameterSet& set, const SensorIdentity& sensor);

/// Each act returns when it has ended, successfully or not; `pumpEvents` passes the time. A running
/// measurement is stopped before and restarted afterwards. An act does nothing while another act or any other wait for
/// the sensor is running, or when the program ends.
class clsTransfer {
public:
    /// `entry` is the sensor's entry in the list of configurations. All must outlive the transfer. With a keeper, every
    /// write goes the full circle: the sensor's set is read and backed up before it, read again and compared after it,
    /// reported to view and keeper, and can be undone. What the write itself sends, and says, stays the same. Nothing
    /// is written without the consent of the view when the backup fails, nor when another sensor answers than the one
    /// that was known. A set that cannot be read before the write is taken as last reported. After a write the entry
    /// has what was read back, however it has ended.
    clsTransfer(clsRVQ& device, Configuration& entry, TransferView& view, modRVQComm::PumpEvents pumpEvents,
                clsWriteKeeper* keeper = nullptr);

    /// Reads the sensor's set into the entry; a failure leaves the entry as it was.
    void Download();
    /// Sends the entry's values and reads them back. When nothing is read back, the entry takes what the sensor last
    /// reported or acknowledged. Abort, or another sensor on the port, ends the upload at once: nothing more is sent,
    /// and the measurement loop resumes a measurement that was stopped. A sensor that has restarted has lost the values
    /// sent to it, so Retry then begins with the first value.
    void Upload();
    /// Makes the sensor store the values it works with ("999").
    void StoreInSensor();
    /// Sets the sensor to its factory defaults ("000") and reads them back.
    void SetDefaults();

    /// Sends the values that `target` has for the codes, in the order of an upload; other values of the sensor stay.
    /// Codes without a value to send are left out. The window's fields stay as they are; the rest is as with `Upload`.
    void SendChosen(const ParameterSet& target, const std::vector<std::string>& codes);
    /// Sends what leads back to the set before the last write, as `SendChosen` does; does nothing when there is no such
    /// write to this sensor. When the sensor has these values already, nothing is sent and that write is forgotten.
    void UndoLast();
    /// Ends an upload or the sending of chosen values after the value that is under way; the rest is not sent.
    void Cancel() { m_isCancelled = true; }

    // The same as operations, for a session that is driven by ticks alone: one step after each tick.
    Operation<> Downloading() { return running({TransferJob::Download}); }
    Operation<> Uploading() { return running({TransferJob::Upload}); }
    Operation<> Storing() { return running({TransferJob::Store}); }
    Operation<> SettingDefaults() { return running({TransferJob::Defaults, TransferJob::ReadBack}); }

    Operation<> SendingChosen(const ParameterSet& target, const std::vector<std::string>& codes);
    Operation<> Undoing();

    bool IsBusy() const { return m_busy; }

private:
    Operation<> running(std::vector<TransferJob> jobs);
    Operation<bool> performing(TransferJob job);
    Operation<bool> sendingAll();
    Operation<FailureAnswer> sendingOne(std::string code);
    Operation<> readingSet(TransferJob job);
    Operation<bool> readingDump(TransferJob job);
    Operation<> commanding(std::string code, TransferJob job);
    FailureAnswer ask(std::int32_t verdict, const std::string& code);
    bool isSameSensor() const;
    TextId whyNothingCame() const;

    // What goes around a write; clsTransferCircle.cpp.
    Operation<bool> beginningCircle(TransferJob job);
    bool isPlanned(TransferJob job);
    bool mayWrite();
    Operation<> closingCircle();
    TextId whyNotReadBack() const;

    clsRVQ& m_device;
    Configuration& m_entry;
    TransferView& m_view;
    modRVQComm::PumpEvents m_pumpEvents;
    clsWriteKeeper* m_keeper;
    ParameterSet m_target;             ///< of chosen values
    std::vector<std::string> m_chosen; ///< codes
    std::optional<clsWriteCircle> m_circle;
    bool m_isCancelled = false;
    bool m_busy = false;
    std::int32_t m_opening = 0;     ///< the port's count of openings when the transfer began
    TextId m_reason = TextId::None; ///< why the last value was not accepted
    bool m_isTaken = false;         ///< the sensor has acknowledged the last "999" or "000"
};
