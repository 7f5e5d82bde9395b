#include "ui/main/MainForm.h"

#include "ui/chart/XYChart.h"
#include "ui/main/LampShape.h"
#include "ui/main/MessagePanel.h"
#include "ui/main/ValueLabel.h"
#include "ui/widgets/KeptRoom.h"
#include "ui/widgets/LineLabel.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/PortList.h"

#include <QAction>
#include <QActionGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QStatusBar>

#include <initializer_list>
#include <utility>

namespace {

constexpr double kValueFontScale = 2.2;
constexpr char kValueTemplate[] = "-000.00000000 mm"; // about the longest text
constexpr char kTimeTemplate[] = "00:00:00";

template <typename Widget, typename... Arguments>
Widget* named(const char* name, Arguments&&... arguments)
{
    auto* widget = new Widget(std::forward<Arguments>(arguments)...);
    widget->setObjectName(QLatin1String(name));
    return widget;
}

QMenu* subMenu(QMenu* created, const char* name)
{
    created->setObjectName(QLatin1String(name));
    return created;
}

QAction* item(QWidget* menu, const char* name)
{
    auto* action = named<QAction>(name, menu);
    menu->addAction(action);
    return action;
}

QAction* checkedItem(QWidget* menu, const char* name)
{
    QAction* action = item(menu, name);
    action->setCheckable(true);
    return action;
}

QAction* bar(QMenu* menu, const char* name)
{
    QAction* separator = menu->addSeparator();
    separator->setObjectName(QLatin1String(name));
    return separator;
}

/// Controls beside each other; those behind the first share what room is left.
QHBoxLayout* sideBySide(std::initializer_list<QWidget*> controls)
{
    auto* line = new QHBoxLayout;
    for (QWidget* control : controls) {
        line->addWidget(control, control == *controls.begin() ? 0 : 1);
    }
    return line;
}

} // namespace

void MainForm::BuildForm(QMainWindow& window)
{
    auto* centre = new QWidget(&window);
    buildMeasurementFrame(*centre);
    buildSensorFrame(*centre);
    buildComportFrame(*centre);
    picGraph = named<XYChart>("picGraph", centre);
    picGraph->setContextMenuPolicy(Qt::CustomContextMenu);
    picGraph->setFocusPolicy(Qt::StrongFocus); // the menu key opens its menu
    auto* grid = new QGridLayout(centre);
    grid->setHorizontalSpacing(window.fontMetrics().height());
    grid->addWidget(fraMeasurement, 0, 0);
    grid->addWidget(fraRVQ, 1, 0);
    grid->addWidget(fraComport, 2, 0);
    grid->setRowStretch(3, 1);
    grid->addWidget(picGraph, 0, 1, 4, 1);
    grid->setColumnStretch(1, 1);
    window.setCentralWidget(centre);
    buildMenus(window);
    buildPopUp(window);
    buildStatusBar(window);
    setTextIds(window);
}

void MainForm::buildMeasurementFrame(QWidget& parent)
{
    fraMeasurement = named<QGroupBox>("fraMeasurement", &parent);
    shpLamp = named<LampShape>("shpLamp", fraMeasurement);
    lblLamp = named<QLabel>("lblLamp", fraMeasurement);
    lblMeasCaption = named<QLabel>("lblMeasCaption", fraMeasurement);
    lblMeasAge = named<LineLabel>("lblMeasAge", fraMeasurement, Qt::ElideRight);
    auto* roomOfValue = new KeptRoom(fraMeasurement);
    lblMeasValue = named<ValueLabel>("lblMeasValue", roomOfValue);
    lblShutDown = named<QLabel>("lblShutDown", fraMeasurement);
    lblTempCaption = named<QLabel>("lblTempCaption", fraMeasurement);
    lblTemperature = named<LineLabel>("lblTemperature", fraMeasurement, Qt::ElideRight);
    lblTempAge = named<LineLabel>("lblTempAge", fraMeasurement, Qt::ElideRight);
    cmdStart = named<QPushButton>("cmdStart", QStringLiteral("Start"), fraMeasurement);
    cmdSingleValue = named<QPushButton>("cmdSingleValue", QStringLiteral("Single"), fraMeasurement);
    chkTempMeasurement = named<QCheckBox>("chkTempMeasurement", fraMeasurement);
    styleMeasurement();
    roomOfValue->Hold(*lblMeasValue);
    // As wide as the longest text, so that nothing moves whatever is measured, the first value included.
    roomOfValue->setMinimumWidth(lblMeasValue->fontMetrics().horizontalAdvance(QLatin1String(kValueTemplate)));

    auto* grid = new QGridLayout(fraMeasurement);
    grid->addWidget(shpLamp, 0, 0);
    grid->addWidget(lblLamp, 0, 1);
    grid->addLayout(sideBySide({lblMeasCaption, lblMeasAge}), 1, 0, 1, 2);
    grid->addWidget(roomOfValue, 2, 0, 1, 2);
    grid->addLayout(sideBySide({lblTempCaption, lblTempAge, lblTemperature}), 3, 0, 1, 2);
    grid->addWidget(lblShutDown, 4, 0, 1, 2);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdStart, 1);
    buttons->addWidget(cmdSingleValue, 1);
    grid->addLayout(buttons, 5, 0, 1, 2);
    grid->addWidget(chkTempMeasurement, 6, 0, 1, 2);
    grid->setColumnStretch(1, 1);
}

void MainForm::styleMeasurement() const
{
    QFont large = lblMeasValue->font();
    large.setPointSizeF(large.pointSizeF() * kValueFontScale);
    large.setBold(true);
    lblMeasValue->setFont(large);
    for (LineLabel* right : std::initializer_list<LineLabel*>{lblMeasValue, lblMeasAge, lblTemperature, lblTempAge}) {
        right->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    }
    QFont bold = lblShutDown->font();
    bold.setBold(true);
    lblShutDown->setFont(bold);
    QSizePolicy keepsItsPlace = lblShutDown->sizePolicy();
    keepsItsPlace.setRetainSizeWhenHidden(true);
    lblShutDown->setSizePolicy(keepsItsPlace);
    lblShutDown->hide();
}

void MainForm::buildSensorFrame(QWidget& parent)
{
    fraRVQ = named<QGroupBox>("fraRVQ", &parent);
    lblAverageDepth = named<QLabel>("lblAverageDepth", fraRVQ);
    cmbAverageDepth = named<QComboBox>("cmbAverageDepth", fraRVQ);
    chkMovingAverage = named<QCheckBox>("chkMovingAverage", fraRVQ);
    chkRedLaser = named<QCheckBox>("chkRedLaser", fraRVQ);
    lblAverageDepth->setBuddy(cmbAverageDepth);
    auto* grid = new QGridLayout(fraRVQ);
    grid->addWidget(lblAverageDepth, 0, 0);
    grid->addWidget(cmbAverageDepth, 0, 1);
    grid->addWidget(chkMovingAverage, 1, 0, 1, 2);
    grid->addWidget(chkRedLaser, 2, 0, 1, 2);
    grid->setColumnStretch(1, 1);
}

void MainForm::buildComportFrame(QWidget& parent)
{
    fraComport = named<QGroupBox>("fraComport", &parent);
    cmbComPort = named<PortList>("cmbComPort", fraComport);
    cmbBaudrate = named<QComboBox>("cmbBaudrate", fraComport);
    auto* row = new QHBoxLayout(fraComport);
    row->addWidget(cmbComPort, 1);
    row->addWidget(cmbBaudrate, 1);
}

void MainForm::buildMenus(QMainWindow& window)
{
    QMenuBar* menus = window.menuBar();
    mnuFile = subMenu(menus->addMenu(QString()), "mnuFile");
    mnuFileExport = item(mnuFile, "mnuFileExport");
    mnuFileExportChart = item(mnuFile, "mnuFileExportChart");
    mnuFileBar = bar(mnuFile, "mnuFileBar");
    mnuFileExit = item(mnuFile, "mnuFileExit");
    mnuFileExit->setShortcut(QKeySequence::Quit);
    mnuConfiguration = subMenu(menus->addMenu(QString()), "mnuConfiguration");
    mnuConfigurationRVQ = item(mnuConfiguration, "mnuConfigurationRVQ");
    mnuConfigurationDefault = subMenu(mnuConfiguration->addMenu(QString()), "mnuConfigurationDefault");
    mnuConfigurationDefaultSerial = checkedItem(mnuConfigurationDefault, "mnuConfigurationDefaultSerial");
    mnuConfigurationDefaultProfibus = checkedItem(mnuConfigurationDefault, "mnuConfigurationDefaultProfibus");
    auto* oneOfTwo = new QActionGroup(&window);
    oneOfTwo->addAction(mnuConfigurationDefaultSerial);
    oneOfTwo->addAction(mnuConfigurationDefaultProfibus);
    mnuRecorder = item(menus, "mnuRecorder");
    mnuOptions = subMenu(menus->addMenu(QString()), "mnuOptions");
    mnuOptionLanguage = subMenu(mnuOptions->addMenu(QString()), "mnuOptionLanguage");
    mnuOptionLanguageDEEN = item(mnuOptionLanguage, "mnuOptionLanguageDEEN");
    mnuOptionConsole = checkedItem(mnuOptions, "mnuOptionConsole");
    mnuHelp = subMenu(menus->addMenu(QString()), "mnuHelp");
    mnuHelpContents = item(mnuHelp, "mnuHelpContents");
    mnuHelpWhatsThis = item(mnuHelp, "mnuHelpWhatsThis");
    mnuHelpWhatsThis->setShortcut(QKeySequence::WhatsThis);
    mnuHelpBar = bar(mnuHelp, "mnuHelpBar");
    mnuHelpAbout = item(mnuHelp, "mnuHelpAbout");
    mnuHelpAbout->setMenuRole(QAction::AboutRole);
}

void MainForm::buildPopUp(QMainWindow& window)
{
    mnuPopUp = named<QMenu>("mnuPopUp", &window);
    mnuPopupShowZero = checkedItem(mnuPopUp, "mnuPopupShowZero");
    mnuPopupFixedTime = checkedItem(mnuPopUp, "mnuPopupFixedTime");
    mnuPopUpBar = bar(mnuPopUp, "mnuPopUpBar");
    mnuPopUpYscaleSettings = item(mnuPopUp, "mnuPopUpYscaleSettings");
    mnuPopupHelp = item(mnuPopUp, "mnuPopupHelp");
}

void MainForm::buildStatusBar(QMainWindow& window)
{
    std::array<KeptRoom*, 3> rooms{};
    for (KeptRoom*& room : rooms) {
        room = new KeptRoom(&window);
    }
    pnlMessages = new MessagePanel(rooms[0], Qt::ElideRight);
    const std::array<LineLabel*, 3> panels{pnlMessages, new LineLabel(rooms[1], Qt::ElideMiddle),
                                           new LineLabel(rooms[2])};
    for (std::size_t i = 0; i < sbar.size(); ++i) {
        panels[i]->setObjectName(QStringLiteral("sbar_%1").arg(i + 1));
        rooms[i]->Hold(*panels[i]);
        sbar[i] = panels[i];
    }
    rooms[2]->setMinimumWidth(window.fontMetrics().horizontalAdvance(QLatin1String(kTimeTemplate)));
    window.statusBar()->addWidget(rooms[0], 1);
    window.statusBar()->addWidget(rooms[1], 1);
    window.statusBar()->addPermanentWidget(rooms[2]);
    window.statusBar()->setContentsMargins(window.fontMetrics().height() / 2, 0, 0, 0);
}

void MainForm::setTextIds(QMainWindow& window) const
{
    SetTextIds(&window, TextId::TitleMain);
    SetTextIds(fraMeasurement, TextId::FrameMeasurement);
    SetTextIds(lblMeasCaption, TextId::CaptionMeasValue);
    SetTextIds(lblMeasValue, TextId::None, TextId::ToolTipLargeDisplay);
    SetTextIds(lblTempCaption, TextId::CaptionTemperature);
    SetTextIds(chkTempMeasurement, TextId::CheckTemperature, TextId::ToolTipTemperature);
    SetTextIds(lblShutDown, TextId::CaptionShutDown);
    SetTextIds(cmdStart, TextId::None, TextId::ToolTipStart);
    SetTextIds(cmdSingleValue, TextId::None, TextId::ToolTipSingleValue);
    SetTextIds(fraRVQ, TextId::FrameSensorSettings);
    SetTextIds(lblAverageDepth, TextId::CaptionAverageDepth);
    SetTextIds(cmbAverageDepth, TextId::None, TextId::ToolTipAverageDepth);
    SetTextIds(chkMovingAverage, TextId::CheckMovingAverage, TextId::ToolTipMovingAverage);
    SetTextIds(chkRedLaser, TextId::CheckRedLaser, TextId::ToolTipRedLaser);
    SetTextIds(fraComport, TextId::FrameSerialInterface);
    SetTextIds(cmbComPort, TextId::None, TextId::ToolTipPort);
    SetTextIds(cmbBaudrate, TextId::None, TextId::ToolTipBaudrate);
}

void MainForm::LocaliseMenus(std::int32_t language) const
{
    const auto text = [language](TextId id) { return Text(id, language); };
    mnuFile->setTitle(text(TextId::MenuFile));
    mnuFileExport->setText(text(TextId::MenuExportRecording));
    mnuFileExportChart->setText(text(TextId::MenuExportChart));
    mnuFileExit->setText(text(TextId::MenuFileExit));
    mnuConfiguration->setTitle(text(TextId::MenuConfiguration));
    mnuConfigurationRVQ->setText(text(TextId::MenuConfigurationSettings));
    mnuConfigurationDefault->setTitle(text(TextId::MenuDefaultDevice));
    mnuConfigurationDefaultSerial->setText(text(TextId::MenuDefaultSerial));
    mnuConfigurationDefaultProfibus->setText(text(TextId::MenuDefaultProfibus));
    mnuRecorder->setText(text(TextId::MenuRecorder));
    mnuOptions->setTitle(text(TextId::MenuOptions));
    mnuOptionLanguage->setTitle(text(TextId::MenuLanguage));
    mnuOptionLanguageDEEN->setText(text(TextId::MenuLanguageSwitch));
    mnuOptionConsole->setText(text(TextId::MenuOptionsConsole));
    mnuHelp->setTitle(text(TextId::MenuHelp));
    mnuHelpContents->setText(text(TextId::MenuHelpContents));
    mnuHelpWhatsThis->setText(text(TextId::MenuHelpWhatsThis));
    mnuHelpAbout->setText(text(TextId::MenuHelpAbout));
    mnuPopupShowZero->setText(text(TextId::MenuChartShowZero));
    mnuPopupFixedTime->setText(text(TextId::MenuChartFixedTime));
    mnuPopUpYscaleSettings->setText(text(TextId::MenuChartSettings));
    mnuPopupHelp->setText(text(TextId::MenuHelp));
    cmdStart->setShortcut(Qt::Key_F5);
    cmdSingleValue->setShortcut(Qt::Key_F6);
    chkTempMeasurement->setShortcut(Qt::Key_F7);
    chkMovingAverage->setShortcut(Qt::Key_F8);
    chkRedLaser->setShortcut(Qt::Key_F9);
    shpLamp->setAccessibleName(text(TextId::AccessibleLamp));
    lblMeasValue->setAccessibleName(text(TextId::CaptionMeasValue));
    cmbComPort->setAccessibleName(text(TextId::ToolTipPort));
    cmbBaudrate->setAccessibleName(text(TextId::ToolTipBaudrate));
    picGraph->setAccessibleName(text(TextId::AccessibleChart));
    picGraph->EmptyText(text(TextId::ChartEmpty));
}
