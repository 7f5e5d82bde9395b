// The controls of the settings window, their places and the ids of their texts. What they do is frmRVQ's.
#pragma once

#include "sensor/Fields.h"
#include "texts/TextId.h"

#include <array>
#include <cstdint>
#include <initializer_list>

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

class SettingsForm {
protected:
    /// Creates all controls as children of the window.
    void BuildForm(QDialog& window, char decimalSeparator);
    /// The texts within the lists, accessible names, shortcuts.
    void LocaliseLists(std::int32_t language);

    /// The frame of the switches ends above the list of Q2's logic where a sensor has none.
    void ShowSwitches(bool show);
    QComboBox* ListOf(std::size_t choice) const;
    QCheckBox* CheckOf(std::size_t choice) const;

    QComboBox* cmbConfig = nullptr;
    QLabel* lblSource = nullptr;
    QLabel* lblSerialNo = nullptr;
    QLabel* lblSWVersion = nullptr;
    QLabel* lblSWBuild = nullptr;
    QLabel* lblSWDate = nullptr;
    QLabel* lblDeviceType = nullptr;
    std::array<NumberEdit*, kFields.size()> txtParameter{};
    /// By the table of choices: lists, check boxes, and the label of the logic of Q1.
    std::array<QWidget*, kChoices.size()> choice{};
    QLabel* lblS2Logic = nullptr;
    /// Beside each control, for what differs from the sensor.
    std::array<QLabel*, kFields.size()> fieldMark{};
    std::array<QLabel*, kChoices.size()> choiceMark{};
    QLabel* lblStatus = nullptr;
    QLabel* lblUnstored = nullptr;
    QLabel* lblProgress = nullptr;
    QProgressBar* prgTransfer = nullptr;
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
    Widget* named(const char* name, TextId id = TextId::None, TextId toolTipId = TextId::None);
    QGridLayout* frame(QWidget* around) const;
    QLayout* buildConfigurationRow();
    QGroupBox* buildSensorFrame();
    QGroupBox* buildFrame(const char* name, TextId id, std::initializer_list<std::size_t> choices,
                          std::initializer_list<std::size_t> fields);
    QGroupBox* buildSwitchFrame();
    QLayout* buildStatus();
    QLayout* buildButtons();
    void addChoice(QGridLayout& grid, std::size_t index);
    void addField(QGridLayout& grid, std::size_t index);
    void addInformation(QGridLayout& grid, const char* name, TextId captionId, QLabel*& value);
    QLabel* caption(TextId id, QWidget* buddy);
    QLabel* mark(QGridLayout& grid, int row);

    QDialog* m_window = nullptr;
    QGridLayout* m_switchGrid = nullptr;
    int m_firstSwitchRow = 0;
    char m_decimalSeparator = '.';
};
