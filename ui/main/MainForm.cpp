#include "ui/main/MainForm.h"

#include "ui/chart/ChartAccess.h"
#include "ui/chart/ChartHands.h"
#include "ui/chart/ChartPanel.h"
#include "ui/chart/Overview.h"
#include "ui/chart/StatisticsPanel.h"
#include "ui/main/LinePanel.h"
#include "ui/main/MeasurementPanel.h"
#include "ui/main/MessagePanel.h"
#include "ui/main/RateBar.h"
#include "ui/main/SensorPanel.h"
#include "ui/main/ToolBar.h"
#include "ui/recorder/FilePanel.h"
#include "ui/widgets/KeptRoom.h"
#include "ui/widgets/LineAccess.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/Named.h"
#include "ui/widgets/ScrollColumn.h"
#include "ui/widgets/UndoBar.h"

#include <QAction>
#include <QActionGroup>
#include <QHBoxLayout>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>
#include <QToolButton>

#include <array>
#include <initializer_list>
#include <tuple>

namespace {

constexpr char kTimeTemplate[] = "00:00:00";

QMenu* subMenu(QMenu* created, const char* name)
{
    created->setObjectName(QLatin1String(name));
    return created;
}

QAction* item(QWidget* menu, const char* name, const QKeySequence& key = {})
{
    auto* action = Named<QAction>(name, menu);
    action->setShortcut(key);
    menu->addAction(action);
    return action;
}

QAction* checkedItem(QWidget* menu, const char* name, const QKeySequence& key = {})
{
    QAction* action = item(menu, name, key);
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
    scrLeft = left;
    cmdPanel = Named<QToolButton>("cmdPanel", centre);
    cmdPanel->setAutoRaise(true);
    cmdPanel->setArrowType(Qt::LeftArrow);
    cmdPanel->setIconSize(QSize(1, 1) * (window.fontMetrics().height() / 3)); // narrow: it fills a gap
    cmdPanel->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
    auto* column = new QWidget;
    fraMeasurement = new MeasurementPanel(column);
    fraRVQ = new SensorPanel(column);
    fraComport = new PortPanel(column);
    fraLine = new LinePanel(column);
    fraUndo = new UndoBar(centre);
    fraRate = new RateBar(centre);
    picGraph = Named<ChartPanel>("picGraph", centre);
    new ChartHands(*picGraph);
    InstallChartAccess();
    InstallLineAccess();
    auto* frames = new QVBoxLayout(column);
    frames->setContentsMargins({});
    frames->setSpacing(window.fontMetrics().height() / 5); // a badge of two lines fits a window 600 high
    for (QWidget* frame : std::initializer_list<QWidget*>{fraMeasurement, fraRVQ, fraComport, fraLine}) {
        frames->addWidget(frame);
        QMargins tight = frame->layout()->contentsMargins(); // the tool bar has taken their room in a low window
        tight.setTop(window.fontMetrics().height() / 3);
        tight.setBottom(window.fontMetrics().height() / 3);
        frame->layout()->setContentsMargins(tight);
    }
    frames->addStretch(1);
    left->setWidget(column);
    auto* sides = new QHBoxLayout(centre);
    sides->setSpacing(0);
    sides->addWidget(left);
    sides->addWidget(cmdPanel);
    picOverview = Named<Overview>("picOverview", centre);
    fraStatistics = Named<StatisticsPanel>("fraStatistics", centre);
    auto* right = new QVBoxLayout;
    right->setSpacing(0);
    right->addWidget(fraRate);
    right->addWidget(fraUndo);
    right->addWidget(picGraph, 1);
    right->addWidget(picOverview);
    right->addWidget(fraStatistics);
    sides->addLayout(right, 1);
    window.setCentralWidget(centre);
    buildMenus(window);
    buildStatusBar(window);
    buildToolBar(window);
}

void MainForm::buildMenus(QMainWindow& window)
{
    QMenuBar* menus = window.menuBar();
    mnuFile = subMenu(menus->addMenu(QString()), "mnuFile");
    mnuFileExport = item(mnuFile, "mnuFileExport");
    mnuFileExportChart = item(mnuFile, "mnuFileExportChart");
    mnuFileExportVisible = item(mnuFile, "mnuFileExportVisible", Qt::CTRL | Qt::Key_E);
    mnuFileCopyChart = item(mnuFile, "mnuFileCopyChart", QKeySequence::Copy);
    bar(mnuFile, "mnuFileBarRecent");
    mnuFileRecent = subMenu(mnuFile->addMenu(QString()), "mnuFileRecent");
    mnuFileRecent->setToolTipsVisible(true);                            // the folder of each
    mnuFileRecentClear = Named<QAction>("mnuFileRecentClear", &window); // the menu would delete it when it is cleared
    mnuFileRecent->addAction(mnuFileRecentClear);
    bar(mnuFile, "mnuFileBar");
    mnuFileExit = item(mnuFile, "mnuFileExit");
    mnuFileExit->setShortcut(QKeySequence::Quit);
    mnuConfiguration = subMenu(menus->addMenu(QString()), "mnuConfiguration");
    mnuConfigurationRVQ = item(mnuConfiguration, "mnuConfigurationRVQ", Qt::CTRL | Qt::Key_Comma);
    mnuConfigurationPassport = item(mnuConfiguration, "mnuConfigurationPassport");
    mnuConfigurationCompare = item(mnuConfiguration, "mnuConfigurationCompare");
    mnuConfigurationDefault = subMenu(mnuConfiguration->addMenu(QString()), "mnuConfigurationDefault");
    mnuConfigurationDefaultSerial = checkedItem(mnuConfigurationDefault, "mnuConfigurationDefaultSerial");
    mnuConfigurationDefaultProfibus = checkedItem(mnuConfigurationDefault, "mnuConfigurationDefaultProfibus");
    auto* oneOfTwo = new QActionGroup(&window);
    oneOfTwo->addAction(mnuConfigurationDefaultSerial);
    oneOfTwo->addAction(mnuConfigurationDefaultProfibus);
    mnuRecorder = item(menus, "mnuRecorder");
    buildViewMenu(window);
    mnuOptions = subMenu(menus->addMenu(QString()), "mnuOptions");
    mnuOptionLanguage = subMenu(mnuOptions->addMenu(QString()), "mnuOptionLanguage");
    mnuOptionLanguageDEEN = item(mnuOptionLanguage, "mnuOptionLanguageDEEN");
    mnuOptionConsole = checkedItem(mnuOptions, "mnuOptionConsole");
    mnuOptionsTraffic = item(mnuOptions, "mnuOptionsTraffic", Qt::CTRL | Qt::Key_L);
    mnuHelp = subMenu(menus->addMenu(QString()), "mnuHelp");
    mnuHelpContents = item(mnuHelp, "mnuHelpContents");
    mnuHelpWhatsThis = item(mnuHelp, "mnuHelpWhatsThis");
    mnuHelpWhatsThis->setShortcut(QKeySequence::WhatsThis);
    bar(mnuHelp, "mnuHelpBar");
    mnuHelpAbout = item(mnuHelp, "mnuHelpAbout");
    mnuHelpAbout->setMenuRole(QAction::AboutRole);
}

void MainForm::buildViewMenu(QMainWindow& window)
{
    mnuView = subMenu(window.menuBar()->addMenu(QString()), "mnuView");
    mnuViewFreeze = checkedItem(mnuView, "mnuViewFreeze", Qt::Key_P);
    mnuViewFit = item(mnuView, "mnuViewFit", Qt::Key_Home);
    mnuViewBack = item(mnuView, "mnuViewBack", Qt::ALT | Qt::Key_Left);
    mnuViewForward = item(mnuView, "mnuViewForward", Qt::ALT | Qt::Key_Right);
    bar(mnuView, "mnuViewBarSpans");
    for (std::size_t i = 0; i < kViewSpans.size(); ++i) {
        const auto digit = static_cast<Qt::Key>(Qt::Key_1 + static_cast<int>(i));
        mnuViewSpan[i] = checkedItem(mnuView, kViewSpans[i].name, Qt::CTRL | digit);
    }
    bar(mnuView, "mnuViewBarCursors");
    mnuViewCursorA = checkedItem(mnuView, "mnuViewCursorA", Qt::Key_A);
    mnuViewCursorB = checkedItem(mnuView, "mnuViewCursorB", Qt::Key_B);
    mnuViewMark = item(mnuView, "mnuViewMark", Qt::Key_M);
    mnuViewJump = item(mnuView, "mnuViewJump", Qt::Key_J);
    bar(mnuView, "mnuViewBarWindow");
    mnuViewLargeDisplay = item(mnuView, "mnuViewLargeDisplay", Qt::Key_F11);
    mnuViewPanel = checkedItem(mnuView, "mnuViewPanel", Qt::Key_F12);
    mnuViewPanel->setChecked(true);
}

void MainForm::buildToolBar(QMainWindow& window)
{
    tlbMain = Named<ToolBar>("tlbMain", &window);
    tlbRecord = Named<QAction>("tlbRecord", tlbMain);
    tlbRecord->setShortcut(Qt::CTRL | Qt::Key_R);
    tlbRecord->setCheckable(true);
    tlbMain->Add(fraMeasurement->StartAction(), Symbol::Start, ToolBar::Important);
    tlbMain->Add(fraMeasurement->SingleAction(), Symbol::Single, ToolBar::Important);
    tlbMain->Add(*tlbRecord, Symbol::Record, ToolBar::Important);
    tlbMain->addSeparator();
    tlbMain->Add(*mnuViewFreeze, Symbol::Freeze, ToolBar::Important);
    tlbMain->Add(*mnuViewFit, Symbol::Fit, ToolBar::Important);
    tlbMain->Add(*mnuViewCursorA, Symbol::CursorA, ToolBar::None);
    tlbMain->Add(*mnuViewCursorB, Symbol::CursorB, ToolBar::None);
    tlbMain->addSeparator();
    for (QAction* span : mnuViewSpan) {
        tlbMain->Add(*span, std::nullopt, ToolBar::Important);
    }
    tlbMain->addSeparator();
    tlbMain->Add(*mnuViewLargeDisplay, Symbol::LargeDisplay, ToolBar::All);
    tlbMain->Add(*mnuConfigurationRVQ, Symbol::Settings, ToolBar::All);
    tlbMain->Add(*mnuFileExportVisible, Symbol::Export, ToolBar::All);
    window.addToolBar(tlbMain);
    window.setContextMenuPolicy(Qt::NoContextMenu); // Qt's own menu would hide the tool bar
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
    mnuFileExportVisible->setText(text(TextId::MenuExportVisible));
    mnuFileCopyChart->setText(text(TextId::MenuCopyChart));
    mnuFileRecent->setTitle(text(TextId::MenuRecent));
    mnuFileRecentClear->setText(text(TextId::MenuRecentClear));
    mnuFileExit->setText(text(TextId::MenuFileExit));
    mnuConfiguration->setTitle(text(TextId::MenuConfiguration));
    mnuConfigurationRVQ->setText(text(TextId::MenuConfigurationSettings));
    mnuConfigurationPassport->setText(text(TextId::MenuConfigurationPassport));
    mnuConfigurationCompare->setText(text(TextId::MenuCompare));
    mnuConfigurationDefault->setTitle(text(TextId::MenuDefaultDevice));
    mnuConfigurationDefaultSerial->setText(text(TextId::MenuDefaultSerial));
    mnuConfigurationDefaultProfibus->setText(text(TextId::MenuDefaultProfibus));
    mnuRecorder->setText(text(TextId::MenuRecorder));
    mnuOptions->setTitle(text(TextId::MenuOptions));
    mnuOptionLanguage->setTitle(text(TextId::MenuLanguage));
    mnuOptionLanguageDEEN->setText(text(TextId::MenuLanguageSwitch));
    mnuOptionConsole->setText(text(TextId::MenuOptionsConsole));
    mnuOptionsTraffic->setText(text(TextId::MenuTraffic));
    mnuHelp->setTitle(text(TextId::MenuHelp));
    mnuHelpContents->setText(text(TextId::MenuHelpContents));
    mnuHelpWhatsThis->setText(text(TextId::MenuHelpWhatsThis));
    mnuHelpAbout->setText(text(TextId::MenuHelpAbout));
    fraMeasurement->Localise();
    fraRVQ->Localise();
    fraComport->Localise(language);
    fraRate->Localise(language);
    fraLine->Localise();
    picGraph->Localise(language);
    picOverview->Localise(language);
    fraStatistics->Localise(language);
    pnlFile->Localise();
    localiseView(language);
}

/// The View menu, and the words and tool tips of the tool bar.
void MainForm::localiseView(std::int32_t language) const
{
    struct Row {
        QAction* action;
        TextId inMenu, onBar, toolTip;
    };
    const auto text = [language](TextId id) { return Text(id, language); };
    mnuView->setTitle(text(TextId::MenuView));
    for (const Row& row : {
             Row{tlbRecord, TextId::BarRecord, TextId::BarRecord, TextId::ToolTipBarRecord},
             Row{mnuViewFreeze, TextId::MenuViewFreeze, TextId::BarFreeze, TextId::ToolTipFreeze},
             Row{mnuViewFit, TextId::MenuViewFit, TextId::BarFit, TextId::ToolTipFit},
             Row{mnuViewBack, TextId::MenuViewBack, TextId::None, TextId::ToolTipViewBack},
             Row{mnuViewForward, TextId::MenuViewForward, TextId::None, TextId::ToolTipViewForward},
             Row{mnuViewMark, TextId::MenuViewMark, TextId::None, TextId::ToolTipViewMark},
             Row{mnuViewJump, TextId::MenuViewJump, TextId::None, TextId::ToolTipViewJump},
             Row{mnuViewLargeDisplay, TextId::MenuViewLargeDisplay, TextId::BarLargeDisplay,
                 TextId::ToolTipBarLargeDisplay},
             Row{mnuViewPanel, TextId::MenuViewPanel, TextId::None, TextId::ToolTipPanel},
             Row{mnuConfigurationRVQ, TextId::MenuConfigurationSettings, TextId::BarSettings,
                 TextId::ToolTipBarSettings},
             Row{mnuFileExportVisible, TextId::MenuExportVisible, TextId::BarExport, TextId::ToolTipExportVisible},
             Row{mnuFileCopyChart, TextId::MenuCopyChart, TextId::None, TextId::ToolTipCopyChart},
         }) {
        row.action->setText(text(row.inMenu));
        row.action->setIconText(text(row.onBar));
        row.action->setToolTip(text(row.toolTip));
    }
    for (std::size_t i = 0; i < kViewSpans.size(); ++i) {
        const QString span = text(kViewSpans[i].words);
        mnuViewSpan[i]->setText(text(TextId::MenuViewSpan).arg(span));
        mnuViewSpan[i]->setIconText(span);
        mnuViewSpan[i]->setToolTip(text(TextId::ToolTipSpan).arg(span).arg(i + 1));
    }
    for (const auto& [cursor, name, words] : {std::tuple(mnuViewCursorA, u'A', TextId::MenuViewCursorA),
                                              std::tuple(mnuViewCursorB, u'B', TextId::MenuViewCursorB)}) {
        cursor->setText(text(words));
        cursor->setIconText(QString(name));
        cursor->setToolTip(text(TextId::ToolTipCursor).arg(name));
    }
    cmdPanel->setAccessibleName(text(TextId::MenuViewPanel).remove(u'&'));
    cmdPanel->setToolTip(text(TextId::ToolTipPanel));
    tlbMain->setAccessibleName(text(TextId::TitleToolBar));
    tlbMain->setWindowTitle(text(TextId::TitleToolBar));
    tlbMain->Measure();
}
