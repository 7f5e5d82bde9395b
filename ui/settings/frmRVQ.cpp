#include "ui/settings/frmRVQ.h"

#include "sensor/Parameters.h"
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
#include "ui/widgets/WindowPlace.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QEvent>
#include <QFile>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTimer>

#include <algorithm>
#include <map>

namespace {

constexpr std::size_t kDevice = clsConfigLibrary::kDeviceLine;

/// The device entry without a sensor is of the type that the user works with (`kSerialType` or `kProfibusType`).
void takeDefaultType(Configuration& device, std::string_view defaultDevice)
{
    device.Identity.DeviceType = defaultDevice;
    device.Parameters.NodeAddress = defaultDevice == kSerialType ? -1 : 0;
}

} // namespace

frmRVQ::frmRVQ(QWidget* owner, const Context& context)
    : QDialog(owner), m_context(context), m_decimalSeparator(DecimalSeparator()),
      m_transfer(context.device, context.library.Device(), *this, context.pumpEvents)
{
    setObjectName(QStringLiteral("frmRVQ"));
    BuildForm(*this, m_decimalSeparator);
    new WindowPlace(*this, m_context.settings.IniFile);
    Boxes = RVQBoxes(*this, m_context.settings, m_question);
    KeepWheelFromLists(*this);
    fillConfigurations();
    localise();
    connectControls();
    cmbConfig_Click(kDevice);
}

frmRVQ::~frmRVQ() = default;

void frmRVQ::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    if (!m_begun) {
        m_begun = true;
        // After the window is shown; a transfer waits, and nothing waits in a constructor.
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
    if (!m_transfer.IsBusy()) {
        QDialog::reject();
    }
}

/// The frame's close box is refused during a transfer. The end of the session is not: the main window ends the wait.
void frmRVQ::closeEvent(QCloseEvent* event)
{
    event->setAccepted(!m_transfer.IsBusy() || !event->spontaneous());
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
    connect(cmbConfig, &QComboBox::activated, this, [this](int index) { Guarded([&] { cmbConfig_Click(index); }); });
    connectButton(cmdLoad, &frmRVQ::cmdLoad_Click);
    connectButton(cmdSave, &frmRVQ::cmdSave_Click);
    connectButton(cmdDelete, &frmRVQ::cmdDelete_Click);
    connectButton(cmdDownload, &frmRVQ::cmdDownload_Click);
    connectButton(cmdUpload, &frmRVQ::cmdUpload_Click);
    connectButton(cmdSaveSettings, &frmRVQ::cmdSaveSettings_Click);
    connectButton(cmdSetDefaults, &frmRVQ::cmdSetDefaults_Click);
    connectButton(cmdPrint, &frmRVQ::cmdPrint_Click);
    connectButton(cmdHelp, &frmRVQ::cmdHelp_Click);
    connectButton(cmdClose, &frmRVQ::cmdClose_Click);
    const auto edited = [this] { Guarded([this] { applyRule(); }); };
    for (std::size_t i = 0; i < kFields.size(); ++i) {
        txtParameter[i]->Check = [this, i](const std::string& typed) {
            return CheckedText(i, typed, m_decimalSeparator);
        };
        txtParameter[i]->Words = [this](TextId id) { return text(id); };
        connect(txtParameter[i], &QLineEdit::textChanged, this, edited);
    }
    for (std::size_t i = 0; i < kChoices.size(); ++i) {
        if (kChoices[i].kind == ChoiceKind::Check) {
            connect(CheckOf(i), &QCheckBox::clicked, this, edited);
        } else if (kChoices[i].kind == ChoiceKind::List) {
            connect(ListOf(i), &QComboBox::activated, this, edited);
        }
    }
}

void frmRVQ::connectButton(const QPushButton* button, void (frmRVQ::*act)())
{
    connect(button, &QPushButton::clicked, this, [this, act] { Guarded([&] { (this->*act)(); }); });
}

void frmRVQ::localise()
{
    LocaliseForm(*this, m_context.settings.Language);
    LocaliseLists(m_context.settings.Language);
    cmbConfig->setItemText(kDevice, text(TextId::DeviceEntry));
    if (cmbConfig->currentIndex() == kDevice) {
        showSource(text(TextId::DeviceEntry));
    }
    for (std::size_t i = 0; i < kFields.size(); ++i) {
        txtParameter[i]->setAccessibleName(text(LabelId(kFields[i].code)).trimmed());
    }
    showStatus(statusText());
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
    const ShownSettings values = ShownOf(configuration.Parameters, m_decimalSeparator);
    m_serial = values.serial;
    for (std::size_t i = 0; i < kFields.size(); ++i) {
        const QSignalBlocker silent(txtParameter[i]);
        txtParameter[i]->ShowText(values.texts[i]);
    }
    for (std::size_t i = 0; i < kChoices.size(); ++i) {
        if (kChoices[i].kind == ChoiceKind::Check) {
            CheckOf(i)->setChecked(values.choices[i] == 1);
        } else if (kChoices[i].kind == ChoiceKind::List) {
            ListOf(i)->setCurrentIndex(values.choices[i]);
        }
    }
    m_s1Logic = values.choices[ChoiceS1Logic];
    const bool isDevice = cmbConfig->currentIndex() == kDevice;
    showSource(isDevice ? text(TextId::DeviceEntry) : QFile::decodeName(configuration.FileName.c_str()));
    applyRule();
}

/// Where the shown values come from: the sensor or a file.
void frmRVQ::showSource(const QString& source)
{
    lblSource->setText(source);
    lblSource->setToolTip(source);
}

ShownSettings frmRVQ::shown() const
{
    ShownSettings values;
    values.serial = m_serial;
    for (std::size_t i = 0; i < kFields.size(); ++i) {
        values.texts[i] = ToBytes(txtParameter[i]->text());
    }
    for (std::size_t i = 0; i < kChoices.size(); ++i) {
        switch (kChoices[i].kind) {
        case ChoiceKind::Check:
            values.choices[i] = CheckOf(i)->isChecked() ? 1 : 0;
            break;
        case ChoiceKind::List:
            values.choices[i] = ListOf(i)->currentIndex();
            break;
        case ChoiceKind::Label:
            values.choices[i] = m_s1Logic;
            break;
        }
    }
    return values;
}

void frmRVQ::showOutcomes(const CopyOutcomes& outcomes)
{
    for (std::size_t i = 0; i < kFields.size(); ++i) {
        if (outcomes[i] == CopyOutcome::Refused) {
            txtParameter[i]->ShowText(std::string(kRefusedText)); // Deliberate: the text, not a colour.
        }
    }
}

/// Which controls may be used, and everything else that follows from what is shown.
void frmRVQ::applyRule()
{
    const EditorRule rule = RuleOf({.serial = m_serial,
                                    .analogOutput = CheckOf(ChoiceAnalogOutput)->isChecked(),
                                    .connected = m_context.device.CommStatus() != DialogueNone,
                                    .busy = m_transfer.IsBusy() || m_context.device.Wait().Running,
                                    .line = static_cast<std::size_t>(std::max(cmbConfig->currentIndex(), 0))});
    for (std::size_t i = 0; i < kFields.size(); ++i) {
        txtParameter[i]->setEnabled(rule.Fields[i]);
    }
    for (std::size_t i = 0; i < kChoices.size(); ++i) {
        choice[i]->setEnabled(rule.Choices[i]);
    }
    for (QPushButton* button : {cmdUpload, cmdDownload, cmdSetDefaults, cmdSaveSettings}) {
        button->setEnabled(rule.Transfer);
    }
    cmdDelete->setEnabled(rule.Delete);
    for (QWidget* other : std::initializer_list<QWidget*>{cmbConfig, cmdLoad, cmdSave, cmdPrint, cmdHelp, cmdClose}) {
        other->setEnabled(rule.Other);
    }
    ShowSwitches(m_serial);
    const auto logic = [this](std::int32_t value) {
        return m_serial ? FromUtf8(ChoiceText(ChoiceS1Logic, value, m_context.settings.Language)) : QString();
    };
    static_cast<QLabel*>(choice[ChoiceS1Logic])->setText(logic(m_s1Logic));
    lblS2Logic->setText(logic(ListOf(ChoiceS2Logic)->currentIndex() == 1 ? 1 : 0));
    markDifferences();
}

/// Every shown value that is not the sensor's has a sign beside it and the sensor's value in its tool tip.
void frmRVQ::markDifferences()
{
    std::map<std::string_view, QString> inSensor;
    if (m_context.device.CommStatus() != DialogueNone && !m_transfer.IsBusy()) {
        for (const Difference& row : Differences(shown(), m_context.device.Parameters(), m_context.device.Identity(),
                                                 m_decimalSeparator, m_context.settings.Language)) {
            inSensor[row.code] = text(TextId::ToolTipInSensor).arg(FromUtf8(row.sensorText));
        }
    }
    const auto mark = [&inSensor](std::string_view code, QLabel* sign, QWidget* control, const QString& range) {
        const auto found = inSensor.find(code);
        const QString difference = found == inSensor.end() ? QString() : found->second;
        sign->setVisible(!difference.isEmpty());
        sign->setToolTip(difference);
        const bool both = !difference.isEmpty() && !range.isEmpty();
        control->setToolTip(both ? range + u'\n' + difference : range + difference);
    };
    for (std::size_t i = 0; i < kFields.size(); ++i) {
        mark(kFields[i].code, fieldMark[i], txtParameter[i], rangeText(i));
    }
    for (std::size_t i = 0; i < kChoices.size(); ++i) {
        mark(kChoices[i].code, choiceMark[i], choice[i], QString());
    }
    lblUnstored->setVisible(m_context.device.UnstoredChanges() && m_context.device.CommStatus() != DialogueNone &&
                            !m_transfer.IsBusy());
}

QString frmRVQ::rangeText(std::size_t field) const
{
    const FieldDef& def = kFields[field];
    const auto limit = [&](std::int32_t stored) { return FromBytes(FieldText(def, stored, m_decimalSeparator)); };
    return text(TextId::ToolTipRange).arg(limit(def.minimum), limit(def.maximum), FromUtf8(def.unit)).trimmed();
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
