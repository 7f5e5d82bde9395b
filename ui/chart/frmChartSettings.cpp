#include "ui/chart/frmChartSettings.h"

#include "base/Numbers.h"
#include "store/modGlobals.h"
#include "ui/chart/XYChart.h"
#include "ui/chart/modChartSettings.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/NumberEdit.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/WindowPlace.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>

frmChartSettings::frmChartSettings(QWidget& owner, modGlobals::Settings& settings, XYChart& chart)
    : QDialog(&owner), m_settings(settings), m_chart(chart), m_decimalSeparator(DecimalSeparator())
{
    setObjectName(QStringLiteral("frmChartSettings"));
    SetTextIds(this, TextId::TitleChartSettings);
    auto* column = new QVBoxLayout(this);
    column->addWidget(buildTimeAxis());
    column->addWidget(buildValueAxis());
    chkConnectPoints = addButton<QCheckBox>("chkConnectPoints", TextId::CheckConnectPoints);
    chkNullWerte = addButton<QCheckBox>("chkNullWerte", TextId::CheckZeroValues);
    column->addWidget(chkConnectPoints);
    column->addWidget(chkNullWerte);
    column->addStretch(1);
    column->addLayout(buildButtons());
    new WindowPlace(*this, m_settings.IniFile);
    LocaliseForm(*this, m_settings.Language);
    ShowUpdatedSettings();
    for (QRadioButton* option : {optYScaleAuto, optYScaleManual}) {
        connect(option, &QRadioButton::clicked, this, [this] { Guarded([this] { enableLimits(); }); });
    }
    connect(cmdOK, &QPushButton::clicked, this, [this] { Guarded([this] { cmdOK_Click(); }); });
    connect(cmdCancel, &QPushButton::clicked, this, [this] { Guarded([this] { reject(); }); });
    connect(cmdApply, &QPushButton::clicked, this, [this] { Guarded([this] { cmdApply_Click(); }); });
}

template <typename Button>
Button* frmChartSettings::addButton(const char* name, TextId id)
{
    auto* button = new Button(this);
    button->setObjectName(QLatin1String(name));
    SetTextIds(button, id);
    return button;
}

QGroupBox* frmChartSettings::buildTimeAxis()
{
    auto* frame = new QGroupBox(this);
    frame->setObjectName(QStringLiteral("fraXAxis"));
    SetTextIds(frame, TextId::FrameXAxis);
    optxAxisTime = addButton<QRadioButton>("optxAxisTime", TextId::OptionTime);
    optxAxisInterval = addButton<QRadioButton>("optxAxisInterval", TextId::OptionInterval);
    auto* column = new QVBoxLayout(frame);
    column->addWidget(optxAxisTime);
    column->addWidget(optxAxisInterval);
    return frame;
}

QGroupBox* frmChartSettings::buildValueAxis()
{
    using modChartSettings::Limit;
    auto* frame = new QGroupBox(this);
    frame->setObjectName(QStringLiteral("fraYAxis"));
    SetTextIds(frame, TextId::FrameYAxis);
    optYScaleAuto = addButton<QRadioButton>("optYScaleAuto", TextId::OptionAutomatic);
    optYScaleManual = addButton<QRadioButton>("optYScaleManual", TextId::OptionManual);
    auto* grid = new QGridLayout(frame);
    grid->addWidget(optYScaleAuto, 0, 0, 1, 3);
    grid->addWidget(optYScaleManual, 1, 0, 1, 3);
    for (const Limit limit : {modChartSettings::LimitMax, modChartSettings::LimitMin}) {
        auto* box = new NumberEdit(frame, m_decimalSeparator);
        box->setObjectName(QStringLiteral("txtParameter_%1").arg(limit));
        box->Check = [this, limit](const std::string& typed) {
            return modChartSettings::CheckedText(limit, typed, m_decimalSeparator);
        };
        box->Words = [this](TextId id) { return Text(id, m_settings.Language); };
        auto* caption = new QLabel(frame);
        caption->setObjectName(QStringLiteral("lblParameter_%1").arg(limit));
        SetTextIds(caption, limit == modChartSettings::LimitMax ? TextId::CaptionMaximum : TextId::CaptionMinimum);
        caption->setBuddy(box);
        const int row = 2 + static_cast<int>(limit);
        grid->addWidget(caption, row, 0);
        grid->addWidget(box, row, 1);
        auto* unit = new QLabel(frame);
        unit->setObjectName(QStringLiteral("lblUnit_%1").arg(limit));
        grid->addWidget(unit, row, 2);
        txtParameter.at(limit) = box;
        lblUnit.at(limit) = unit;
    }
    grid->setColumnStretch(1, 1);
    return frame;
}

QLayout* frmChartSettings::buildButtons()
{
    cmdOK = addButton<QPushButton>("cmdOK", TextId::ButtonOk);
    cmdCancel = addButton<QPushButton>("cmdCancel", TextId::ButtonCancel);
    cmdApply = addButton<QPushButton>("cmdApply", TextId::ButtonApply);
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    for (QPushButton* button : {cmdOK, cmdCancel, cmdApply}) {
        button->setAutoDefault(false); // Enter belongs to the text boxes
        row->addWidget(button);
    }
    return row;
}

frmChartSettings::~frmChartSettings()
{
    SilenceNumberEdits(*this);
}

void frmChartSettings::ShowUpdatedSettings()
{
    (m_chart.TimeScale() ? optxAxisTime : optxAxisInterval)->setChecked(true);
    (m_settings.AutoScale ? optYScaleAuto : optYScaleManual)->setChecked(true);
    // While the scale is automatic, or limits are held in the view, the boxes start from what is seen.
    std::array limits{m_settings.yMin, m_settings.yMax};
    if (m_chart.LookLimits()) {
        limits = *m_chart.LookLimits();
    } else if (const auto visible = m_chart.VisibleLimits(); visible && m_settings.AutoScale) {
        limits = *visible;
    }
    showLimit(modChartSettings::LimitMax, modChartSettings::LimitText(limits[1], m_decimalSeparator));
    showLimit(modChartSettings::LimitMin, modChartSettings::LimitText(limits[0], m_decimalSeparator));
    ShowUnit();
    chkConnectPoints->setChecked(m_chart.ConnectPoints());
    chkNullWerte->setChecked(m_settings.ShowZeroValues);
    enableLimits();
}

void frmChartSettings::showLimit(std::size_t limit, const std::string& text)
{
    txtParameter.at(limit)->ShowText(text);
    m_shownLimits.at(limit) = text;
}

/// Leaving a box may change its text, too.
bool frmChartSettings::isTyped(std::size_t limit) const
{
    const std::string text = ToBytes(txtParameter.at(limit)->text()), &shown = m_shownLimits.at(limit);
    const auto box = static_cast<modChartSettings::Limit>(limit);
    return text != shown && text != modChartSettings::CheckedText(box, shown, m_decimalSeparator);
}

void frmChartSettings::ShowUnit()
{
    QString unit = FromUtf8(m_chart.YCaption().Text);
    unit = unit.remove(QLatin1Char('[')).remove(QLatin1Char(']')).trimmed();
    for (QLabel* label : lblUnit) {
        label->setText(unit);
    }
}

void frmChartSettings::ChooseLimits()
{
    optYScaleManual->setChecked(true);
    enableLimits();
    txtParameter[modChartSettings::LimitMax]->setFocus();
    txtParameter[modChartSettings::LimitMax]->selectAll();
}

void frmChartSettings::enableLimits()
{
    for (NumberEdit* box : txtParameter) {
        box->setEnabled(optYScaleManual->isChecked());
    }
}

void frmChartSettings::cmdOK_Click()
{
    if (apply()) {
        accept();
    }
}

void frmChartSettings::cmdApply_Click()
{
    apply();
}

/// Automatic limits that the boxes only show do not replace those that are kept for manual scaling.
void frmChartSettings::applyLimits()
{
    std::array<std::optional<std::string>, 2> typed;
    for (std::size_t i = 0; i < txtParameter.size(); ++i) {
        if (optYScaleManual->isChecked() || isTyped(i)) {
            typed[i] = ToBytes(txtParameter[i]->text());
        }
    }
    const modChartSettings::Applied applied =
        modChartSettings::Apply(m_settings.yMax, m_settings.yMin, typed, m_decimalSeparator);
    m_settings.yMax = applied.yMax;
    m_settings.yMin = applied.yMin;
    for (std::size_t i = 0; i < txtParameter.size(); ++i) {
        if (applied.texts[i]) {
            showLimit(i, *applied.texts[i]);
        }
    }
}

/// Returns false, with the focus in the box at fault, when a text is not a number.
bool frmChartSettings::apply()
{
    for (NumberEdit* box : txtParameter) {
        if (!CDbl(ToBytes(box->text()), m_decimalSeparator)) {
            box->setFocus();
            box->selectAll();
            return false;
        }
    }
    applyLimits();
    m_settings.AutoScale = !optYScaleManual->isChecked();
    m_chart.AutoScale(m_settings.AutoScale);
    if (!m_settings.AutoScale) {
        m_chart.YLimits(m_settings.yMin, m_settings.yMax);
    }
    m_settings.ShowZeroValues = chkNullWerte->isChecked();
    m_settings.TimeOfDay = optxAxisTime->isChecked();
    m_chart.TimeScale(m_settings.TimeOfDay);
    m_chart.ConnectPoints(chkConnectPoints->isChecked());
    m_chart.ShowZeroValues(m_settings.ShowZeroValues);
    m_chart.Redraw();
    const std::error_code why = modGlobals::SaveGlobalSettings(m_settings);
    if (why && Unkept) {
        Unkept(why);
    }
    if (Applied) {
        Applied();
    }
    return true;
}
