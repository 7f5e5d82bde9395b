// The window of the chart's settings: kind of time axis, scaling of the value axis, connected points, zero values.
#pragma once

#include "texts/TextId.h"

#include <QDialog>

#include <array>
#include <cstddef>
#include <functional>
#include <string>
#include <system_error>

class NumberEdit;
class QCheckBox;
class QGroupBox;
class QLabel;
class QPushButton;
class QRadioButton;
class XYChart;

namespace modGlobals {
struct Settings;
}

class frmChartSettings : public QDialog {
    Q_OBJECT

public:
    /// Both must outlive the window.
    frmChartSettings(QWidget& owner, modGlobals::Settings& settings, XYChart& chart);
    ~frmChartSettings() override;

    /// Shows the current settings; also called after a change made elsewhere.
    void ShowUpdatedSettings();
    /// Shows the unit of the value axis beside the limits.
    void ShowUnit();
    /// Chooses a manual value axis, with the focus on its limits.
    void ChooseLimits();
    /// Called after settings were applied.
    std::function<void()> Applied;
    /// Called with the reason when they could not be saved.
    std::function<void(const std::error_code&)> Unkept;

private:
    template <typename Button>
    Button* addButton(const char* name, TextId id);
    QGroupBox* buildTimeAxis();
    QGroupBox* buildValueAxis();
    QLayout* buildButtons();
    void enableLimits();
    void cmdOK_Click();
    void cmdApply_Click();
    bool apply();
    void applyLimits();
    void showLimit(std::size_t limit, const std::string& text);
    bool isTyped(std::size_t limit) const;

    modGlobals::Settings& m_settings;
    XYChart& m_chart;
    char m_decimalSeparator;
    QRadioButton* optxAxisTime;
    QRadioButton* optxAxisInterval;
    QRadioButton* optYScaleAuto;
    QRadioButton* optYScaleManual;
    std::array<NumberEdit*, 2> txtParameter{};
    std::array<std::string, 2> m_shownLimits; ///< what the boxes held before anybody typed
    std::array<QLabel*, 2> lblUnit{};
    QCheckBox* chkConnectPoints;
    QCheckBox* chkNullWerte;
    QPushButton* cmdOK;
    QPushButton* cmdCancel;
    QPushButton* cmdApply;
};
