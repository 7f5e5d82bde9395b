#include "ui/settings/SettingsForm.h"

#include "sensor/Fields.h"
#include "ui/widgets/FrameColumns.h"
#include "ui/widgets/LineLabel.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/NumberEdit.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/ScrollFrames.h"
#include "ui/widgets/SelectableLine.h"
#include "ui/widgets/UndoBar.h"
#include "ui/widgets/WrappedLabel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include <string>
#include <utility>

namespace {

constexpr char kDiffers[] = "≠", kNote[] = "!";
constexpr int kUnitColumn = 2, kMarkColumn = 3, kNoteColumn = 4;

/// A hidden sign keeps its room, so that nothing moves when it comes.
void keepRoom(QWidget& sign, bool keep)
{
    QSizePolicy policy = sign.sizePolicy();
    policy.setRetainSizeWhenHidden(keep);
    sign.setSizePolicy(policy);
}

} // namespace

void SettingsForm::BuildForm(QDialog& window, char decimalSeparator)
{
    m_window = &window;
    m_decimalSeparator = decimalSeparator;
    QLayout* configuration = buildConfigurationRow(); // first: the tab key follows the order of creation
    auto* rows = new QVBoxLayout(&window);
    rows->addLayout(configuration);
    rows->addWidget(buildFrames(), 1);
    lblNote = new LineLabel(&window, Qt::ElideRight);
    lblNote->setObjectName(QStringLiteral("lblNote"));
    lblNote->hide();
    rows->addWidget(lblNote);
    rows->addLayout(buildStatus());
    rows->addLayout(buildButtons());
    chooseDefaultButton();
    SetTextIds(&window, TextId::TitleSettings);
}

/// The frames, in fewer columns in a narrow window, and scrolled in a low one; everything else stays in sight.
QWidget* SettingsForm::buildFrames()
{
    auto* frames = new QWidget(m_window);
    auto* columns = new FrameColumns(frames, {{0, 2, 4}, {0, 4}, {0}});
    columns->addWidget(buildSensorFrame());
    columns->addWidget(buildFrame("fraInterface", TextId::FrameInterface, SettingsSection::Interface));
    columns->addWidget(buildFrame("fraMeasurement", TextId::FrameMeasurementSettings, SettingsSection::Measurement));
    columns->addWidget(buildFrame("fraCorrection", TextId::FrameCorrection, SettingsSection::Correction));
    columns->addWidget(buildSwitchFrame());
    columns->addWidget(buildFrame("fraRainFilter", TextId::FrameRainFilter, SettingsSection::RainAndEcho));
    scrSettings = named<ScrollFrames>("scrSettings");
    scrSettings->setWidget(frames);
    return scrSettings;
}

template <typename Widget>
Widget* SettingsForm::named(std::string_view name, TextId id, TextId toolTipId)
{
    auto* widget = new Widget(m_window);
    widget->setObjectName(FromUtf8(name));
    SetTextIds(widget, id, toolTipId);
    return widget;
}

QGridLayout* SettingsForm::frame(QWidget* around) const
{
    auto* grid = new QGridLayout(around);
    grid->setColumnStretch(1, 1);
    // Reserves room for units and signs, so that the boxes of all frames line up.
    grid->setColumnMinimumWidth(kUnitColumn, m_window->fontMetrics().horizontalAdvance(QStringLiteral("hPa")));
    grid->setColumnMinimumWidth(kMarkColumn, m_window->fontMetrics().horizontalAdvance(QString::fromUtf8(kDiffers)));
    grid->setColumnMinimumWidth(kNoteColumn, m_window->fontMetrics().horizontalAdvance(QLatin1String(kNote)));
    grid->setVerticalSpacing(m_window->fontMetrics().height() / 4);
    return grid;
}

QLayout* SettingsForm::buildConfigurationRow()
{
    auto* row = new QHBoxLayout;
    cmbConfig = named<QComboBox>("cmbConfig");
    cmbConfig->setMinimumWidth(m_window->fontMetrics().height() * 18);
    auto* text = named<QLabel>("lblConfig", TextId::CaptionConfiguration);
    text->setBuddy(cmbConfig);
    lblSource = named<QLabel>("lblSource");
    lblSource->setTextFormat(Qt::PlainText);                                // a file may be named like a tag
    lblSource->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred); // a long path must not widen the window
    cmdLoad = named<QPushButton>("cmdLoad", TextId::ButtonImport, TextId::ToolTipImport);
    cmdSave = named<QPushButton>("cmdSave", TextId::ButtonSave, TextId::ToolTipSave);
    cmdDelete = named<QPushButton>("cmdDelete", TextId::ButtonDelete, TextId::ToolTipDelete);
    row->addWidget(text);
    row->addWidget(cmbConfig);
    row->addWidget(named<QLabel>("lblSourceCaption", TextId::CaptionFile));
    row->addWidget(lblSource, 1);
    for (QPushButton* button : {cmdLoad, cmdSave, cmdDelete}) {
        row->addWidget(button);
    }
    return row;
}

QGroupBox* SettingsForm::buildSensorFrame()
{
    auto* box = named<QGroupBox>("fraSensor", TextId::FrameSensor);
    QGridLayout* grid = frame(box);
    addInformation(*grid, "lblSerialNo", TextId::CaptionSerialNumber, lblSerialNo);
    addInformation(*grid, "lblSWVersion", TextId::CaptionSoftwareVersion, lblSWVersion);
    addInformation(*grid, "lblSWBuild", TextId::CaptionSoftwareBuild, lblSWBuild);
    addInformation(*grid, "lblSWDate", TextId::CaptionSoftwareDate, lblSWDate);
    addInformation(*grid, "lblDeviceType", TextId::CaptionDeviceType, lblDeviceType);
    return box;
}

QGroupBox* SettingsForm::buildFrame(const char* name, TextId id, SettingsSection section)
{
    auto* box = named<QGroupBox>(name, id);
    addSection(*frame(box), section);
    return box;
}

QGroupBox* SettingsForm::buildSwitchFrame()
{
    auto* box = named<QGroupBox>("fraSwitches", TextId::FrameSwitches);
    QGridLayout* grid = frame(box);
    m_switchGrid = grid;
    addSection(*grid, SettingsSection::Analog);
    m_firstSwitchRow = grid->rowCount();
    addSection(*grid, SettingsSection::SecondLogic);
    grid->setRowMinimumHeight(grid->rowCount(), m_window->fontMetrics().height() / 2);
    addSection(*grid, SettingsSection::FirstSwitch);
    grid->setRowMinimumHeight(grid->rowCount(), m_window->fontMetrics().height() / 2);
    const int row = grid->rowCount();
    lblS2Logic = named<QLabel>("lblS2Logic");
    grid->addWidget(named<QLabel>("lblS2LogicCaption", TextId::LabelS2Logic), row, 0);
    grid->addWidget(lblS2Logic, row, 1);
    addSection(*grid, SettingsSection::SecondSwitch);
    return box;
}

void SettingsForm::addSection(QGridLayout& grid, SettingsSection section)
{
    for (const ParameterDef* row : RowsByControl()) {
        if (row->section == section) {
            addParameter(grid, *row);
        }
    }
}

void SettingsForm::addParameter(QGridLayout& grid, const ParameterDef& row)
{
    const int line = grid.rowCount();
    control[row] = newControl(row);
    if (row.control == ControlKind::Check) {
        grid.addWidget(control[row], line, 0, 1, 2);
    } else {
        grid.addWidget(caption(row.labelId, control[row]), line, 0);
        grid.addWidget(control[row], line, 1);
    }
    if (row.control == ControlKind::Number) {
        grid.addWidget(new QLabel(FromUtf8(row.unit), m_window), line, kUnitColumn);
    }
    differenceMark[row] = mark(grid, line, kMarkColumn, kDiffers);
    noteMark[row] = mark(grid, line, kNoteColumn, kNote);
}

QWidget* SettingsForm::newControl(const ParameterDef& row)
{
    const std::string name = ControlName(row);
    switch (row.control) {
    case ControlKind::List: {
        auto* list = named<QComboBox>(name);
        list->setSizeAdjustPolicy(QComboBox::AdjustToContents);        // also when the language is switched
        list->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed); // its own minimum is that of an empty list
        return list;
    }
    case ControlKind::Check:
        return named<QCheckBox>(name, row.labelId);
    case ControlKind::Label:
        return named<QLabel>(name);
    case ControlKind::Number:
        break;
    }
    auto* box = new NumberEdit(m_window, m_decimalSeparator);
    box->setObjectName(FromUtf8(name));
    box->setAlignment(Qt::AlignRight);
    return box;
}

void SettingsForm::addInformation(QGridLayout& grid, const char* name, TextId captionId, QLabel*& value)
{
    const int row = grid.rowCount();
    value = named<SelectableLine>(name);
    grid.addWidget(caption(captionId, value), row, 0);
    grid.addWidget(value, row, 1);
}

QLabel* SettingsForm::caption(TextId id, QWidget* buddy)
{
    auto* text = named<QLabel>("", id);
    text->setBuddy(buddy);
    return text;
}

QLabel* SettingsForm::mark(QGridLayout& grid, int row, int column, const char* shown)
{
    auto* sign = new QLabel(QString::fromUtf8(shown), m_window);
    QFont bold = sign->font();
    bold.setBold(true);
    sign->setFont(bold);
    sign->setForegroundRole(QPalette::Link);
    keepRoom(*sign, true);
    sign->hide();
    grid.addWidget(sign, row, column);
    return sign;
}

QLayout* SettingsForm::buildStatus()
{
    lblStatus = named<QLabel>("lblStatus");
    lblStatus->setTextFormat(Qt::PlainText);
    lblStatus->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred); // it may name a long path
    lblReport = named<WrappedLabel>("lblReport");
    lblReport->setTextInteractionFlags(Qt::TextSelectableByMouse);
    lblReport->hide();
    lblUnstored = named<QLabel>("lblUnstored", TextId::CaptionUnstored);
    lblProgress = named<QLabel>("lblProgress");
    prgTransfer = named<QProgressBar>("prgTransfer");
    prgTransfer->setTextVisible(false);
    lblStatus->setMinimumHeight(prgTransfer->sizeHint().height()); // the row keeps its height
    fraUndo = new UndoBar(m_window);
    auto* rows = new QVBoxLayout;
    auto* row = new QHBoxLayout;
    rows->addLayout(row);
    rows->addWidget(fraUndo);
    rows->addWidget(lblReport); // it goes on where the bar ends
    row->addWidget(lblStatus, 1);
    row->addWidget(lblUnstored);
    row->addWidget(lblProgress);
    row->addWidget(prgTransfer);
    for (QWidget* widget : std::initializer_list<QWidget*>{lblUnstored, lblProgress, prgTransfer}) {
        widget->hide();
    }
    return rows;
}

QLayout* SettingsForm::buildButtons()
{
    cmdReview = named<QPushButton>("cmdReview", TextId::ButtonReview, TextId::ToolTipReview);
    cmdDownload = named<QPushButton>("cmdDownload", TextId::ButtonDownload, TextId::ToolTipDownload);
    cmdUpload = named<QPushButton>("cmdUpload", TextId::ButtonUpload, TextId::ToolTipUpload);
    cmdSaveSettings = named<QPushButton>("cmdSaveSettings", TextId::ButtonStore, TextId::ToolTipStore);
    cmdSetDefaults =
        named<QPushButton>("cmdSetDefaults", TextId::ButtonFactoryDefaults, TextId::ToolTipFactoryDefaults);
    cmdCompare = named<QPushButton>("cmdCompare", TextId::ButtonCompare, TextId::ToolTipCompare);
    cmdPrint = named<QPushButton>("cmdPrint", TextId::ButtonPrint, TextId::ToolTipPrint);
    cmdHelp = named<QPushButton>("cmdHelp", TextId::ButtonHelp);
    cmdClose = named<QPushButton>("cmdClose", TextId::ButtonClose);
    auto* sensor = new QHBoxLayout;
    for (QPushButton* button : {cmdReview, cmdDownload, cmdUpload, cmdSaveSettings, cmdSetDefaults}) {
        sensor->addWidget(button);
    }
    sensor->addStretch(1);
    auto* others = new QHBoxLayout;
    others->addWidget(cmdCompare);
    others->addStretch(1);
    for (QPushButton* button : {cmdPrint, cmdHelp, cmdClose}) {
        others->addWidget(button);
    }
    auto* rows = new QVBoxLayout;
    rows->addLayout(sensor);
    rows->addLayout(others);
    return rows;
}

/// Enter reviews, unless it belongs to a box, or to a button with the focus that does not write to the sensor.
void SettingsForm::chooseDefaultButton()
{
    for (auto* button : m_window->findChildren<QPushButton*>()) {
        button->setAutoDefault(false);
    }
    for (QPushButton* harmless : {cmdLoad, cmdSave, cmdCompare, cmdPrint, cmdHelp, cmdClose}) {
        harmless->setAutoDefault(true);
    }
    cmdReview->setDefault(true);
}

void SettingsForm::ShowSwitches(bool show)
{
    for (int row = m_firstSwitchRow; row < m_switchGrid->rowCount(); ++row) {
        for (int column = 0; column < kMarkColumn; ++column) {
            const QLayoutItem* item = m_switchGrid->itemAtPosition(row, column);
            if (item != nullptr && item->widget() != nullptr) {
                item->widget()->setVisible(show);
            }
        }
        for (const int column : {kMarkColumn, kNoteColumn}) { // they are shown by others
            if (const QLayoutItem* item = m_switchGrid->itemAtPosition(row, column)) {
                keepRoom(*item->widget(), show);
            }
        }
    }
}

QSize SettingsForm::WholeSize() const
{
    for (auto* box : m_window->findChildren<QGroupBox*>()) {
        box->layout()->invalidate(); // what has changed since the layouts were built waits for events otherwise
        box->updateGeometry();
    }
    QLayout* frames = scrSettings->widget()->layout();
    frames->invalidate();
    frames->activate();
    scrSettings->updateGeometry();
    m_window->layout()->invalidate();
    const int noteRow = lblNote->isHidden() ? lblNote->sizeHint().height() + m_window->layout()->spacing() : 0;
    return m_window->sizeHint() + QSize(0, noteRow);
}

NumberEdit* SettingsForm::BoxOf(const ParameterDef& row) const
{
    return static_cast<NumberEdit*>(control[row]);
}

QComboBox* SettingsForm::ListOf(const ParameterDef& row) const
{
    return static_cast<QComboBox*>(control[row]);
}

QCheckBox* SettingsForm::CheckOf(const ParameterDef& row) const
{
    return static_cast<QCheckBox*>(control[row]);
}

QLabel* SettingsForm::LabelOf(const ParameterDef& row) const
{
    return static_cast<QLabel*>(control[row]);
}

void SettingsForm::LocaliseParameters(std::int32_t language)
{
    for (const ParameterDef& row : ParameterTable()) {
        if (row.control == ControlKind::Number) {
            BoxOf(row)->setAccessibleName(Text(row.labelId, language).trimmed());
        } else if (row.control == ControlKind::List) {
            localiseList(row, language);
        }
    }
    for (QLabel* sign : m_window->findChildren<QLabel*>()) {
        if (sign->text() == QString::fromUtf8(kDiffers)) {
            sign->setAccessibleName(Text(TextId::AccessibleDiffers, language));
        }
    }
    cmbConfig->setAccessibleName(Text(TextId::CaptionConfiguration, language));
    lblReport->setAccessibleName(Text(TextId::AccessibleReport, language));
    // A button without a mnemonic in its caption gets a key that the tool tip names.
    for (const auto& [button, key] : {std::pair(cmdLoad, Qt::Key_O), {cmdSave, Qt::Key_S}, {cmdDelete, Qt::Key_D}}) {
        if (!button->text().contains(u'&')) {
            button->setShortcut(Qt::CTRL | key);
        }
    }
}

void SettingsForm::localiseList(const ParameterDef& row, std::int32_t language)
{
    QComboBox* list = ListOf(row);
    for (std::int32_t value = 0; value < ValueCount(row); ++value) {
        const QString text = FromUtf8(ValueName(row, value, language));
        if (value < list->count()) {
            list->setItemText(value, text);
        } else {
            list->addItem(text);
        }
    }
    list->setAccessibleName(Text(row.labelId, language));
}
