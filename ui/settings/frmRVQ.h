// The settings window: shows one configuration at a time in its controls, and its buttons act on it. The main window
// takes no input meanwhile, but its timer continues and it can be closed.
#pragma once

#include "sensor/Fields.h"
#include "sensor/modChecks.h"
#include "session/clsTransfer.h"
#include "texts/TextId.h"
#include "ui/settings/FieldHistory.h"
#include "ui/settings/RVQBoxes.h"
#include "ui/settings/SettingsForm.h"
#include "ui/settings/frmCompare.h"

#include <QDialog>
#include <QPointer>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class Help;
class InputBlock;
class QMessageBox;
class clsConfigLibrary;
struct UnwrittenFile;

namespace modGlobals {
struct Settings;
}

class frmRVQ : public QDialog, private SettingsForm, private TransferView {
    Q_OBJECT

public:
    /// What the window works with; all must outlive it.
    struct Context {
        clsRVQ& device;
        clsConfigLibrary& library;
        const modGlobals::Settings& settings;
        Help& help;
        std::string programFolder;
        modRVQComm::PumpEvents pumpEvents;
        /// Called with a text that says what could not be kept in "RVQ.ini".
        std::function<void(const QString&)> tellUnkept = {};
        /// Backups, passport and the last write; null keeps none.
        clsWriteKeeper* writes = nullptr;
    };
    using ChangedAnswer = RVQDialogs::ChangedAnswer;
    using UnsentAnswer = RVQDialogs::UnsentAnswer;
    using Dialogs = RVQDialogs;

    frmRVQ(QWidget* owner, const Context& context);
    ~frmRVQ() override;

    Dialogs Boxes;
    /// Called in every tick: connection, marks and enabled controls follow the device.
    void FollowDevice();
    /// Whether the main window may close; asks when edits would be lost. It need not ask during a transfer, which the
    /// close ends. When the operator wants to send them first, `closeAgain` is called once all are sent.
    bool MayClose(std::function<void()> closeAgain = {});
    /// Called when the main window closes: boxes close with Abort, and this window closes too.
    void Unload();
    /// Closes the window, after a question when edits would be lost; refused while a transfer runs.
    void reject() override;

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void ShowBusy(bool busy) override;
    void ShowStatusText(TextId textId) override;
    void ShowFailed(bool failed) override;
    void ShowFailure(TextId textId, TextId reasonTextId) override;
    void ShowProgress(const TransferProgress& progress) override;
    void ShowReport(const WriteReport& report) override;
    bool MayWriteWithoutBackup(const std::filesystem::path& file, std::error_code why) override;
    FailureAnswer AskAboutFailure(TextId reasonTextId, const TransferFailure& failure) override;
    void SelectDeviceEntry() override;
    void FillFromDeviceEntry() override;

    void connectControls();
    void connectButton(const QPushButton* button, void (frmRVQ::*act)());
    void localise();
    void fillConfigurations();
    void begin();
    void fill(const Configuration& configuration);
    ShownSettings shown() const;
    void showOutcomes(const CopyOutcomes& outcomes);
    void applyRule();
    void markDifferences();
    struct State {
        std::int32_t commStatus = -1;
        bool unstored = false, busy = false;
        bool operator==(const State&) const = default;
    };
    State stateOf(const clsRVQ& device) const;
    void showInformation();

    // Edits, what stands at the fields, and the report of a write (frmRVQEdits.cpp).
    void connectEdits();
    void edited();
    void showValues(const ShownSettings& values);
    FieldHistory::Content content() const;
    void showContent(const FieldHistory::Content& content, bool isFilled);
    std::vector<const ParameterDef*> edits() const;
    void settle(const ParameterDef& row);
    bool mayDiscardEdits(std::function<void()> then);
    void chooseConfiguration(int line);
    std::string checked(const ParameterDef& row, const std::string& typed);
    void warnOf(const ShownSettings& values);
    QStringList notesOf(const ParameterDef& row) const;
    void showNotes();
    void followWrites();
    std::optional<double> timeOfNoted() const;
    void takeReport(const WriteReport& report);
    bool isSaidByBar() const;
    void activateComparison();
    void showReport();
    QString outcomeText(const ValueReport& value) const;
    QString valueText(const ParameterDef& row, std::int32_t value) const;
    QString rangeText(const ParameterDef& row) const;
    QString statusText() const;
    void saveAs(const std::string& path, const std::string& description);
    void showSource(const QString& source);
    void showStatus(const QString& status);
    bool mayWrite(const std::string& path);
    void takeOther(std::size_t line);
    void showUnwritten(const UnwrittenFile& unwritten);
    void showKept(std::size_t line);
    QString text(TextId id) const;
    Configuration& selected() const;

    void cmbConfig_Click(int index);
    void cmdLoad_Click();
    void import(const std::string& path);
    void cmdSave_Click();
    void cmdDelete_Click();
    void cmdDownload_Click();
    void cmdUpload_Click();
    void cmdSaveSettings_Click();
    void cmdSetDefaults_Click();
    frmCompare::EditedSet editedSet() const;
    frmCompare& newComparison();
    void openComparison(frmCompare& comparison);
    void cmdReview_Click();
    void cmdCompare_Click();
    void cmdUndo_Click();
    void cmdPrint_Click();
    void cmdHelp_Click();
    void cmdClose_Click();

    static constexpr int kDeviceLine = 0;

    Context m_context;
    char m_decimalSeparator;
    clsTransfer m_transfer;
    bool m_serial = true;
    bool m_begun = false;
    bool m_unloading = false;
    PerParameter<std::int32_t>
        m_shownChoices;       ///< as filled: a caption cannot be edited, and is saved and sent as it was
    int m_line = kDeviceLine; ///< of the list, as filled
    /// What is neither to be sent nor to be saved: as filled, as sent or as saved, whichever came last.
    ShownSettings m_settled;
    FieldHistory m_history;
    struct Note {
        BeyondLimit beyond = BeyondLimit::No;
        std::string typed, shown; ///< moved to a limit; valid as long as this is shown
        std::vector<Warning> warnings;
        std::optional<ValueReport> outcome; ///< until the field is edited or filled
    };
    PerParameter<Note> m_notes;
    std::optional<WriteReport> m_report; ///< as shown
    QStringList m_notValid;              ///< what the last upload left out, in words
    bool m_isSaidByBar = false;          ///< when it was shown
    std::optional<double> m_notedTime;   ///< of the keeper's last write when a report was taken
    TextId m_statusId = TextId::None, m_reasonId = TextId::None;
    /// The failure of a transfer, as passed to `ShowFailure`; it is shown again when the connection is back.
    std::pair<TextId, TextId> m_failure;
    TextId m_connection = TextId::None; ///< what was wrong with the connection
    State m_followed;                   ///< as the last tick found it
    QPointer<QWidget> m_focus;          ///< where it was before a transfer
    QMessageBox* m_question = nullptr;
    QPointer<frmCompare> m_comparison;
    std::function<void()> m_afterSending;     ///< what the operator wanted before the comparison was opened
    std::unique_ptr<InputBlock> m_inputBlock; ///< while a comparison is open
};
