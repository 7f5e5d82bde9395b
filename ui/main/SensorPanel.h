// The frames with the sensor's own settings (averaging and marker laser) and with its serial line.
#pragma once

#include "session/SessionListener.h"

#include <QGroupBox>

#include <cstdint>
#include <optional>

class PortList;
class QCheckBox;
class QComboBox;
class QLabel;
class QToolButton;
class clsSession;

namespace modGlobals {
struct Settings;
}
namespace modPComm {
class PortDevices;
}

/// Averaging and marker laser as the sensor reports them; a change goes to the sensor at once.
class SensorPanel : public QGroupBox, public SessionListener {
    Q_OBJECT

public:
    explicit SensorPanel(QWidget* parent);
    ~SensorPanel() override;

    /// Shows a session and sends it the operator's commands. Call it once; it must outlive the panel.
    void Follow(clsSession& session);
    /// Sets the shortcuts.
    void Localise();

    void ShowRule(const ControlRule& rule) override;
    void ShowSensorSettings(const SensorSettings& settings) override;

private:
    clsSession* m_session = nullptr;
    std::optional<bool> m_usable;
    QLabel* lblAverageDepth;
    QComboBox* cmbAverageDepth;
    QCheckBox* chkMovingAverage;
    QCheckBox* chkRedLaser;
};

/// Port number and rate; a change takes effect at once and is stored in the settings, with the device behind the port.
class PortPanel : public QGroupBox {
    Q_OBJECT

public:
    explicit PortPanel(QWidget* parent);

    /// All three must outlive the panel. A stored port or rate that is not in its list is replaced by the one shown.
    void Follow(clsSession& session, modGlobals::Settings& settings, const modPComm::PortDevices& devices);
    /// Sets the accessible names in a language.
    void Localise(std::int32_t language);
    /// Changes to another port as if the operator had chosen it; and to another rate, unless it is 0.
    void Choose(std::int32_t port, std::int32_t rate = 0);
    /// Changes the rate: as if the operator had chosen it, or because the line has it already.
    void ChooseRate(std::int32_t rate);
    void TakeOverRate(std::int32_t rate);

signals:
    void findWanted();

signals:
    /// The operator has chosen a port, perhaps the same one again.
    void chosen();

private:
    void cmbComPort_Click();
    void cmbBaudrate_Click(int index);

    clsSession* m_session = nullptr;
    modGlobals::Settings* m_settings = nullptr;
    const modPComm::PortDevices* m_devices = nullptr;
    PortList* cmbComPort;
    QComboBox* cmbBaudrate;
    QToolButton* cmdFindPort;
};
