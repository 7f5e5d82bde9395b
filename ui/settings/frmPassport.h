// The passports of the sensors as time lines: what was written when, by whom, and what became of it. Opens the state
// after any entry for a comparison, or leads a connected sensor back to it.
#pragma once

#include "ui/settings/PassportModel.h"

#include <QDialog>
#include <QString>

#include <cstdint>
#include <functional>
#include <optional>

class QComboBox;
class QLabel;
class QPlainTextEdit;
class QPushButton;
class QTableView;
class QTimer;
class clsRVQ;
class clsWriteKeeper;
struct Configuration;

namespace modGlobals {
struct Settings;
}

class frmPassport : public QDialog {
    Q_OBJECT

public:
    /// What the window works with; all must outlive it.
    struct Context {
        const clsRVQ& device;
        const clsWriteKeeper& writes;
        const modGlobals::Settings& settings;
    };
    frmPassport(QWidget& owner, const Context& context);

    /// Opens a state in a comparison, under a name in words. The button is disabled without it.
    std::function<void(const Configuration& state, const QString& name)> Compare;
    /// Leads the connected sensor to a state, once the operator has seen what that changes. As above.
    std::function<void(const Configuration& state)> Restore;
    /// Asks for the file of the export; empty when the operator cancels.
    std::function<QString(const QString& proposal)> ChooseFile;
    /// Follows connection and passports; the window does so by itself twice a second.
    void Follow();
    /// While an export is written, it cancels that first, and the window closes when it has ended.
    void reject() override;

protected:
    void changeEvent(QEvent* event) override;

private:
    QWidget* buildChoices();
    QWidget* buildEntries();
    QWidget* buildButtons();
    QPushButton* addButton(const char* name, TextId tag, TextId toolTip);
    void localise();
    void fillSensors();
    void fillParameters();
    void openPassport(std::optional<std::int64_t> kept = {});
    void readOn();
    void showEntry();
    void showNews();
    void showRule();
    std::filesystem::path chosenFile() const;
    const ParameterDef* chosenParameter() const;
    std::optional<modPassport::Entry> chosenEntry() const;
    std::optional<Configuration> chosenState() const;
    bool isConnected() const;
    void cmbParameter_Click();
    void cmdCompare_Click();
    void cmdRestore_Click();
    void cmdExport_Click();
    QString exportTo(const QString& file);
    QString text(TextId id) const;

    Context m_context;
    PassportModel* m_model;
    QTimer* m_reading;
    PassportText::Style m_style;
    std::uint64_t m_version = 0;        ///< of what is shown
    PassportModel::Codes m_listed;      ///< the changed parameters that the list begins with
    std::optional<std::int64_t> m_kept; ///< the place of the row to be chosen once it is read
    bool m_isExporting = false, m_closesAfterwards = false;
    QString m_news; ///< what became of the export

    QLabel *lblSensor = nullptr, *lblParameter = nullptr, *lblState = nullptr;
    QComboBox *cmbSensor = nullptr, *cmbParameter = nullptr;
    QTableView* tblPassport = nullptr;
    QPlainTextEdit* txtEntry = nullptr;
    QPushButton *cmdCompare = nullptr, *cmdRestore = nullptr, *cmdExport = nullptr, *cmdClose = nullptr;
};
