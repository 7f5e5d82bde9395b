// The controls of the main window, their places and the ids of their texts. What they do is frmMain's.
#pragma once

#include <QString>

#include <array>
#include <cstdint>

class MessagePanel;
class LampShape;
class LineLabel;
class PortList;
class QAction;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QMainWindow;
class QMenu;
class QPushButton;
class QWidget;
class ValueLabel;
class XYChart;

class MainForm {
protected:
    /// Creates all controls and menus as children of the window.
    void BuildForm(QMainWindow& window);
    /// Menus, accessible names and shortcuts in a language; LocaliseForm does the rest.
    void LocaliseMenus(std::int32_t language) const;

    QGroupBox* fraMeasurement = nullptr;
    QGroupBox* fraRVQ = nullptr;
    QGroupBox* fraComport = nullptr;
    QLabel* lblMeasCaption = nullptr;
    LineLabel* lblMeasAge = nullptr;
    ValueLabel* lblMeasValue = nullptr;
    QLabel* lblTempCaption = nullptr;
    LineLabel* lblTemperature = nullptr;
    LineLabel* lblTempAge = nullptr;
    QLabel* lblShutDown = nullptr;
    QLabel* lblLamp = nullptr;
    LampShape* shpLamp = nullptr;
    QPushButton* cmdStart = nullptr;
    QPushButton* cmdSingleValue = nullptr;
    QCheckBox* chkTempMeasurement = nullptr;
    QLabel* lblAverageDepth = nullptr;
    QComboBox* cmbAverageDepth = nullptr;
    QCheckBox* chkMovingAverage = nullptr;
    QCheckBox* chkRedLaser = nullptr;
    PortList* cmbComPort = nullptr;
    QComboBox* cmbBaudrate = nullptr;
    XYChart* picGraph = nullptr;
    MessagePanel* pnlMessages = nullptr;
    std::array<QLabel*, 3> sbar{}; ///< the status bar's panels, the one for messages first

    QMenu* mnuFile = nullptr;
    QAction* mnuFileExport = nullptr;
    QAction* mnuFileExportChart = nullptr;
    QAction* mnuFileBar = nullptr;
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
    QAction* mnuHelpBar = nullptr;
    QAction* mnuHelpAbout = nullptr;
    QMenu* mnuPopUp = nullptr;
    QAction* mnuPopupShowZero = nullptr;
    QAction* mnuPopupFixedTime = nullptr;
    QAction* mnuPopUpBar = nullptr;
    QAction* mnuPopUpYscaleSettings = nullptr;
    QAction* mnuPopupHelp = nullptr;

private:
    void buildMeasurementFrame(QWidget& parent);
    void styleMeasurement() const;
    void buildSensorFrame(QWidget& parent);
    void buildComportFrame(QWidget& parent);
    void buildMenus(QMainWindow& window);
    void buildPopUp(QMainWindow& window);
    void buildStatusBar(QMainWindow& window);
    void setTextIds(QMainWindow& window) const;
};
