// The controls of the settings window, their places and the ids of their texts. frmRVQ decides what they do.
#pragma once

#include "sensor/Parameters.h"
#include "texts/TextId.h"

#include <cstdint>
#include <string_view>

class NumberEdit;
class QDialog;
class QGridLayout;
class QGroupBox;
class QCheckBox;
class QComboBox;
class QFrame;
class QLabel;
class QLayout;
class QProgressBar;
class QPushButton;
class QWidget;

class SettingsForm {
protected:
    /// Creates all controls as children of the window.
    void BuildForm(QDialog& window, char decimalSeparator);
    /// Sets the texts in the lists, accessible names and shortcuts.
    void LocaliseParameters(std::int32_t language);

    /// Shows or hides the switches. For a sensor without switches the frame ends above the list of Q2's logic.
    void ShowSwitches(bool show);
    NumberEdit* BoxOf(const ParameterDef& row) const;
    QComboBox* ListOf(const ParameterDef& row) const;
    QCheckBox* CheckOf(const ParameterDef& row) const;
    QLabel* LabelOf(const ParameterDef& row) const;

    QComboBox* cmbConfig = nullptr;
    QLabel* lblSource = nullptr;
    QLabel* lblSerialNo = nullptr;
    QLabel* lblSWVersion = nullptr;
    QLabel* lblSWBuild = nullptr;
    QLabel* lblSWDate = nullptr;
    QLabel* lblDeviceType = nullptr;
    /// Each is of the kind that its row names.
    PerParameter<QWidget*> control;
    QLabel* lblS2Logic = nullptr;
    /// The mark beside each control, for a value that differs from the sensor's.
    PerParameter<QLabel*> differenceMark;
    QLabel* lblStatus = nullptr;
    QLabel* lblUnstored = nullptr;
    QLabel* lblProgress = nullptr;
    QProgressBar* prgTransfer = nullptr;
    /// What has become of the last write, in words.
    QLabel* lblReport = nullptr;
    /// The bar with the way back, after a write that has changed something.
    QFrame* fraUndo = nullptr;
    QLabel* lblUndo = nullptr;
    QPushButton* cmdUndo = nullptr;
    QPushButton* cmdReview = nullptr;
    QPushButton* cmdCompare = nullptr;
    QPushButton* cmdLoad = nullptr;
    QPushButton* cmdSave = nullptr;
    QPushButton* cmdDelete = nullptr;
    QPushButton* cmdDownload = nullptr;
    QPushButton* cmdUpload = nullptr;
    QPushButton* cmdSaveSettings = nullptr;
    QPushButton* cmdSetDefaults = nullptr;
    QPushButton* cmdPrint = nullptr;
    QPushButton* cmdHelp = nullptr;
    QPushButton* cmdClose = nullptr;

private:
    template <typename Widget>
    Widget* named(std::string_view name, TextId id = TextId::None, TextId toolTipId = TextId::None);
    QGridLayout* frame(QWidget* around) const;
    QLayout* buildConfigurationRow();
    QGroupBox* buildSensorFrame();
    QGroupBox* buildFrame(const char* name, TextId id, SettingsSection section);
    QGroupBox* buildSwitchFrame();
    QWidget* buildUndoBar();
    QLayout* buildStatus();
    QLayout* buildButtons();
    void addSection(QGridLayout& grid, SettingsSection section);
    void addParameter(QGridLayout& grid, const ParameterDef& row);
    QWidget* newControl(const ParameterDef& row);
    void localiseList(const ParameterDef& row, std::int32_t language);
    void addInformation(QGridLayout& grid, const char* name, TextId captionId, QLabel*& value);
    QLabel* caption(TextId id, QWidget* buddy);
    QLabel* mark(QGridLayout& grid, int row);

    QDialog* m_window = nullptr;
    QGridLayout* m_switchGrid = nullptr;
    int m_firstSwitchRow = 0;
    char m_decimalSeparator = '.';
};
