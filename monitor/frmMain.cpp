#include "monitor/frmMain.h"

#include "chart/XYChart.h"
#include "monitor/LampShape.h"
#include "shell/Guarded.h"
#include "shell/Help.h"
#include "shell/Localise.h"
#include "shell/PortLists.h"
#include "shell/QtText.h"
#include "shell/frmAbout.h"
#include "shell/modAPI.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFile>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTimer>
#include <QWhatsThis>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>
#include <utility>

namespace {

constexpr double kValueFontScale = 2.2;
constexpr char kValueTemplate[] = "-000.00000000 mm"; // about the longest text

void blockFor(std::int32_t ms)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

template <typename Widget, typename... Arguments>
Widget* named(const char* name, Arguments&&... arguments)
{
    auto* widget = new Widget(std::forward<Arguments>(arguments)...);
    widget->setObjectName(QLatin1String(name));
    return widget;
}

/// Setting the same text again would lay the window out anew, twenty times a second.
void setChanged(QLabel* label, const QString& text)
{
    if (label->text() != text) {
        label->setText(text);
    }
}

struct Lamp {
    QRgb color;
    std::int32_t textId;
};

const Lamp& lampOf(std::int32_t commStatus)
{
    static constexpr Lamp kLamps[] = {
        {qRgb(255, 0, 0), 1160},   // no connection
        {qRgb(255, 255, 0), 1161}, // idle
        {qRgb(0, 255, 0), 1162},   // measuring
    };
    return kLamps[std::clamp<std::int32_t>(commStatus, DialogueNone, DialogueMeasuring)];
}

} // namespace

frmMain::frmMain(modGlobals::Settings& settings, const Ports& ports, Help& help)
    : m_settings(settings), m_ports(ports), m_help(help), m_consoleWindow(settings), m_console(m_consoleWindow),
      m_device(ports.port, blockFor), m_loop(m_device, settings, *this, DecimalSeparator()), m_timer(new QTimer(this))
{
    setObjectName(QStringLiteral("frmMain"));
    auto* centre = new QWidget(this);
    auto* grid = new QGridLayout(centre);
    grid->setHorizontalSpacing(fontMetrics().height());
    grid->addWidget(buildMeasurementFrame(), 0, 0);
    grid->addWidget(buildComportFrame(), 1, 0);
    grid->setRowStretch(2, 1);
    picGraph = named<XYChart>("picGraph", centre);
    grid->addWidget(picGraph, 0, 1, 3, 1);
    grid->setColumnStretch(1, 1);
    setCentralWidget(centre);
    buildMenus();
    buildStatusBar();
    resize(QSize(66, 40) * fontMetrics().height());
    m_settings.Comport = FillComPorts(*cmbComPort, m_ports.devices, m_settings.Comport);
    m_settings.Baudrate = FillBaudrates(*cmbBaudrate, m_settings.Baudrate);
    localise();
    connectControls();
    ShowDialogue(DialogueNone);
    ShowRule({});
    warnOfUnkeptSettings();
    FaultNoted = [this](std::string_view fault) { m_console.Important(fault); };
    m_timer->setObjectName(QStringLiteral("Timer"));
    m_timer->start(clsMeasurementLoop::kInterval_ms);
}

frmMain::~frmMain()
{
    FaultNoted = nullptr;
    m_loop.Unload();
}

void frmMain::MeasureWhenConnected()
{
    m_loop.MeasureWhenConnected();
}

void frmMain::closeEvent(QCloseEvent* event)
{
    m_timer->stop();
    m_loop.Unload();
    if (mnuOptionConsole->isChecked()) {
        m_console.CloseConsole();
    }
    modGlobals::SaveGlobalSettings(m_settings);
    event->accept();
}

void frmMain::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        localise();
        ShowDialogue(std::exchange(m_shownDialogue, -1)); // the lamp's words
    }
    QMainWindow::changeEvent(event);
}

QWidget* frmMain::buildMeasurementFrame()
{
    fraMeasurement = named<QGroupBox>("fraMeasurement", this);
    shpLamp = named<LampShape>("shpLamp", fraMeasurement);
    lblLamp = named<QLabel>("lblLamp", fraMeasurement);
    lblMeasCaption = named<QLabel>("lblMeasCaption", fraMeasurement);
    lblMeasValue = named<QLabel>("lblMeasValue", fraMeasurement);
    lblShutDown = named<QLabel>("lblShutDown", fraMeasurement);
    lblTempCaption = named<QLabel>("lblTempCaption", fraMeasurement);
    lblTemperature = named<QLabel>("lblTemperature", fraMeasurement);
    cmdStart = named<QPushButton>("cmdStart", QStringLiteral("Start"), fraMeasurement);
    cmdSingleValue = named<QPushButton>("cmdSingleValue", QStringLiteral("Single"), fraMeasurement);
    chkTempMeasurement = named<QCheckBox>("chkTempMeasurement", fraMeasurement);

    QFont large = font();
    large.setPointSizeF(large.pointSizeF() * kValueFontScale);
    large.setBold(true);
    lblMeasValue->setFont(large);
    lblMeasValue->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    // As wide as the longest text, so that the column keeps its width whatever is measured.
    lblMeasValue->setMinimumWidth(QFontMetrics(large).horizontalAdvance(QLatin1String(kValueTemplate)));
    lblMeasValue->setMinimumHeight(QFontMetrics(large).height());
    QFont bold = font();
    bold.setBold(true);
    lblShutDown->setFont(bold);
    QSizePolicy keepsItsPlace = lblShutDown->sizePolicy();
    keepsItsPlace.setRetainSizeWhenHidden(true);
    lblShutDown->setSizePolicy(keepsItsPlace);
    lblShutDown->hide();

    auto* grid = new QGridLayout(fraMeasurement);
    grid->addWidget(shpLamp, 0, 0);
    grid->addWidget(lblLamp, 0, 1, 1, 3);
    grid->addWidget(lblMeasCaption, 1, 0, 1, 4);
    grid->addWidget(lblMeasValue, 2, 0, 1, 4);
    grid->addWidget(lblTempCaption, 3, 0, 1, 2);
    grid->addWidget(lblTemperature, 3, 2, 1, 2, Qt::AlignRight);
    grid->addWidget(lblShutDown, 4, 0, 1, 4);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdStart, 1);
    buttons->addWidget(cmdSingleValue, 1);
    grid->addLayout(buttons, 5, 0, 1, 4);
    grid->addWidget(chkTempMeasurement, 6, 0, 1, 4);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);
    return fraMeasurement;
}

QWidget* frmMain::buildComportFrame()
{
    fraComport = named<QGroupBox>("fraComport", this);
    cmbComPort = named<QComboBox>("cmbComPort", fraComport);
    cmbBaudrate = named<QComboBox>("cmbBaudrate", fraComport);
    auto* row = new QHBoxLayout(fraComport);
    row->addWidget(cmbComPort, 1);
    row->addWidget(cmbBaudrate, 1);
    return fraComport;
}

void frmMain::buildMenus()
{
    const auto menu = [](QMenu* created, const char* name) {
        created->setObjectName(QLatin1String(name));
        return created;
    };
    mnuFile = menu(menuBar()->addMenu(QString()), "mnuFile");
    mnuOptions = menu(menuBar()->addMenu(QString()), "mnuOptions");
    mnuOptionLanguage = menu(mnuOptions->addMenu(QString()), "mnuOptionLanguage");
    mnuHelp = menu(menuBar()->addMenu(QString()), "mnuHelp");
    mnuFileExit = addAction(mnuFile, "mnuFileExit", [this] { close(); });
    mnuFileExit->setShortcut(QKeySequence::Quit);
    mnuOptionLanguageDEEN =
        addAction(mnuOptionLanguage, "mnuOptionLanguageDEEN", [this] { mnuOptionLanguageDEEN_Click(); });
    mnuOptionConsole = addAction(mnuOptions, "mnuOptionConsole", [this] { mnuOptionConsole_Click(); });
    mnuOptionConsole->setCheckable(true);
    mnuHelpContents = addAction(mnuHelp, "mnuHelpContents", [this] { mnuHelpContents_Click(); });
    mnuHelpWhatsThis = addAction(mnuHelp, "mnuHelpWhatsThis", [] { QWhatsThis::enterWhatsThisMode(); });
    mnuHelpWhatsThis->setShortcut(QKeySequence::WhatsThis);
    mnuHelpBar = mnuHelp->addSeparator();
    mnuHelpBar->setObjectName(QStringLiteral("mnuHelpBar"));
    mnuHelpAbout = addAction(mnuHelp, "mnuHelpAbout", [this] { mnuHelpAbout_Click(); });
    mnuHelpAbout->setMenuRole(QAction::AboutRole);
}

QAction* frmMain::addAction(QMenu* menu, const char* name, const std::function<void()>& act)
{
    auto* action = new QAction(this);
    action->setObjectName(QLatin1String(name));
    connect(action, &QAction::triggered, this, [act] { Guarded(act); });
    menu->addAction(action);
    return action;
}

void frmMain::buildStatusBar()
{
    for (std::size_t i = 0; i < sbar.size(); ++i) {
        sbar[i] = new QLabel(this);
        sbar[i]->setObjectName(QStringLiteral("sbar_%1").arg(i + 1));
        // A long text must not widen the window.
        sbar[i]->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    }
    sbar[2]->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    statusBar()->addWidget(sbar[0], 2);
    statusBar()->addWidget(sbar[1], 3);
    statusBar()->addPermanentWidget(sbar[2]);
    statusBar()->setContentsMargins(fontMetrics().height() / 2, 0, 0, 0);
}

void frmMain::connectControls()
{
    connect(m_timer, &QTimer::timeout, this, [this] { Guarded([this] { timer_Tick(); }); });
    connect(cmdStart, &QPushButton::clicked, this, [this] { Guarded([this] { m_loop.StartStop(); }); });
    connect(cmdSingleValue, &QPushButton::clicked, this, [this] { Guarded([this] { m_loop.RequestSingleValue(); }); });
    connect(chkTempMeasurement, &QCheckBox::clicked, this,
            [this](bool checked) { Guarded([&] { m_loop.PollTemperature(checked); }); });
    connect(cmbComPort, &QComboBox::activated, this, [this](int index) { Guarded([&] { cmbComPort_Click(index); }); });
    connect(cmbBaudrate, &QComboBox::activated, this,
            [this](int index) { Guarded([&] { cmbBaudrate_Click(index); }); });
}

void frmMain::localise()
{
    SetTextIds(this, 1100);
    SetTextIds(fraMeasurement, 1110);
    SetTextIds(fraComport, 1101);
    SetTextIds(lblMeasCaption, 1111);
    SetTextIds(lblTempCaption, 1112);
    SetTextIds(chkTempMeasurement, 1113, 1172);
    SetTextIds(lblShutDown, 1164);
    SetTextIds(cmdStart, 0, 1170);
    SetTextIds(cmdSingleValue, 0, 1171);
    SetTextIds(cmbComPort, 0, 1173);
    SetTextIds(cmbBaudrate, 0, 1174);
    LocaliseForm(*this, m_settings.Language);
    mnuFile->setTitle(text(1140));
    mnuFileExit->setText(text(1141));
    mnuOptions->setTitle(text(1142));
    mnuOptionLanguage->setTitle(text(1143));
    mnuOptionLanguageDEEN->setText(text(1144));
    mnuHelp->setTitle(text(1145));
    mnuOptionConsole->setText(text(1052));
    mnuHelpContents->setText(text(1050));
    mnuHelpWhatsThis->setText(text(1051));
    mnuHelpAbout->setText(text(1146));
    cmdStart->setShortcut(Qt::Key_F5);
    cmdSingleValue->setShortcut(Qt::Key_F6);
    shpLamp->setAccessibleName(text(1163));
    cmbComPort->setAccessibleName(text(1173));
    cmbBaudrate->setAccessibleName(text(1174));
    picGraph->setAccessibleName(text(1165));
    picGraph->EmptyText(text(1166));
}

void frmMain::timer_Tick()
{
    m_loop.Tick(modAPI::LocalTime());
    explainFailure();
}

/// Said once, and as long as nothing else is shown there: everything but the settings works.
void frmMain::warnOfUnkeptSettings()
{
    if (!m_settings.IniFile.empty() && !modGlobals::CanKeepSettings(m_settings)) {
        const QString folder = QFile::decodeName(std::filesystem::path(m_settings.IniFile).parent_path().c_str());
        sbar[1]->setText(text(1175).arg(folder));
        sbar[1]->setToolTip(sbar[1]->text());
    }
}

/// Why the port cannot be opened stands in the tool tip of the message panel and, when it changes, in the console.
void frmMain::explainFailure()
{
    const QString why = m_device.PortIsOpen ? QString() : openFailureText();
    if (sbar[0]->toolTip() != why) {
        sbar[0]->setToolTip(why);
        noteFailure();
    }
}

void frmMain::noteFailure()
{
    if (const QString why = sbar[0]->toolTip(); !why.isEmpty()) {
        m_console.Important(ToBytes(why));
    }
}

QString frmMain::openFailureText() const
{
    using modPComm::OpenProblem;
    const modPComm::OpenFailure failure = m_ports.lastFailure();
    const QString device = QFile::decodeName(failure.device.c_str());
    switch (failure.problem) {
    case OpenProblem::None:
        break;
    case OpenProblem::NoDevice:
        return device.isEmpty() ? text(1180) : text(1181).arg(device);
    case OpenProblem::Busy:
        return text(1182).arg(device);
    case OpenProblem::NoPermission:
        return text(1183).arg(device, QString::fromStdString(failure.group));
    case OpenProblem::NotATerminal:
        return text(1184).arg(device);
    case OpenProblem::Other:
        return text(1185).arg(device, QString::fromStdString(failure.reason));
    }
    return {};
}

void frmMain::cmbComPort_Click(int index)
{
    m_settings.Comport = index + 1;
    m_loop.ChangePort();
}

void frmMain::cmbBaudrate_Click(int index)
{
    m_settings.Baudrate = clsRVQ::RateOfIndex(index);
    m_loop.ChangeBaudrate();
}

void frmMain::mnuOptionLanguageDEEN_Click()
{
    m_settings.Language = m_settings.Language == LanguageGerman ? LanguageEnglish : LanguageGerman;
    m_help.SetHelpFile();
    LocaliseOpenWindows(m_settings.Language);
}

void frmMain::mnuOptionConsole_Click()
{
    if (mnuOptionConsole->isChecked()) {
        m_console.WindowTitle = "Orvex Monitor";
        m_console.LoadConsole();
        noteFailure();
    } else {
        m_console.CloseConsole();
    }
}

void frmMain::mnuHelpContents_Click()
{
    m_help.ShowHelpTopic(*this, "Start");
}

void frmMain::mnuHelpAbout_Click()
{
    frmAbout(this, m_settings).exec();
}

QString frmMain::text(std::int32_t id) const
{
    return Text(id, m_settings.Language);
}

void frmMain::Echo(std::string_view received)
{
    if (mnuOptionConsole->isChecked()) {
        m_console.WriteOut(received);
    }
}

void frmMain::ShowDistance(const std::string& distance)
{
    const QString shown = FromBytes(distance);
    setChanged(lblMeasValue, shown);
    if (DistanceShown && !shown.isEmpty()) {
        DistanceShown(shown);
    }
}

void frmMain::ShowTemperature(const std::string& temperature)
{
    setChanged(lblTemperature, FromBytes(temperature));
}

void frmMain::ShowStatus(std::int32_t panel, std::string_view message)
{
    setChanged(sbar.at(static_cast<std::size_t>(panel - 1)), FromUtf8(message));
}

void frmMain::ShowDialogue(std::int32_t commStatus)
{
    if (commStatus == m_shownDialogue) {
        return;
    }
    m_shownDialogue = commStatus;
    const Lamp& lamp = lampOf(commStatus);
    shpLamp->FillColor(lamp.color);
    shpLamp->setAccessibleDescription(text(lamp.textId));
    lblLamp->setText(text(lamp.textId));
}

void frmMain::ShowRunning(bool running)
{
    if (running != m_running) {
        m_running = running;
        cmdStart->setText(running ? QStringLiteral("Stop") : QStringLiteral("Start"));
        cmdStart->setShortcut(Qt::Key_F5); // a new text takes the shortcut away
    }
}

void frmMain::ShowShutDown(bool shutDown)
{
    lblShutDown->setVisible(shutDown);
}

void frmMain::ShowRule(const ControlRule& rule)
{
    cmdStart->setEnabled(rule.Start);
    cmdSingleValue->setEnabled(rule.Single);
}

void frmMain::ResetChart()
{
    picGraph->Reset();
}

void frmMain::ShowUnit(std::string_view unit)
{
    picGraph->YTitle(QStringLiteral("[ %1 ]").arg(FromUtf8(unit)));
}

void frmMain::AddChartPoint(double time, double value)
{
    picGraph->AddPoint(time, value);
}

void frmMain::ShowChartTime(double time)
{
    picGraph->ShowTime(time);
}
