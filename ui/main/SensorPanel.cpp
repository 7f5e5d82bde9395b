#include "ui/main/SensorPanel.h"

#include "session/clsSession.h"
#include "session/modPortMemory.h"
#include "store/modGlobals.h"
#include "ui/main/Icons.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/Named.h"
#include "ui/widgets/PortList.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/Waiting.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QToolButton>

SensorPanel::SensorPanel(QWidget* parent)
    : QGroupBox(parent), lblAverageDepth(Named<QLabel>("lblAverageDepth", this)),
      cmbAverageDepth(Named<QComboBox>("cmbAverageDepth", this)),
      chkMovingAverage(Named<QCheckBox>("chkMovingAverage", this)), chkRedLaser(Named<QCheckBox>("chkRedLaser", this))
{
    setObjectName(QStringLiteral("fraRVQ"));
    lblAverageDepth->setBuddy(cmbAverageDepth);
    for (const std::string_view depth : kAverageDepthTexts) {
        cmbAverageDepth->addItem(FromUtf8(depth));
    }
    cmbAverageDepth->setCurrentIndex(-1);
    auto* grid = new QGridLayout(this);
    grid->addWidget(lblAverageDepth, 0, 0);
    grid->addWidget(cmbAverageDepth, 0, 1);
    grid->addWidget(chkMovingAverage, 1, 0, 1, 2);
    grid->addWidget(chkRedLaser, 2, 0, 1, 2);
    grid->setColumnStretch(1, 1);
    SetTextIds(this, TextId::FrameSensorSettings);
    SetTextIds(lblAverageDepth, TextId::CaptionAverageDepth);
    SetTextIds(cmbAverageDepth, TextId::None, TextId::ToolTipAverageDepth);
    SetTextIds(chkMovingAverage, TextId::CheckMovingAverage, TextId::ToolTipMovingAverage);
    SetTextIds(chkRedLaser, TextId::CheckRedLaser, TextId::ToolTipRedLaser);
}

SensorPanel::~SensorPanel()
{
    if (m_session != nullptr) {
        m_session->Leave(*this);
    }
}

void SensorPanel::Follow(clsSession& session)
{
    m_session = &session;
    connect(cmbAverageDepth, &QComboBox::activated, this, [this](int index) {
        Guarded([&] { m_session->Loop().ChangeSetting(&ParameterSet::AverageDepth, index, PumpEvents); });
    });
    connect(chkMovingAverage, &QCheckBox::clicked, this, [this](bool checked) {
        Guarded([&] { m_session->Loop().ChangeSetting(&ParameterSet::MovingAverage, checked ? 1 : 0, PumpEvents); });
    });
    connect(chkRedLaser, &QCheckBox::clicked, this,
            [this](bool checked) { Guarded([&] { m_session->Loop().SwitchRedLaser(checked); }); });
    session.Listen(*this);
    ShowRule({});
}

void SensorPanel::Localise()
{
    chkMovingAverage->setShortcut(Qt::Key_F8);
    chkRedLaser->setShortcut(Qt::Key_F9);
}

void SensorPanel::ShowRule(const ControlRule& rule)
{
    if (rule.Start != m_usable) {
        m_usable = rule.Start;
        for (QWidget* control : std::initializer_list<QWidget*>{cmbAverageDepth, chkMovingAverage, chkRedLaser}) {
            control->setEnabled(rule.Start);
        }
    }
}

/// None of these triggers the controls' own actions, so reading the sensor never sends anything back to it.
void SensorPanel::ShowSensorSettings(const SensorSettings& settings)
{
    cmbAverageDepth->setCurrentIndex(settings.AverageDepth);
    chkMovingAverage->setChecked(settings.MovingAverage);
    chkRedLaser->setChecked(settings.RedLaser);
}

PortPanel::PortPanel(QWidget* parent)
    : QGroupBox(parent), cmbComPort(Named<PortList>("cmbComPort", this)),
      cmbBaudrate(Named<QComboBox>("cmbBaudrate", this)), cmdFindPort(Named<QToolButton>("cmdFindPort", this))
{
    setObjectName(QStringLiteral("fraComport"));
    auto* row = new QHBoxLayout(this);
    row->addWidget(cmbComPort, 1);
    row->addWidget(cmdFindPort);
    row->addWidget(cmbBaudrate, 1);
    cmdFindPort->setIcon(DrawnIconOf(Symbol::Find));
    cmdFindPort->setAutoRaise(true);
    connect(cmdFindPort, &QToolButton::clicked, this, &PortPanel::findWanted);
    SetTextIds(this, TextId::FrameSerialInterface);
    SetTextIds(cmbComPort, TextId::None, TextId::ToolTipPort);
    SetTextIds(cmbBaudrate, TextId::None, TextId::ToolTipBaudrate);
    SetTextIds(cmdFindPort, TextId::None, TextId::ToolTipFind);
}

void PortPanel::Follow(clsSession& session, modGlobals::Settings& settings, const modPComm::PortDevices& devices)
{
    m_session = &session;
    m_settings = &settings;
    m_devices = &devices;
    settings.Comport = cmbComPort->Fill(devices, settings.Comport);
    settings.Baudrate = FillBaudrates(*cmbBaudrate, settings.Baudrate);
    connect(cmbComPort, &QComboBox::activated, this, [this] { Guarded([this] { cmbComPort_Click(); }); });
    connect(cmbBaudrate, &QComboBox::activated, this,
            [this](int index) { Guarded([&] { cmbBaudrate_Click(index); }); });
}

void PortPanel::Localise(std::int32_t language)
{
    cmbComPort->Localise(language);
    cmbComPort->setAccessibleName(Text(TextId::ToolTipPort, language));
    cmbBaudrate->setAccessibleName(Text(TextId::ToolTipBaudrate, language));
    cmdFindPort->setAccessibleName(Text(TextId::ToolTipFind, language));
}

void PortPanel::Choose(std::int32_t port, std::int32_t rate)
{
    cmbComPort->Fill(*m_devices, port);
    if (rate != 0) {
        TakeOverRate(rate);
    }
    cmbComPort_Click();
}

void PortPanel::ChooseRate(std::int32_t rate)
{
    TakeOverRate(rate);
    m_session->Loop().ChangeBaudrate();
}

void PortPanel::TakeOverRate(std::int32_t rate)
{
    m_settings->Baudrate = FillBaudrates(*cmbBaudrate, rate);
}

void PortPanel::cmbComPort_Click()
{
    m_settings->Comport = cmbComPort->Port();
    modPortMemory::Remember(m_settings->Comport, *m_devices, m_settings->Devices);
    m_session->Loop().ChangePort();
    emit chosen();
}

void PortPanel::cmbBaudrate_Click(int index)
{
    m_settings->Baudrate = RateOfIndex(index);
    m_session->Loop().ChangeBaudrate();
}
