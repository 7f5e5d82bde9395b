#include "ui/main/frmMain.h"

#include "base/modAPI.h"
#include "base/modFiles.h"
#include "plot/modChartGlobals.h"
#include "port/SerialPort.h"
#include "sensor/Parameters.h"
#include "ui/chart/XYChart.h"
#include "ui/chart/frmChartSettings.h"
#include "ui/help/Help.h"
#include "ui/main/FirstSteps.h"
#include "ui/main/LampShape.h"
#include "ui/main/MessagePanel.h"
#include "ui/main/ValueLabel.h"
#include "ui/main/frmTextWindow.h"
#include "ui/recorder/frmRecorder.h"
#include "ui/settings/frmRVQ.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/InputGuards.h"
#include "ui/widgets/LineLabel.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/PortList.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/WindowPlace.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <limits>
#include <string_view>
#include <thread>
#include <utility>

namespace {

// A new chart has room for its range.
static_assert(modChartGlobals::kPointInterval_ms == clsMeasurementLoop::kInterval_ms);

/// Whether there is a connection shows after two seconds; until then the window offers no other way.
constexpr std::int32_t kTicksBeforeOffer = 2000 / clsMeasurementLoop::kInterval_ms;

void blockFor(std::int32_t ms)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

struct Lamp {
    QRgb color;
    TextId textId;
};

const Lamp& lampOf(std::int32_t commStatus)
{
    static constexpr Lamp kLamps[] = {
        {qRgb(255, 0, 0), TextId::LampNoConnection},
        {qRgb(255, 255, 0), TextId::LampIdle},
        {qRgb(0, 255, 0), TextId::LampMeasuring},
    };
    return kLamps[std::clamp<std::int32_t>(commStatus, DialogueNone, DialogueMeasuring)];
}

/// What is shown has come just now; a text that is emptied has no age.
void noteValue(clsValueAge& age, const QString& shown)
{
    if (shown.isEmpty()) {
        age.Forget();
    } else {
        age.Arrived();
    }
}

} // namespace

frmMain::frmMain(modGlobals::Settings& settings, const Ports& ports, const Storage& storage, Help& help)
    : m_settings(settings), m_ports(ports), m_storage(storage), m_help(help), m_consoleWindow(settings),
      m_console(m_consoleWindow), m_device(ports.port, blockFor), m_loop(m_device, settings, *this, DecimalSeparator()),
      m_recorder(modAPI::ProgramFolder(storage.programFolder) / "REC"), m_timer(new QTimer(this))
{
    setObjectName(QStringLiteral("frmMain"));
    BuildForm(*this);
    fraFirstSteps = new FirstSteps(*picGraph);
    KeepWheelFromLists(*this);
    resize((QSize(66, 40) * fontMetrics().height()).boundedTo(screen()->availableSize()));
    new WindowPlace(*this, m_settings.IniFile);
    fillControls();
    localise();
    connectControls();
    connectMenus();
    connectRecorder();
    m_loop.PumpEvents = pumpEvents;
    ShowDialogue(DialogueNone);
    ShowRule({});
    FaultNoted = [this](const char* fault) { m_console.Important(ToBytes(QString::fromUtf8(fault))); };
    if (!m_settings.UnreadFile.empty()) {
        NoteFault(unkeptWarning().toUtf8().constData());
    }
    m_timer->setObjectName(QStringLiteral("Timer"));
    m_timer->start(clsMeasurementLoop::kInterval_ms);
}

void frmMain::fillControls()
{
    m_settings.Comport = cmbComPort->Fill(m_ports.devices, m_settings.Comport);
    m_settings.Baudrate = FillBaudrates(*cmbBaudrate, m_settings.Baudrate);
    for (const std::string_view depth : kAverageDepthTexts) {
        cmbAverageDepth->addItem(FromUtf8(depth));
    }
    cmbAverageDepth->setCurrentIndex(-1);
    chooseDefaultDevice(m_settings.DefaultDevice.c_str());
    picGraph->Header({});
    picGraph->XTitle(QStringLiteral("[ s ]"));
    picGraph->YTitle(QStringLiteral("[ mm ]"));
    picGraph->SeriesLabel(QStringLiteral("RVQ"));
    picGraph->AutoScale(m_settings.AutoScale);
    if (!m_settings.AutoScale) {
        picGraph->YLimits(m_settings.yMin, m_settings.yMax);
    }
}

void frmMain::initChartData(std::int32_t points)
{
    picGraph->InitChartData(points - 1);
}

frmMain::~frmMain()
{
    FaultNoted = nullptr;
    m_loop.Unload();
    Guarded([this] { finishRecorder(); });
}

void frmMain::MeasureWhenConnected()
{
    m_loop.MeasureWhenConnected();
}

/// Lets the window handle its events; waits for one.
void frmMain::pumpEvents()
{
    QApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void frmMain::closeEvent(QCloseEvent* event)
{
    bool keeps = true;
    Guarded([&] { keeps = keepsSettings(); });
    if (!keeps) {
        event->ignore();
        return;
    }
    Guarded([this] {
        m_timer->stop();
        m_loop.Unload();
        closeRecorder();
        if (m_settingsWindow != nullptr) {
            m_settingsWindow->Unload();
        }
        if (mnuOptionConsole->isChecked()) {
            m_console.CloseConsole();
        }
    });
    event->accept();
}

/// The last save of the settings. When it fails and nobody has been warned of that, the window stays once, so that the
/// message can be read; false then.
bool frmMain::keepsSettings()
{
    modGlobals::Settings kept = m_settings;
    if (m_simulated && kept.Comport == m_simulated->second) {
        kept.Comport = m_simulated->first;
    }
    const std::error_code why = modGlobals::SaveGlobalSettings(kept);
    const bool ends = !why || !m_unkept.isEmpty() || std::exchange(m_closesUnkept, true);
    if (why) {
        tellUnkept(ends ? unkeptText(why) : text(TextId::StatusCloseAgain).arg(unkeptText(why)));
    }
    if (ends) {
        m_settings = kept;
    }
    return ends;
}

void frmMain::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        Guarded([this] {
            localise();
            ShowDialogue(std::exchange(m_shownDialogue, -1)); // the lamp's words
        });
    }
    QMainWindow::changeEvent(event);
}

void frmMain::connectControls()
{
    connect(m_timer, &QTimer::timeout, this, [this] { Guarded([this] { timer_Tick(); }); });
    connect(cmdStart, &QPushButton::clicked, this, [this] { Guarded([this] { cmdStart_Click(); }); });
    connect(cmdSingleValue, &QPushButton::clicked, this, [this] { Guarded([this] { cmdSingleValue_Click(); }); });
    connect(chkTempMeasurement, &QCheckBox::clicked, this,
            [this](bool checked) { Guarded([&] { m_loop.PollTemperature(checked); }); });
    connect(cmbAverageDepth, &QComboBox::activated, this,
            [this](int index) { Guarded([&] { cmbAverageDepth_Click(index); }); });
    connect(chkMovingAverage, &QCheckBox::clicked, this,
            [this](bool checked) { Guarded([&] { chkMovingAverage_Click(checked); }); });
    connect(chkRedLaser, &QCheckBox::clicked, this,
            [this](bool checked) { Guarded([&] { m_loop.SwitchRedLaser(checked); }); });
    connect(cmbComPort, &QComboBox::activated, this, [this](int index) { Guarded([&] { cmbComPort_Click(index); }); });
    connect(cmbBaudrate, &QComboBox::activated, this,
            [this](int index) { Guarded([&] { cmbBaudrate_Click(index); }); });
    connect(lblMeasValue, &ValueLabel::clicked, this, [this] { Guarded([this] { lblMeasValue_Click(); }); });
    connect(fraFirstSteps, &FirstSteps::tried, this, [this] { Guarded([this] { fraFirstSteps_Tried(); }); });
    connect(picGraph, &QWidget::customContextMenuRequested, this,
            [this](const QPoint& position) { Guarded([&] { picGraph_MouseDown(position); }); });
}

void frmMain::localise()
{
    LocaliseForm(*this, m_settings.Language);
    LocaliseMenus(m_settings.Language);
    fraFirstSteps->Localise(m_settings.Language);
    m_help.ExplainMenus(*this);
    warnOfUnkeptSettings();
    localiseRecorder();
}

void frmMain::timer_Tick()
{
    if (m_recorder.Mode == RecorderPlaying) {
        showAges();
        return; // the window lives on while a file is loaded, the measurement waits
    }
    const double now = modAPI::LocalTime();
    Guarded([&] { serveRecorder(now); }); // whatever happens to a file, the measurement goes on
    m_loop.Tick(now);
    showAges();
    explainFailure();
    offerFirstSteps();
}

/// Without a connection an empty chart says how to come by one.
void frmMain::offerFirstSteps()
{
    if (m_shownDialogue != DialogueNone || !StartSimulatedSensor) {
        if (std::exchange(m_unconnectedTicks, 0) != 0) {
            fraFirstSteps->hide();
        }
        return;
    }
    if (++m_unconnectedTicks % kTicksBeforeOffer == 0) {
        fraFirstSteps->setVisible(!picGraph->ShownValues().has_value());
    }
    fraFirstSteps->Explain(pnlMessages->Failure());
}

void frmMain::fraFirstSteps_Tried()
{
    const std::int32_t port = StartSimulatedSensor();
    if (!m_simulated) {
        m_simulated.emplace(m_settings.Comport, port);
    }
    m_settings.Comport = cmbComPort->Fill(m_ports.devices, port);
    m_unconnectedTicks = 0;
    fraFirstSteps->hide();
    cmdStart->setFocus(); // the button that had it is gone
    m_loop.ChangePort();
    MeasureWhenConnected();
}

/// Said at the start, and as long as nothing else is shown there: everything but the settings works.
void frmMain::warnOfUnkeptSettings()
{
    const QString warning = unkeptWarning();
    if (warning.isEmpty()) {
        return;
    }
    if (sbar[1]->text() == m_unkept) {
        sbar[1]->setText(warning);
        sbar[1]->setToolTip(warning);
    }
    m_unkept = warning;
}

/// The number and the temperature with their ages, which are theirs alone: a temperature that is not read during the
/// measurement grows old beside a fresh number.
void frmMain::showAges()
{
    const double now_s = modAPI::UpTime_s();
    const auto words = [this](const std::optional<ValueAge>& age) {
        return age ? text(age->Text).arg(age->Amount) : QString();
    };
    const double freshTemperature_s = FreshTemperature_s(chkTempMeasurement->isChecked(), m_device.ReadTempInterval);
    const QString ofDistance = words(m_distanceAge.Look(now_s, kFresh_s, m_device.PortIsOpen));
    showAge(*lblMeasValue, *lblMeasAge, ofDistance);
    showAge(*lblTemperature, *lblTempAge, words(m_temperatureAge.Look(now_s, freshTemperature_s, m_device.PortIsOpen)));
    if (m_textWindow != nullptr) {
        m_textWindow->ShowAge(ofDistance);
    }
}

void frmMain::showAge(LineLabel& value, LineLabel& line, const QString& age)
{
    value.ShowStale(!age.isEmpty());
    ShowText(line, age);
    if (value.accessibleDescription() != age) {
        value.setAccessibleDescription(age);
    }
}

QString frmMain::unkeptWarning() const
{
    if (!m_settings.UnreadFile.empty()) {
        return text(TextId::FailureSettingsNotRead)
            .arg(QFile::decodeName(m_settings.UnreadFile.c_str()),
                 FileErrorText(m_settings.UnreadWhy, m_settings.Language));
    }
    const bool areKept = m_settings.IniFile.empty() || modFiles::CanReplace(m_settings.IniFile);
    return areKept ? QString()
                   : text(TextId::FailureSettingsNotWritten).arg(QFile::decodeName(m_settings.IniFile.c_str()));
}

QString frmMain::unkeptText(const std::error_code& why) const
{
    return text(TextId::FailureNotWritten)
        .arg(QFile::decodeName(m_settings.IniFile.c_str()), FileErrorText(why, m_settings.Language));
}

/// In panel 1 and in the console.
void frmMain::tellUnkept(const QString& message)
{
    ShowMessage(message);
    NoteFault(message.toUtf8().constData());
}

/// Why the port cannot be opened also goes to the console when it changes.
void frmMain::explainFailure()
{
    const QString why = m_device.PortIsOpen ? QString() : OpenFailureText(m_device.LastFailure(), m_settings.Language);
    if (pnlMessages->Explain(why)) {
        noteFailure();
    }
}

void frmMain::noteFailure()
{
    if (!pnlMessages->Failure().isEmpty()) {
        m_console.Important(ToBytes(pnlMessages->Failure()));
    }
}

/// The button stays down while its command waits for the sensor. While it cannot be used the focus moves on by itself;
/// it comes back, unless the operator has moved it further.
void frmMain::press(QPushButton& button, const std::function<void()>& act)
{
    struct Pressed {
        QPushButton& button;
        QPointer<QWidget> instead;
        QMetaObject::Connection moves;

        explicit Pressed(QPushButton& pressed) : button(pressed)
        {
            if (button.hasFocus()) {
                moves = connect(qApp, &QApplication::focusChanged, &button, [this](QWidget*, QWidget* now) {
                    instead = now;
                    disconnect(moves);
                });
            }
            button.setDown(true);
        }
        ~Pressed()
        {
            disconnect(moves);
            button.setDown(false);
            if (instead != nullptr && QApplication::focusWidget() == instead && button.isEnabled()) {
                button.setFocus();
            }
        }
    } const pressed(button);
    act();
}

void frmMain::cmdStart_Click()
{
    const auto nextPass = [this] {
        QElapsedTimer passed;
        passed.start();
        while (passed.elapsed() < clsMeasurementLoop::kPass_ms && !m_device.Wait.Ended) {
            pumpEvents(); // the timer wakes it
        }
        return modAPI::LocalTime();
    };
    press(*cmdStart, [&] { m_loop.StartStop(nextPass); });
}

void frmMain::cmdSingleValue_Click()
{
    press(*cmdSingleValue, [this] { m_loop.RequestSingleValue(); });
}

void frmMain::chkMovingAverage_Click(bool checked)
{
    m_loop.ChangeSetting("304", &ParameterSet::MovingAverage, checked ? 1 : 0, pumpEvents);
}

void frmMain::cmbAverageDepth_Click(int index)
{
    m_loop.ChangeSetting("301", &ParameterSet::AverageDepth, index, pumpEvents);
}

void frmMain::cmbComPort_Click(int index)
{
    m_settings.Comport = index + 1;
    m_loop.ChangePort();
}

void frmMain::cmbBaudrate_Click(int index)
{
    m_settings.Baudrate = RateOfIndex(index);
    m_loop.ChangeBaudrate();
}

QString frmMain::text(TextId id) const
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
    noteValue(m_distanceAge, shown);
    ShowText(*lblMeasValue, shown);
    if (m_textWindow != nullptr) {
        m_textWindow->ShowValue(shown);
    }
    if (DistanceShown && !shown.isEmpty()) {
        DistanceShown(shown);
    }
}

void frmMain::ShowTemperature(const std::string& temperature)
{
    const QString shown = FromBytes(temperature);
    noteValue(m_temperatureAge, shown);
    ShowText(*lblTemperature, shown);
}

void frmMain::ShowStatus(std::int32_t panel, std::string_view message)
{
    if (panel == 1) {
        pnlMessages->ShowStatus(FromUtf8(message), m_device.CurrentTime);
    } else {
        ShowText(*sbar.at(static_cast<std::size_t>(panel - 1)), FromUtf8(message));
    }
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
    if (rule == m_shownRule) {
        return;
    }
    m_shownRule = rule;
    for (QWidget* control : std::initializer_list<QWidget*>{cmdStart, cmbAverageDepth, chkMovingAverage, chkRedLaser}) {
        control->setEnabled(rule.Start);
    }
    cmdSingleValue->setEnabled(rule.Single);
    mnuConfigurationRVQ->setEnabled(rule.Settings);
}

void frmMain::ShowSensorSettings(const SensorSettings& settings)
{
    // None of these fires the controls' own actions, so reading the sensor never sends back to it.
    cmbAverageDepth->setCurrentIndex(settings.AverageDepth);
    chkMovingAverage->setChecked(settings.MovingAverage);
    chkRedLaser->setChecked(settings.RedLaser);
}

void frmMain::ResetChart()
{
    if (m_liveRange_ms) {
        picGraph->XRange_ms(*m_liveRange_ms); // that of a recording may be days
        m_liveRange_ms.reset();
    }
    initChartData(picGraph->XRange_ms() / clsMeasurementLoop::kInterval_ms);
}

void frmMain::ShowUnit(std::string_view unit)
{
    picGraph->YTitle(QStringLiteral("[ %1 ]").arg(FromUtf8(unit)));
}

void frmMain::AddChartPoint(double time, double value)
{
    if (m_recorder.Mode == RecorderPlaying) {
        picGraph->Series().AddChartPoint(time, value); // drawn once, when all are there
    } else {
        picGraph->AddPoint(time, value);
    }
}

void frmMain::AddChartGap(double time)
{
    if (m_recorder.Mode == RecorderPlaying) {
        picGraph->Series().AddChartPoint(time, std::numeric_limits<double>::quiet_NaN());
    } else {
        picGraph->AddGap(time);
    }
}

void frmMain::ShowYLimits(double lower, double upper)
{
    picGraph->YLimits(lower, upper);
}

std::optional<std::array<double, 2>> frmMain::ChartedValues()
{
    return picGraph->ShownValues();
}

void frmMain::ShowChartTime(double time)
{
    picGraph->ShowTime(time);
}
