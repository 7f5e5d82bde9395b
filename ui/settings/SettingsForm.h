// The controls of the settings window, their places and the ids of their texts. frmRVQ decides what they do.
#pragma once

#include "sensor/Parameters.h"
#include "texts/TextId.h"

#include <QSize>

#include <cstdint>
#include <string_view>

class LineLabel;
class NumberEdit;
class QDialog;
class QGridLayout;
class QGroupBox;
class QCheckBox;
class QComboBox;
class QLabel;
class QLayout;
class QProgressBar;
class QPushButton;
class QWidget;
class ScrollFrames;
class UndoBar;
class WrappedLabel;

class SettingsForm {
protected:
    /// Creates all controls as children of the window.
    void BuildForm(QDialog& window, char decimalSeparator);
    /// Sets the texts in the lists, accessible names and shortcuts.
    void LocaliseParameters(std::int32_t language);

    /// Shows or hides the switches. For a sensor without switches the frame ends above the list of Q2's logic.
    void ShowSwitches(bool show);
    /// The size in which nothing has to be scrolled, with room for a note, also before the window is shown.
    QSize WholeSize() const;
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
    /// The sign beside each control, for what its tool tip says: a warning, or what has become of the value.
    PerParameter<QLabel*> noteMark;
    ScrollFrames* scrSettings = nullptr;
    /// The first of these in words; hidden when there is none.
    LineLabel* lblNote = nullptr;
    QLabel* lblStatus = nullptr;
    QLabel* lblUnstored = nullptr;
    QLabel* lblProgress = nullptr;
    QProgressBar* prgTransfer = nullptr;
    /// What has become of the last write, in words; without its first sentence while the bar says it.
    WrappedLabel* lblReport = nullptr;
    /// The bar with the way back, after a write that has changed something.
    UndoBar* fraUndo = nullptr;
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
    QWidget* buildFrames();
    QLayout* buildStatus();
    QLayout* buildButtons();
    void chooseDefaultButton();
    void addSection(QGridLayout& grid, SettingsSection section);
    void addParameter(QGridLayout& grid, const ParameterDef& row);
    QWidget* newControl(const ParameterDef& row);
    void localiseList(const ParameterDef& row, std::int32_t language);
    void addInformation(QGridLayout& grid, const char* name, TextId captionId, QLabel*& value);
    QLabel* caption(TextId id, QWidget* buddy);
    QLabel* mark(QGridLayout& grid, int row, int column, const char* sign);

    QDialog* m_window = nullptr;
    QGridLayout* m_switchGrid = nullptr;
    int m_firstSwitchRow = 0;
    char m_decimalSeparator = '.';
};
