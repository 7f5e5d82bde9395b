#include "ui/settings/frmRVQ.h"

#include "sensor/Parameters.h"
#include "session/clsWriteKeeper.h"
#include "store/clsConfigLibrary.h"
#include "store/modGlobals.h"
#include "ui/help/Help.h"
#include "ui/settings/EnablingRule.h"
#include "ui/settings/RVQBoxes.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/InputGuards.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/NumberEdit.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/UndoBar.h"
#include "ui/widgets/WindowPlace.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QEvent>
#include <QFile>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QTimer>

#include <algorithm>

namespace {

constexpr std::size_t kDevice = clsConfigLibrary::kDeviceLine;

/// Without a sensor, the device entry has the type that the user works with (`kSerialType` or `kProfibusType`).
void takeDefaultType(Configuration& device, std::string_view defaultDevice)
{
    device.Identity.DeviceType = defaultDevice;
    device.Parameters.NodeAddress = defaultDevice == kSerialType ? -1 : 0;
}

} // namespace

frmRVQ::frmRVQ(QWidget* owner, const Context& context)
    : QDialog(owner), m_context(context), m_decimalSeparator(DecimalSeparator()),
      m_transfer(context.device, context.library.Device(), *this, context.pumpEvents, context.writes)
{
    setObjectName(QStringLiteral("frmRVQ"));
    BuildForm(*this, m_decimalSeparator);
    Boxes = RVQBoxes(*this, m_context.settings, m_context.help, m_question);
    KeepWheelFromLists(*this);
    fillConfigurations();
    localise();
    connectControls();
    connectEdits();
    cmbConfig_Click(kDevice);
    m_history.Start(content());
    m_notedTime = timeOfNoted(); // the window reports what is written from now on
    // All of the frames where the screen has room for them; Qt itself would take two thirds of it at most.
    resize(WholeSize().boundedTo(screen()->availableSize()));
    new WindowPlace(*this, m_context.settings.IniFile);
}

frmRVQ::~frmRVQ()
{
    SilenceNumberEdits(*this);
}

void frmRVQ::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    if (!m_begun) {
        m_begun = true;
        // Only after the window is shown: a transfer waits, and a constructor must not wait.
        QTimer::singleShot(0, this, [this] { Guarded([this] { begin(); }); });
    }
}

void frmRVQ::begin()
{
    if (m_context.device.CommStatus() != DialogueNone) {
        cmdDownload_Click();
    } else {
        ShowStatusText(ConnectionTextId(m_context.device));
    }
}

void frmRVQ::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        Guarded([this] { localise(); });
    }
    QDialog::changeEvent(event);
}

void frmRVQ::reject()
{
    if (!m_transfer.IsBusy() && mayDiscardEdits([this] { reject(); })) {
        QDialog::reject();
    }
}

/// Refuses the close box during a transfer, but not the end of the session: the main window then ends the wait.
void frmRVQ::closeEvent(QCloseEvent* event)
{
    event->setAccepted(!event->spontaneous() || (!m_transfer.IsBusy() && mayDiscardEdits([this] { reject(); })));
    if (event->isAccepted()) {
        QDialog::reject();
    }
}

void frmRVQ::Unload()
{
    m_unloading = true;
    if (m_question != nullptr) {
        m_question->reject();
    }
    QDialog::reject();
}

void frmRVQ::connectControls()
{
    connect(cmbConfig, &QComboBox::activated, this, [this](int line) { Guarded([&] { chooseConfiguration(line); }); });
    connectButton(cmdLoad, &frmRVQ::cmdLoad_Click);
    connectButton(cmdSave, &frmRVQ::cmdSave_Click);
    connectButton(cmdDelete, &frmRVQ::cmdDelete_Click);
    connectButton(cmdDownload, &frmRVQ::cmdDownload_Click);
    connectButton(cmdUpload, &frmRVQ::cmdUpload_Click);
    connectButton(cmdSaveSettings, &frmRVQ::cmdSaveSettings_Click);
    connectButton(cmdSetDefaults, &frmRVQ::cmdSetDefaults_Click);
    connectButton(cmdReview, &frmRVQ::cmdReview_Click);
    cmdReview->setDefault(true); // a number box keeps Enter for itself
    connectButton(cmdCompare, &frmRVQ::cmdCompare_Click);
    connect(fraUndo, &UndoBar::undone, this, [this] { Guarded([this] { cmdUndo_Click(); }); });
    connectButton(cmdPrint, &frmRVQ::cmdPrint_Click);
    connectButton(cmdHelp, &frmRVQ::cmdHelp_Click);
    connectButton(cmdClose, &frmRVQ::cmdClose_Click);
}

void frmRVQ::connectButton(const QPushButton* button, void (frmRVQ::*act)())
{
    connect(button, &QPushButton::clicked, this, [this, act] { Guarded([&] { (this->*act)(); }); });
}

void frmRVQ::localise()
{
    LocaliseForm(*this, m_context.settings.Language);
    LocaliseParameters(m_context.settings.Language);
    cmbConfig->setItemText(kDevice, text(TextId::DeviceEntry));
    if (cmbConfig->currentIndex() == kDevice) {
        showSource(text(TextId::DeviceEntry));
    }
    showStatus(statusText());
    showReport();
    applyRule();
}

void frmRVQ::fillConfigurations()
{
    for (std::size_t line = 0; line < m_context.library.Size(); ++line) {
        cmbConfig->addItem(line == kDevice ? text(TextId::DeviceEntry)
                                           : FromBytes(m_context.library.Entry(line).Description));
    }
}

Configuration& frmRVQ::selected() const
{
    return m_context.library.Entry(static_cast<std::size_t>(std::max(cmbConfig->currentIndex(), 0)));
}

void frmRVQ::cmbConfig_Click(int index)
{
    cmbConfig->setCurrentIndex(index);
    if (index == kDevice && m_context.device.CommStatus() == DialogueNone) {
        takeDefaultType(m_context.library.Device(), m_context.settings.DefaultDevice);
    }
    fill(selected());
}

void frmRVQ::fill(const Configuration& configuration)
{
    showValues(ShownOf(configuration.Parameters, m_decimalSeparator));
    m_line = cmbConfig->currentIndex();
    m_settled = shown();
    m_notes = {};
    showSource(m_line == kDevice ? text(TextId::DeviceEntry) : QFile::decodeName(configuration.FileName.c_str()));
    applyRule();
}

/// Where the shown values come from: the sensor or a file.
void frmRVQ::showSource(const QString& source)
{
    lblSource->setText(source);
    lblSource->setToolTip(PlainToolTip(source));
}

ShownSettings frmRVQ::shown() const
{
    ShownSettings values;
    values.serial = m_serial;
    for (const ParameterDef& row : ParameterTable()) {
        switch (row.control) {
        case ControlKind::Number:
            values.texts[row] = ToBytes(BoxOf(row)->text());
            break;
        case ControlKind::Check:
            values.choices[row] = CheckOf(row)->isChecked() ? 1 : 0;
            break;
        case ControlKind::List:
            values.choices[row] = ListOf(row)->currentIndex();
            break;
        case ControlKind::Label:
            values.choices[row] = m_shownChoices[row];
            break;
        }
    }
    return values;
}

void frmRVQ::showOutcomes(const CopyOutcomes& outcomes)
{
    for (const ParameterDef& row : ParameterTable()) {
        if (outcomes[row] == CopyOutcome::Refused) {
            BoxOf(row)->ShowText(std::string(kRefusedText)); // Deliberate: the text, not a colour.
        }
    }
}

/// Updates which controls are enabled, and everything else that depends on what is shown.
void frmRVQ::applyRule()
{
    const EditorRule rule = RuleOf({.serial = m_serial,
                                    .analogOutput = CheckOf(RowOf(&ParameterSet::AnalogOutput))->isChecked(),
                                    .connected = m_context.device.CommStatus() != DialogueNone,
                                    .busy = m_transfer.IsBusy() || m_context.device.Wait().Running,
                                    .line = static_cast<std::size_t>(std::max(cmbConfig->currentIndex(), 0))});
    for (const ParameterDef& row : ParameterTable()) {
        control[row]->setEnabled(rule.Controls[row]);
    }
    for (QPushButton* button : {cmdReview, cmdUpload, cmdDownload, cmdSetDefaults, cmdSaveSettings}) {
        button->setEnabled(rule.Transfer);
    }
    cmdDelete->setEnabled(rule.Delete);
    for (QWidget* other :
         std::initializer_list<QWidget*>{cmbConfig, cmdLoad, cmdSave, cmdCompare, cmdPrint, cmdHelp, cmdClose}) {
        other->setEnabled(rule.Other);
    }
    ShowSwitches(m_serial);
    const auto showLogic = [this](QLabel* label, const ParameterDef& row, std::int32_t value) {
        label->setText(m_serial ? FromUtf8(ValueName(row, value, m_context.settings.Language)) : QString());
    };
    const ParameterDef &first = RowOf(&ParameterSet::S1Logic), &second = RowOf(&ParameterSet::S2Logic);
    showLogic(LabelOf(first), first, m_shownChoices[first]);
    showLogic(lblS2Logic, second, ListOf(second)->currentIndex() == 1 ? 1 : 0);
    markDifferences();
}

/// Every shown value that differs from the sensor's has a sign beside it and the sensor's value in its tool tip. So has
/// every field with a note.
void frmRVQ::markDifferences()
{
    warnOf(shown());
    PerParameter<QString> inSensor;
    if (m_context.device.CommStatus() != DialogueNone && !m_transfer.IsBusy()) {
        for (const Difference& difference :
             Differences(shown(), m_context.device.Parameters(), m_context.device.Identity(), m_decimalSeparator,
                         m_context.settings.Language)) {
            inSensor[*difference.row] = text(TextId::ToolTipInSensor).arg(FromUtf8(difference.sensorText));
        }
    }
    for (const ParameterDef& row : ParameterTable()) {
        const QString& difference = inSensor[row];
        differenceMark[row]->setVisible(!difference.isEmpty());
        differenceMark[row]->setToolTip(PlainToolTip(difference));
        QStringList lines{row.control == ControlKind::Number ? rangeText(row) : QString(), difference};
        lines += notesOf(row);
        lines.removeAll(QString());
        control[row]->setToolTip(PlainToolTip(lines.join(u'\n')));
    }
    showNotes();
    lblUnstored->setVisible(m_context.device.UnstoredChanges() && m_context.device.CommStatus() != DialogueNone &&
                            !m_transfer.IsBusy());
}

QString frmRVQ::rangeText(const ParameterDef& row) const
{
    const auto limit = [&](std::int32_t stored) { return FromBytes(NumberText(row, stored, m_decimalSeparator)); };
    return text(TextId::ToolTipRange)
        .arg(limit(row.limits.minimum), limit(row.limits.maximum), FromUtf8(row.unit))
        .trimmed();
}

void frmRVQ::showInformation()
{
    const SensorIdentity& sensor = m_context.device.Identity();
    ShowText(*lblSerialNo, FromBytes(sensor.SerialNo));
    ShowText(*lblSWVersion, FromBytes(sensor.SWVersion));
    ShowText(*lblSWBuild, FromBytes(sensor.SWBuild));
    ShowText(*lblSWDate, FromBytes(sensor.SWDate));
    ShowText(*lblDeviceType, FromBytes(sensor.DeviceType));
}

frmRVQ::State frmRVQ::stateOf(const clsRVQ& device) const
{
    return {device.CommStatus(), device.UnstoredChanges(), device.Wait().Running || m_transfer.IsBusy()};
}

void frmRVQ::FollowDevice()
{
    showInformation();
    followWrites();
    const State now = stateOf(m_context.device);
    if (now != m_followed) {
        m_followed = now;
        applyRule();
    }
    const TextId connection = ConnectionTextId(m_context.device);
    if (connection != m_connection && !m_transfer.IsBusy()) {
        m_connection = connection;
        if (connection == TextId::None && m_failure.first != TextId::None) {
            ShowFailure(m_failure.first, m_failure.second);
            return;
        }
        ShowStatusText(connection);
        ShowFailed(false);
    }
}

QString frmRVQ::text(TextId id) const
{
    return Text(id, m_context.settings.Language);
}
