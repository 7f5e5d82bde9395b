// The window with the traffic of the line: what was sent and received, and what each piece means. Switched on, it also
// sends what the operator types.
#pragma once

#include "texts/TextId.h"
#include "ui/console/TrafficModel.h"

#include <QDialog>

#include <functional>
#include <string>

class QCheckBox;
class QComboBox;
class QHBoxLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QTableView;
class clsSession;

namespace modGlobals {
struct Settings;
}

class frmTraffic : public QDialog {
    Q_OBJECT

public:
    /// The traffic is noted as long as the window exists. Both must outlive it.
    frmTraffic(QWidget& owner, clsSession& session, const modGlobals::Settings& settings);
    ~frmTraffic() override;

    /// Shows what has come; the window does so by itself some times a second.
    void Follow();
    /// Asks for the file to save; empty when the operator cancels.
    std::function<QString(const QString& proposal)> ChooseFile;

protected:
    void changeEvent(QEvent* event) override;

private:
    QHBoxLayout* buildChoices();
    void buildTable();
    QHBoxLayout* buildHand();
    QHBoxLayout* buildButtons();
    QPushButton* addButton(const char* name, TextId tag, TextId toolTip, QHBoxLayout& row);
    void localise();
    void fill(QComboBox& list, TextId choices) const;
    void filter();
    void follow(bool isPaused);
    void showState();
    void showHand();
    std::string typed() const;
    void find(bool backwards);
    void cmdCopy_Click();
    void cmdSave_Click();
    void cmdSend_Click();
    QString text(TextId id) const;

    clsSession& m_session;
    const modGlobals::Settings& m_settings;
    TrafficModel* m_model;
    bool m_isAtEnd = true; ///< of the list, where the operator has left it
    QString m_news;        ///< what became of the last search or file

    QLabel *lblDirection = nullptr, *lblKind = nullptr, *lblHand = nullptr, *lblState = nullptr;
    QComboBox *cmbDirection = nullptr, *cmbKind = nullptr;
    QCheckBox *chkPause = nullptr, *chkHand = nullptr;
    QLineEdit *txtSearch = nullptr, *txtHand = nullptr;
    QTableView* tblTraffic = nullptr;
    QPushButton *cmdSend = nullptr, *cmdCopy = nullptr, *cmdSave = nullptr, *cmdClose = nullptr;
};
