// Puts two sets of parameters side by side: the sensor's, what the settings window holds, configurations, backups,
// factory defaults, or sets that the caller has. Where the left one is the connected sensor's, the ticked values of the
// right one can be sent to it. Works without a sensor, too.
#pragma once

#include "sensor/modCompare.h"
#include "sensor/modRVQComm.h"
#include "session/WriteReport.h"
#include "ui/settings/CompareModel.h"

#include <QDialog>
#include <QString>

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class Help;
class QCheckBox;
class QComboBox;
class QLabel;
class QLayout;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QTableView;
class TransferBox;
class clsConfigLibrary;
class clsWriteKeeper;
struct TransferProgress;

namespace modGlobals {
struct Settings;
}

class frmCompare : public QDialog {
    Q_OBJECT

public:
    /// What can be compared. Several sets of a kind count from 0: configurations in the order of the list, backups from
    /// the newest, the caller's states and other files in the order in which they came.
    enum class SetKind : std::uint8_t { Sensor, Window, Configuration, State, Factory, Backup, File };
    struct NamedSet {
        QString name;
        ParameterSet set;
    };
    /// A set from boxes that an operator fills, and the numbers among them that are not valid.
    struct EditedSet {
        ParameterSet set;
        std::vector<const ParameterDef*> refused{};
    };
    using Sender = std::function<void(const ParameterSet& target, const std::vector<std::string>& codes)>;

    /// What the window works with; all must outlive it. Only the first two are needed: what is missing is not offered.
    struct Context {
        const modGlobals::Settings& settings;
        Help& help;
        clsRVQ* device = nullptr;            ///< the sensor; with it and `pumpEvents` the window can send by itself
        clsConfigLibrary* library = nullptr; ///< the list of configurations
        std::string programFolder{};         ///< where file dialogs begin and the sheet is written
        std::function<EditedSet()> window{}; ///< what the settings window holds
        std::vector<NamedSet> states{};      ///< any sets that the caller has, such as states of a passport
        modRVQComm::PumpEvents pumpEvents{}; ///< passes the time while values are sent
        clsWriteKeeper* writes = nullptr;    ///< its backups are offered
        /// Sends in the caller's way instead; returns when that has ended. `cancel` then ends it earlier.
        Sender send{};
        std::function<void()> cancel{};
    };
    /// Tests replace them. An empty path means that the user has cancelled.
    struct Dialogs {
        std::function<std::string(const std::string& folder)> FileToLoad;
        std::function<std::string(const std::string& proposal)> FileToSave;
        std::function<void(const std::string& sheet)> OpenSheet;
    };

    frmCompare(QWidget* owner, const Context& context);
    ~frmCompare() override;

    Dialogs Boxes;
    /// Chooses both sides as the user would. False, with the sides as they were, when one of them is not offered,
    /// cannot be read, or is the sensor without a connection.
    bool Choose(SetKind left, SetKind right, int leftNumber = 0, int rightNumber = 0);
    /// The sensor on the left, with all ticked that can be sent from the right. False when they cannot be compared.
    bool Review(SetKind right, int number = 0);
    /// How many parameters differ.
    int Differing() const;
    /// While values are sent; for a caller that sends.
    void ShowProgress(const TransferProgress& progress);
    /// What became of what was sent, or why nothing was; the same.
    void ShowReport(const WriteReport& report);
    bool IsSending() const { return m_isSending; }
    /// Follows the sensor; a timer of the window calls it.
    void FollowDevice();
    /// While values are sent, it cancels that first, and the window closes when it has ended.
    void reject() override;

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Offered {
        SetKind kind;
        QString name{};
        std::filesystem::path file{};
        ParameterSet set{};
    };
    struct Side {
        int item = -1;
        EditedSet edited{};
    };
    enum SideIndex : std::size_t { Left, Right };

    void buildForm();
    QLayout* buildChoice();
    QLayout* buildFilter();
    void buildTable();
    QLayout* buildProgress();
    QLayout* buildButtons();
    void connectControls();
    void connectButton(const QPushButton* button, void (frmCompare::*act)());
    void localise();

    // Which sets there are, and which are compared (frmCompareSets.cpp).
    void offerSets();
    void offer(Offered offered);
    std::vector<Offered> backups() const;
    bool offerBackups();
    void fillLists();
    void enableSensor();
    QString nameOf(const Offered& offered) const;
    int itemOf(SetKind kind, int number) const;
    SetKind kindOf(SideIndex side) const;
    bool choose(SideIndex side, int item);
    bool readSet(const Offered& offered, EditedSet& into);
    bool readFile(const std::filesystem::path& file, ParameterSet& into);
    void list_Click(SideIndex side, int item);
    void readSides();
    void showSides();
    bool isConnected() const;

    // The rows (frmCompare.cpp).
    void compare();
    CompareLine lineOf(const ComparedRow& compared) const;
    QString valueText(const ParameterDef& row, const std::optional<std::int32_t>& value) const;
    QString obstacleText(const ParameterDef& row) const;
    bool isFound(const ParameterDef& row) const;
    bool isShown(const CompareLine& line) const;
    void showLines();
    void applyRule();
    QStringList columns() const;
    QString text(TextId id) const;
    void tell(const QString& message);

    // What the buttons do (frmCompareActions.cpp).
    void tickSelected();
    bool offersTicks() const;
    TextId whyNotNow() const;
    std::vector<std::string> tickedCodes() const;
    int hiddenTicks() const;
    void cmdSendChosen_Click();
    void send(const std::vector<std::string>& codes);
    void takeReport();
    void tellReport(const WriteReport& report);
    void cmdCancel_Click();
    void copy(bool selected);
    void cmdCopy_Click() { copy(false); }
    void cmdPrint_Click();
    void cmdSave_Click();
    void cmdHelp_Click();

    Context m_context;
    char m_decimalSeparator;
    std::unique_ptr<TransferBox> m_own;
    std::vector<Offered> m_offered; ///< the items of both lists; the one after them asks for another file
    std::array<Side, 2> m_sides;
    std::string m_serialNo;           ///< of the sensor that is shown
    std::vector<CompareLine> m_lines; ///< all, without headings
    PerParameter<bool> m_ticked;
    CompareModel* m_model;
    bool m_isSending = false;
    bool m_closesAfterwards = false;
    std::optional<WriteReport> m_report; ///< of what is being sent
    struct Followed {
        bool isConnected = false, isBusy = false;
        std::string serialNo{};
        bool operator==(const Followed&) const = default;
    } m_followed;
    std::optional<std::pair<std::uint64_t, std::string>> m_offeredFor; ///< what the backups were listed for

    std::array<QComboBox*, 2> m_lists{};
    QComboBox* cmbLeft = nullptr;
    QComboBox* cmbRight = nullptr;
    QCheckBox* chkOnlyDifferences = nullptr;
    QLineEdit* txtSearch = nullptr;
    QLabel* lblSummary = nullptr;
    QTableView* tblCompare = nullptr;
    QLabel* lblStatus = nullptr;
    QLabel* lblReport = nullptr;
    QLabel* lblProgress = nullptr;
    QProgressBar* prgTransfer = nullptr;
    QPushButton* cmdCancel = nullptr;
    QPushButton* cmdSendChosen = nullptr;
    QPushButton* cmdCopy = nullptr;
    QPushButton* cmdPrint = nullptr;
    QPushButton* cmdSave = nullptr;
    QPushButton* cmdHelp = nullptr;
    QPushButton* cmdClose = nullptr;
};
