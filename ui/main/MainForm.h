// The main window's panels and menus, their places and texts. What the menus do is in frmMain; each panel decides what
// it shows and does.
#pragma once

#include "texts/TextId.h"

#include <array>
#include <cstdint>

class ChartPanel;
class FilePanel;
class LineLabel;
class LinePanel;
class MeasurementPanel;
class MessagePanel;
class Overview;
class PortPanel;
class QAction;
class QMainWindow;
class QMenu;
class QToolButton;
class QWidget;
class RateBar;
class SensorPanel;
class StatisticsPanel;
class ToolBar;
class UndoBar;

class MainForm {
protected:
    /// Creates all panels and menus as children of the window.
    void BuildForm(QMainWindow& window);
    /// Sets the texts of menus and panels in a language; LocaliseForm does the rest.
    void LocalisePanels(std::int32_t language) const;

    MeasurementPanel* fraMeasurement = nullptr;
    SensorPanel* fraRVQ = nullptr;
    PortPanel* fraComport = nullptr;
    LinePanel* fraLine = nullptr;
    QWidget* scrLeft = nullptr;      ///< the column with these frames
    QToolButton* cmdPanel = nullptr; ///< folds it away
    UndoBar* fraUndo = nullptr;      ///< above the chart
    RateBar* fraRate = nullptr;
    ChartPanel* picGraph = nullptr;
    Overview* picOverview = nullptr;
    StatisticsPanel* fraStatistics = nullptr;
    MessagePanel* pnlMessages = nullptr; ///< the status bar's panels
    FilePanel* pnlFile = nullptr;
    LineLabel* pnlClock = nullptr;

    ToolBar* tlbMain = nullptr;
    QAction* tlbRecord = nullptr;

    QMenu* mnuFile = nullptr;
    QAction* mnuFileExport = nullptr;
    QAction* mnuFileExportChart = nullptr;
    QAction* mnuFileExportVisible = nullptr;
    QAction* mnuFileCopyChart = nullptr;
    QMenu* mnuFileRecent = nullptr;
    QAction* mnuFileRecentClear = nullptr;
    QAction* mnuFileExit = nullptr;
    QMenu* mnuConfiguration = nullptr;
    QAction* mnuConfigurationRVQ = nullptr;
    QAction* mnuConfigurationPassport = nullptr;
    QAction* mnuConfigurationCompare = nullptr;
    QMenu* mnuConfigurationDefault = nullptr;
    QAction* mnuConfigurationDefaultSerial = nullptr;
    QAction* mnuConfigurationDefaultProfibus = nullptr;
    QAction* mnuRecorder = nullptr;
    QMenu* mnuView = nullptr;
    QAction* mnuViewFreeze = nullptr;
    QAction* mnuViewFit = nullptr;
    QAction* mnuViewBack = nullptr;
    QAction* mnuViewForward = nullptr;
    /// A span of the time axis that can be chosen.
    struct ViewSpan {
        std::int32_t span_ms; ///< 0: everything
        const char* name;
        TextId words;
    };
    static constexpr std::array<ViewSpan, 5> kViewSpans{{{10'000, "mnuViewSpan10s", TextId::Span10s},
                                                         {60'000, "mnuViewSpan1min", TextId::Span1min},
                                                         {600'000, "mnuViewSpan10min", TextId::Span10min},
                                                         {3'600'000, "mnuViewSpan1h", TextId::Span1h},
                                                         {0, "mnuViewSpanAll", TextId::SpanAll}}};
    std::array<QAction*, kViewSpans.size()> mnuViewSpan{};
    QAction* mnuViewCursorA = nullptr;
    QAction* mnuViewCursorB = nullptr;
    QAction* mnuViewMark = nullptr;
    QAction* mnuViewJump = nullptr;
    QAction* mnuViewLargeDisplay = nullptr;
    QAction* mnuViewPanel = nullptr;
    QMenu* mnuOptions = nullptr;
    QMenu* mnuOptionLanguage = nullptr;
    QAction* mnuOptionLanguageDEEN = nullptr;
    QAction* mnuOptionConsole = nullptr;
    QAction* mnuOptionsTraffic = nullptr;
    QMenu* mnuHelp = nullptr;
    QAction* mnuHelpContents = nullptr;
    QAction* mnuHelpWhatsThis = nullptr;
    QAction* mnuHelpAbout = nullptr;

private:
    void buildMenus(QMainWindow& window);
    void buildViewMenu(QMainWindow& window);
    void buildToolBar(QMainWindow& window);
    void localiseView(std::int32_t language) const;
    void buildStatusBar(QMainWindow& window);
};
