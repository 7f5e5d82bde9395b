#include "ui/main/MainForm.h"

#include "ui/chart/ChartPanel.h"
#include "ui/chart/Overview.h"
#include "ui/chart/StatisticsPanel.h"
#include "ui/main/LinePanel.h"
#include "ui/main/MeasurementPanel.h"
#include "ui/main/MessagePanel.h"
#include "ui/main/SensorPanel.h"
#include "ui/recorder/FilePanel.h"
#include "ui/widgets/KeptRoom.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/Named.h"
#include "ui/widgets/ScrollColumn.h"

#include <QAction>
#include <QActionGroup>
#include <QHBoxLayout>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>

#include <array>
#include <initializer_list>

namespace {

constexpr char kTimeTemplate[] = "00:00:00";

QMenu* subMenu(QMenu* created, const char* name)
{
    created->setObjectName(QLatin1String(name));
    return created;
}

QAction* item(QWidget* menu, const char* name)
{
    auto* action = Named<QAction>(name, menu);
    menu->addAction(action);
    return action;
}

QAction* checkedItem(QWidget* menu, const char* name)
{
    QAction* action = item(menu, name);
    action->setCheckable(true);
    return action;
}

void bar(QMenu* menu, const char* name)
{
    menu->addSeparator()->setObjectName(QLatin1String(name));
}

} // namespace

void MainForm::BuildForm(QMainWindow& window)
{
    auto* centre = new QWidget(&window);
    auto* left = Named<ScrollColumn>("scrLeft", centre);
    auto* column = new QWidget;
    fraMeasurement = new MeasurementPanel(column);
    fraRVQ = new SensorPanel(column);
    fraComport = new PortPanel(column);
    fraLine = new LinePanel(column);
    picGraph = Named<ChartPanel>("picGraph", centre);
    auto* frames = new QVBoxLayout(column);
    frames->setContentsMargins({});
    frames->setSpacing(window.fontMetrics().height() / 5); // a badge of two lines fits a window 600 high
    for (QWidget* frame : std::initializer_list<QWidget*>{fraMeasurement, fraRVQ, fraComport, fraLine}) {
        frames->addWidget(frame);
    }
    frames->addStretch(1);
    left->setWidget(column);
    auto* sides = new QHBoxLayout(centre);
    sides->setSpacing(window.fontMetrics().height());
    sides->addWidget(left);
    picOverview = Named<Overview>("picOverview", centre);
    fraStatistics = Named<StatisticsPanel>("fraStatistics", centre);
    auto* right = new QVBoxLayout;
    right->setSpacing(0);
    right->addWidget(picGraph, 1);
    right->addWidget(picOverview);
    right->addWidget(fraStatistics);
    sides->addLayout(right, 1);
    window.setCentralWidget(centre);
    buildMenus(window);
    buildStatusBar(window);
}

void MainForm::buildMenus(QMainWindow& window)
{
    QMenuBar* menus = window.menuBar();
    mnuFile = subMenu(menus->addMenu(QString()), "mnuFile");
    mnuFileExport = item(mnuFile, "mnuFileExport");
    mnuFileExportChart = item(mnuFile, "mnuFileExportChart");
    bar(mnuFile, "mnuFileBar");
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
    bar(mnuHelp, "mnuHelpBar");
    mnuHelpAbout = item(mnuHelp, "mnuHelpAbout");
    mnuHelpAbout->setMenuRole(QAction::AboutRole);
}

void MainForm::buildStatusBar(QMainWindow& window)
{
    std::array<KeptRoom*, 3> rooms{};
    for (KeptRoom*& room : rooms) {
        room = new KeptRoom(&window);
    }
    pnlMessages = new MessagePanel(rooms[0]);
    pnlFile = new FilePanel(rooms[1]);
    pnlClock = new LineLabel(rooms[2]);
    const std::array<LineLabel*, 3> panels{pnlMessages, pnlFile, pnlClock};
    for (std::size_t i = 0; i < panels.size(); ++i) {
        panels[i]->setObjectName(QStringLiteral("sbar_%1").arg(i + 1));
        rooms[i]->Hold(*panels[i]);
    }
    rooms[2]->setMinimumWidth(window.fontMetrics().horizontalAdvance(QLatin1String(kTimeTemplate)));
    window.statusBar()->addWidget(rooms[0], 1);
    window.statusBar()->addWidget(rooms[1], 1);
    window.statusBar()->addPermanentWidget(rooms[2]);
    window.statusBar()->setContentsMargins(window.fontMetrics().height() / 2, 0, 0, 0);
}

void MainForm::LocalisePanels(std::int32_t language) const
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
    fraMeasurement->Localise();
    fraRVQ->Localise();
    fraComport->Localise(language);
    fraLine->Localise();
    picGraph->Localise(language);
    picOverview->Localise(language);
    fraStatistics->Localise(language);
    pnlFile->Localise();
}
