#include "ui/main/MeasurementPanel.h"

#include "base/modAPI.h"
#include "session/clsSession.h"
#include "store/modGlobals.h"
#include "ui/main/LampShape.h"
#include "ui/main/ValueLabel.h"
#include "ui/main/frmTextWindow.h"
#include "ui/widgets/Badge.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/KeptRoom.h"
#include "ui/widgets/LineLabel.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/Named.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/Waiting.h"

#include <QAction>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <utility>

namespace {

constexpr double kValueFontScale = 2.2;
constexpr QSize kUsualWindow(66, 43); // in line heights; the number has its usual size up to there
constexpr double kMostGrowth = 2.5;   // of the number, else the column would take too much from the chart
constexpr double kGrowthSteps = 8.0;  // as much as the letters between two sizes
constexpr char kValueTemplate[] = "-000.00000000 mm"; // roughly the longest text

struct Lamp {
    QRgb color;
    TextId words;
};

const Lamp& lampOf(std::int32_t commStatus)
{
    static constexpr Lamp kLamps[] = {
        {qRgb(255, 0, 0), TextId::LampNoConnection},
        {qRgb(255, 255, 0), TextId::LampIdle},
        {qRgb(0, 255, 0), TextId::LampMeasuring},
    };
    return kLamps[std::clamp<std::int32_t>(commStatus, DialogueNone, DialogueMeasuring)];
}

/// Notes that a shown value has just arrived; an empty text has no age.
void noteValue(clsValueAge& age, const QString& shown)
{
    if (shown.isEmpty()) {
        age.Forget();
    } else {
        age.Arrived();
    }
}

/// Puts controls side by side; those after the first share the remaining room.
QHBoxLayout* sideBySide(std::initializer_list<QWidget*> controls)
{
    auto* line = new QHBoxLayout;
    for (QWidget* control : controls) {
        line->addWidget(control, control == *controls.begin() ? 0 : 1);
    }
    return line;
}

} // namespace

MeasurementPanel::MeasurementPanel(QWidget* parent) : QGroupBox(parent)
{
    setObjectName(QStringLiteral("fraMeasurement"));
    build();
    setTextIds();
}

MeasurementPanel::~MeasurementPanel()
{
    if (m_session != nullptr) {
        m_session->Leave(*this);
    }
}

void MeasurementPanel::Follow(clsSession& session, const modGlobals::Settings& settings)
{
    m_session = &session;
    m_settings = &settings;
    connect(cmdStart, &QPushButton::clicked, this, [this] { Guarded([this] { cmdStart_Click(); }); });
    connect(cmdSingleValue, &QPushButton::clicked, this, [this] { Guarded([this] { cmdSingleValue_Click(); }); });
    connect(chkTempMeasurement, &QCheckBox::clicked, this,
            [this](bool checked) { Guarded([&] { m_session->Loop().PollTemperature(checked); }); });
    connect(lblMeasValue, &ValueLabel::clicked, this, [this] { Guarded([this] { ShowLargeDisplay(); }); });
    session.Listen(*this);
    ShowDialogue(DialogueNone);
    ShowRule({});
}

void MeasurementPanel::build()
{
    shpLamp = Named<LampShape>("shpLamp", this);
    lblLamp = Named<QLabel>("lblLamp", this);
    lblMeasCaption = Named<QLabel>("lblMeasCaption", this);
    lblMeasAge = Named<LineLabel>("lblMeasAge", this, Qt::ElideRight);
    m_roomOfValue = new KeptRoom(this);
    lblMeasValue = Named<ValueLabel>("lblMeasValue", m_roomOfValue);
    lblShutDown = Named<QLabel>("lblShutDown", this);
    lblBadge = Named<Badge>("lblBadge", this);
    // Deliberate: never visible. It has the age in one place for whoever looks for it by this name.
    lblAge = Named<QLabel>("lblAge", this);
    lblAge->hide();
    lblTempCaption = Named<QLabel>("lblTempCaption", this);
    lblTemperature = Named<LineLabel>("lblTemperature", this, Qt::ElideRight);
    lblTempAge = Named<LineLabel>("lblTempAge", this, Qt::ElideRight);
    cmdStart = Named<QPushButton>("cmdStart", QStringLiteral("Start"), this);
    cmdSingleValue = Named<QPushButton>("cmdSingleValue", QStringLiteral("Single"), this);
    chkTempMeasurement = Named<QCheckBox>("chkTempMeasurement", this);
    buildActions();
    style();
    m_roomOfValue->Hold(*lblMeasValue);
    FitNumber({});

    auto* grid = new QGridLayout(this);
    grid->addWidget(shpLamp, 0, 0);
    grid->addWidget(lblLamp, 0, 1);
    grid->addLayout(sideBySide({lblMeasCaption, lblMeasAge}), 1, 0, 1, 2);
    grid->addWidget(m_roomOfValue, 2, 0, 1, 2);
    grid->addLayout(sideBySide({lblTempCaption, lblTempAge, lblTemperature}), 3, 0, 1, 2);
    auto* notes = sideBySide({lblShutDown, lblBadge});
    grid->addLayout(notes, 4, 0, 1, 2);
    grid->setRowMinimumHeight(4, lblBadge->sizeHint().height()); // nothing moves when a line appears there
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdStart, 1);
    buttons->addWidget(cmdSingleValue, 1);
    grid->addLayout(buttons, 5, 0, 1, 2);
    grid->addWidget(chkTempMeasurement, 6, 0, 1, 2);
    grid->setColumnStretch(1, 1);
}

void MeasurementPanel::style()
{
    for (LineLabel* right : std::initializer_list<LineLabel*>{lblMeasValue, lblMeasAge, lblTemperature, lblTempAge}) {
        right->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    }
    QFont bold = lblShutDown->font();
    bold.setBold(true);
    lblShutDown->setFont(bold);
    lblShutDown->hide();
}

void MeasurementPanel::buildActions()
{
    tlbStart = Named<QAction>("tlbStart", QStringLiteral("Start"), this);
    tlbSingle = Named<QAction>("tlbSingle", QStringLiteral("Single"), this);
    for (const auto& [action, button] : {std::pair(tlbStart, cmdStart), std::pair(tlbSingle, cmdSingleValue)}) {
        action->setEnabled(false);
        connect(action, &QAction::triggered, button, &QPushButton::click);
    }
}

void MeasurementPanel::KeysToActions(bool folded)
{
    m_folded = folded;
    giveKeys();
}

/// A key that both had would be ambiguous, and a hidden button takes none.
void MeasurementPanel::giveKeys()
{
    const auto give = [this](QPushButton& button, QAction& action, Qt::Key key) {
        button.setShortcut(m_folded ? QKeySequence() : QKeySequence(key));
        action.setShortcut(m_folded ? QKeySequence(key) : QKeySequence());
    };
    give(*cmdStart, *tlbStart, Qt::Key_F5);
    give(*cmdSingleValue, *tlbSingle, Qt::Key_F6);
}

/// The number has its usual size in a window of the usual size. It grows in steps: each lays out the column anew.
void MeasurementPanel::FitNumber(const QSize& windowSize)
{
    const QSizeF usual = QSizeF(kUsualWindow) * fontMetrics().height();
    const double room = std::min(windowSize.width() / usual.width(), windowSize.height() / usual.height());
    const double growth = std::floor(std::clamp(room, 1.0, kMostGrowth) * kGrowthSteps) / kGrowthSteps;
    if (growth == m_growth) {
        return;
    }
    m_growth = growth;
    QFont large = font();
    large.setPointSizeF(large.pointSizeF() * kValueFontScale * growth);
    large.setBold(true);
    m_roomOfValue->setFont(large);
    // As wide as the longest text, so that nothing moves, not even with the first value.
    m_roomOfValue->setMinimumWidth(lblMeasValue->fontMetrics().horizontalAdvance(QLatin1String(kValueTemplate)));
}

void MeasurementPanel::setTextIds()
{
    SetTextIds(this, TextId::FrameMeasurement);
    SetTextIds(lblMeasCaption, TextId::CaptionMeasValue);
    SetTextIds(lblMeasValue, TextId::None, TextId::ToolTipLargeDisplay);
    SetTextIds(lblTempCaption, TextId::CaptionTemperature);
    SetTextIds(chkTempMeasurement, TextId::CheckTemperature, TextId::ToolTipTemperature);
    SetTextIds(lblShutDown, TextId::CaptionShutDown);
    SetTextIds(lblBadge, TextId::None, TextId::ToolTipBadge);
    SetTextIds(cmdStart, TextId::None, TextId::ToolTipStart);
    SetTextIds(cmdSingleValue, TextId::None, TextId::ToolTipSingleValue);
}

void MeasurementPanel::Localise()
{
    giveKeys();
    tlbStart->setToolTip(Text(TextId::ToolTipStart, m_settings->Language));
    tlbSingle->setToolTip(Text(TextId::ToolTipSingleValue, m_settings->Language));
    chkTempMeasurement->setShortcut(Qt::Key_F7);
    shpLamp->setAccessibleName(Text(TextId::AccessibleLamp, m_settings->Language));
    lblMeasValue->setAccessibleName(Text(TextId::CaptionMeasValue, m_settings->Language));
    ShowDialogue(std::exchange(m_shownDialogue, -1)); // the words of the lamp
}

void MeasurementPanel::ShowLargeDisplay()
{
    if (m_textWindow == nullptr) {
        m_textWindow = new frmTextWindow(*window(), *m_settings);
        m_textWindow->ShowValue(lblMeasValue->text());
        m_textWindow->ShowState(stateInWords());
        m_textWindow->ShowNote(noteOnLargeDisplay(lblMeasAge->text()), lblMeasValue->IsStale());
    }
    m_textWindow->show();
    m_textWindow->raise();
    m_textWindow->activateWindow();
}

void MeasurementPanel::FocusStart()
{
    cmdStart->setFocus();
}

void MeasurementPanel::cmdStart_Click()
{
    const auto nextPass = [this] {
        QElapsedTimer passed;
        passed.start();
        while (passed.elapsed() < clsMeasurementLoop::kPass_ms && !m_session->Device().Wait().Ended) {
            PumpEvents(); // the timer wakes it
        }
        return modAPI::LocalTime();
    };
    Press(*cmdStart, [&] { m_session->Loop().StartStop(nextPass); });
}

void MeasurementPanel::cmdSingleValue_Click()
{
    Press(*cmdSingleValue, [this] { m_session->Loop().RequestSingleValue(); });
}

void MeasurementPanel::ShowDialogue(std::int32_t commStatus)
{
    if (commStatus == m_shownDialogue) {
        return;
    }
    m_shownDialogue = commStatus;
    const Lamp& lamp = lampOf(commStatus);
    const QString words = Text(lamp.words, m_settings->Language);
    shpLamp->FillColor(lamp.color);
    shpLamp->setAccessibleDescription(words);
    lblLamp->setText(words);
}

void MeasurementPanel::ShowRule(const ControlRule& rule)
{
    if (rule != m_shownRule) {
        m_shownRule = rule;
        cmdStart->setEnabled(rule.Start);
        cmdSingleValue->setEnabled(rule.Single);
        tlbStart->setEnabled(rule.Start);
        tlbSingle->setEnabled(rule.Single);
    }
}

void MeasurementPanel::ShowDistance(const std::string& distance)
{
    const QString shown = FromBytes(distance);
    noteValue(m_distanceAge, shown);
    m_distanceOrigin = {.simulated = m_session->IsSimulated()};
    ShowText(*lblMeasValue, shown);
    if (m_textWindow != nullptr) {
        m_textWindow->ShowValue(shown);
    }
}

void MeasurementPanel::ShowTemperature(const std::string& temperature)
{
    const QString shown = FromBytes(temperature);
    noteValue(m_temperatureAge, shown);
    m_temperatureOrigin = {.simulated = m_session->IsSimulated()};
    ShowText(*lblTemperature, shown);
}

void MeasurementPanel::ShowRunning(bool running)
{
    if (running != m_running) {
        m_running = running;
        cmdStart->setText(running ? QStringLiteral("Stop") : QStringLiteral("Start"));
        giveKeys(); // setting the text removes the shortcut
        const QString toolTip = tlbStart->toolTip();
        tlbStart->setText(cmdStart->text());
        tlbStart->setToolTip(toolTip);
    }
}

void MeasurementPanel::ShowShutDown(bool shutDown)
{
    lblShutDown->setVisible(shutDown);
}

/// What the recording before has left goes: the next one may have nothing to show.
void MeasurementPanel::PlaybackBegins()
{
    if (m_distanceOrigin.recorded) {
        ShowDistance({});
        m_distanceOrigin = {};
    }
    if (m_temperatureOrigin.recorded) {
        ShowTemperature({});
        m_temperatureOrigin = {};
    }
}

/// The values shown now come from the file, so they have no age.
void MeasurementPanel::PlaybackEnds(const std::filesystem::path& /*file*/, const modPlayback::Loaded& loaded)
{
    if (loaded.end) {
        m_distanceAge.Forget();
        m_distanceOrigin = OriginOf(loaded);
    }
    if (!loaded.temperature.empty()) {
        m_temperatureAge.Forget();
        m_temperatureOrigin = OriginOf(loaded);
    }
    ShowAges();
}

/// Shows the ages of distance and temperature separately: a temperature that is not read during the measurement grows
/// old beside a fresh distance.
void MeasurementPanel::ShowAges()
{
    const double now_s = modAPI::UpTime_s();
    const clsRVQ& device = m_session->Device();
    const auto words = [this](const std::optional<ValueAge>& age) {
        return age ? Text(age->Text, m_settings->Language).arg(age->Amount) : QString();
    };
    const double freshTemperature_s = FreshTemperature_s(chkTempMeasurement->isChecked(), device.ReadTempInterval());
    const QString ofDistance = words(m_distanceAge.Look(now_s, kFresh_s, device.PortIsOpen()));
    QString ofTemperature = words(m_temperatureAge.Look(now_s, freshTemperature_s, device.PortIsOpen()));
    showBadge();
    if (m_temperatureOrigin.recorded && !m_saidOrigin.recorded) {
        ofTemperature = Text(TextId::AgeRecorded, m_settings->Language); // the badge is that of a live distance
    }
    showAge(*lblMeasValue, *lblMeasAge, ofDistance, m_distanceOrigin);
    showAge(*lblTemperature, *lblTempAge, ofTemperature, m_temperatureOrigin);
    ShowText(*lblAge, ofDistance.isEmpty() ? ofTemperature : ofDistance);
    if (m_textWindow != nullptr) {
        m_textWindow->ShowState(stateInWords());
        m_textWindow->ShowNote(noteOnLargeDisplay(ofDistance), lblMeasValue->IsStale());
    }
}

/// A played value is no present distance: it is shown like one that is out of date.
void MeasurementPanel::showAge(LineLabel& value, LineLabel& line, const QString& age, const ValueOrigin& origin)
{
    value.ShowStale(!age.isEmpty() || origin.recorded);
    ShowText(line, age);
    const QString& description = age.isEmpty() && origin != ValueOrigin() ? lblBadge->text() : age;
    if (value.accessibleDescription() != description) {
        value.setAccessibleDescription(description);
    }
}

/// The badge is that of the distance. A played temperature has it only as long as no distance is shown.
void MeasurementPanel::showBadge()
{
    const bool isOfDistance = !lblMeasValue->text().isEmpty() || !m_temperatureOrigin.recorded;
    const ValueOrigin& shown = isOfDistance ? m_distanceOrigin : m_temperatureOrigin;
    ValueOrigin said = shown;
    said.simulated = shown.simulated || (!shown.recorded && m_session->IsSimulated());
    if (said != m_saidOrigin || m_settings->Language != m_saidLanguage) {
        m_saidOrigin = said;
        m_saidLanguage = m_settings->Language;
        lblBadge->ShowBadge(BadgeText(said, m_saidLanguage), lblMeasValue->parentWidget()->minimumWidth());
    }
}

/// Why the large display has no value.
QString MeasurementPanel::stateInWords() const
{
    return lblShutDown->isHidden() ? lblLamp->text() : lblShutDown->text();
}

QString MeasurementPanel::noteOnLargeDisplay(const QString& age) const
{
    QStringList notes{lblBadge->text(), age};
    notes.removeAll(QString());
    return notes.join(QStringLiteral(" – "));
}
