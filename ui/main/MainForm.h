// The main window's panels and menus, their places and texts. What the menus do is in frmMain; each panel decides what
// it shows and does.
#pragma once

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
class SensorPanel;
class StatisticsPanel;

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
    ChartPanel* picGraph = nullptr;
    Overview* picOverview = nullptr;
    StatisticsPanel* fraStatistics = nullptr;
    MessagePanel* pnlMessages = nullptr; ///< the status bar's panels
    FilePanel* pnlFile = nullptr;
    LineLabel* pnlClock = nullptr;

    QMenu* mnuFile = nullptr;
    QAction* mnuFileExport = nullptr;
    QAction* mnuFileExportChart = nullptr;
    QAction* mnuFileExit = nullptr;
    QMenu* mnuConfiguration = nullptr;
    QAction* mnuConfigurationRVQ = nullptr;
    QMenu* mnuConfigurationDefault = nullptr;
    QAction* mnuConfigurationDefaultSerial = nullptr;
    QAction* mnuConfigurationDefaultProfibus = nullptr;
    QAction* mnuRecorder = nullptr;
    QMenu* mnuOptions = nullptr;
    QMenu* mnuOptionLanguage = nullptr;
    QAction* mnuOptionLanguageDEEN = nullptr;
    QAction* mnuOptionConsole = nullptr;
    QMenu* mnuHelp = nullptr;
    QAction* mnuHelpContents = nullptr;
    QAction* mnuHelpWhatsThis = nullptr;
    QAction* mnuHelpAbout = nullptr;

private:
    void buildMenus(QMainWindow& window);
    void buildStatusBar(QMainWindow& window);
};
