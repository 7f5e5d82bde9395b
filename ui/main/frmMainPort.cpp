// The way to the sensor: the search for it, and a baud rate that has changed.
#include "session/clsSession.h"
#include "session/modCandidates.h"
#include "store/modGlobals.h"
#include "ui/main/FirstSteps.h"
#include "ui/main/MeasurementPanel.h"
#include "ui/main/MessagePanel.h"
#include "ui/main/RateBar.h"
#include "ui/main/SensorPanel.h"
#include "ui/main/frmFind.h"
#include "ui/main/frmMain.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/PortWatch.h"

void frmMain::connectPort()
{
    const auto find = [this] { Guarded([this] { findSensor(); }); };
    connect(fraFirstSteps, &FirstSteps::searched, this, find);
    connect(fraComport, &PortPanel::findWanted, this, find);
    connect(fraComport, &PortPanel::chosen, this, [this] { m_openedPort = {}; });
    connect(fraRate, &RateBar::back, this, [this] { Guarded([this] { cmdRateBack_Click(); }); });
}

/// The port of a connection stays with it. A port without a sensor may well be the right one at a wrong rate, so the
/// session lets go of it during the search.
void frmMain::findSensor()
{
    const clsRVQ& device = m_session.Device();
    const bool isConnected = device.CommStatus() != DialogueNone || device.Wait().Running;
    if (!isConnected) {
        m_portWatch->Stop(); // its descriptor goes; the next tick renews it
        m_session.Loop().Rest(true);
    }
    modPComm::PortDevices searched = m_devices; // with numbers that are given for the search alone
    frmFind window(*this, m_settings.Language, searched,
                   modCandidates::Known(searched, isConnected ? m_settings.Comport : 0));
    window.exec();
    m_session.Loop().Rest(false);
    if (window.Chosen() && !device.Wait().Ended) {
        m_unconnectedTicks = 0;
        fraFirstSteps->hide();
        fraMeasurement->FocusStart(); // the button that had it may be hidden
        fraComport->Choose(window.Chosen()->port, window.Chosen()->rate);
    }
}

void frmMain::RateFollowed(std::int32_t former, std::int32_t rate)
{
    fraComport->TakeOverRate(rate);
    fraRate->Tell(former, rate);
    pnlMessages->ShowMessage(text(TextId::RateFollowed).arg(rate));
}

void frmMain::cmdRateBack_Click()
{
    fraRate->hide();
    fraMeasurement->FocusStart();
    fraComport->ChooseRate(fraRate->Former());
}
