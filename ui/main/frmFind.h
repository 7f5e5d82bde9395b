// Looks for a sensor on all ports, shows each step, and lets the operator choose one that was found.
#pragma once

#include "port/clsPorts.h"
#include "session/clsFinder.h"

#include <QDialog>

#include <cstdint>
#include <optional>
#include <vector>

class QLabel;
class QListWidget;
class QPlainTextEdit;
class QPushButton;
class QTimer;

namespace modPComm {
class PortDevices;
}

class frmFind : public QDialog {
    Q_OBJECT

public:
    /// Begins at once. `devices` must outlive the window.
    frmFind(QWidget& owner, std::int32_t language, const modPComm::PortDevices& devices,
            std::vector<FindCandidate> candidates);

    /// The sensor to connect to, once the window was accepted.
    const std::optional<FoundSensor>& Chosen() const { return m_chosen; }

private:
    void buildForm();
    void begin();
    void step();
    void showStep(const FindStep& step);
    void showFound();
    void showChoice();
    void end(bool isStopped);
    void cmdFindStop_Click();
    void cmdFindUse_Click();

    std::int32_t m_language;
    clsPorts m_ports; ///< its own: the session's stay with the session
    std::vector<FindCandidate> m_candidates;
    std::optional<clsFinder> m_finder;
    std::optional<FoundSensor> m_chosen;
    QTimer* m_timer;
    QLabel* lblFindStep;
    QLabel* lblFound;
    QListWidget* lstFound;
    QLabel* lblFindNote;
    QPlainTextEdit* txtFindSteps;
    QPushButton* cmdFindStop;
    QPushButton* cmdFindUse;
    QPushButton* cmdFindClose;
};
