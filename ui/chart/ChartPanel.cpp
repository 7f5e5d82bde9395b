#include "ui/chart/ChartPanel.h"

#include "base/Days.h"
#include "sensor/Parameters.h"
#include "session/clsSession.h"
#include "store/modGlobals.h"
#include "ui/chart/frmChartSettings.h"
#include "ui/chart/modChartGlobals.h"
#include "ui/help/Help.h"
#include "ui/widgets/Badge.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/Named.h"
#include "ui/widgets/QtText.h"

#include <QAction>
#include <QMenu>

#include <algorithm>
#include <utility>

// A new chart has room for its range at one point per tick.
static_assert(modChartGlobals::kPointInterval_ms == clsMeasurementLoop::kInterval_ms);

namespace {

constexpr char kSeriesName[] = "RVQ"; // until the sensor's serial number is known
/// At one point in a tick the room is enough, though some points may come early.
constexpr std::int32_t kSpared_ms = 4 * clsMeasurementLoop::kInterval_ms;
/// The series holds what the time axis spans, within these bounds; the history has the rest.
constexpr std::int32_t kLeastInSeries_ms = 10000, kMostInSeries_ms = 600000;

} // namespace

ChartPanel::ChartPanel(QWidget* parent) : XYChart(parent)
{
    setContextMenuPolicy(Qt::CustomContextMenu);
    setFocusPolicy(Qt::StrongFocus); // so that the menu key opens its menu
    Header({});
    XTitle(QStringLiteral("[ s ]"));
    YTitle(QStringLiteral("[ mm ]"));
    SeriesLabel(QLatin1String(kSeriesName));
    buildPopUp();
}

ChartPanel::~ChartPanel()
{
    if (m_session != nullptr) {
        m_session->Leave(*this);
    }
}

void ChartPanel::Follow(clsSession& session, modGlobals::Settings& settings, const Help& help)
{
    m_session = &session;
    m_settings = &settings;
    m_help = &help;
    TimeScale(settings.TimeOfDay);
    AutoScale(settings.AutoScale);
    if (!settings.AutoScale) {
        YLimits(settings.yMin, settings.yMax);
    }
    m_view.Span(settings.Span_ms / kMsPerDay);
    followSpan();
    session.Listen(*this);
}

void ChartPanel::buildPopUp()
{
    mnuPopUp = Named<QMenu>("mnuPopUp", this);
    const auto item = [this](const char* name, const std::function<void()>& act) {
        auto* action = Named<QAction>(name, mnuPopUp);
        mnuPopUp->addAction(action);
        connect(action, &QAction::triggered, this, [act] { Guarded(act); });
        return action;
    };
    mnuPopupShowZero = item("mnuPopupShowZero", [this] { mnuPopupShowZero_Click(); });
    mnuPopupShowZero->setCheckable(true);
    mnuPopupFixedTime = item("mnuPopupFixedTime", [this] {
        HoldSpan(mnuPopupFixedTime->isChecked());
        showOverlay();
    });
    mnuPopupFixedTime->setCheckable(true);
    mnuPopUp->addSeparator()->setObjectName(QStringLiteral("mnuPopUpBar"));
    mnuPopUpYscaleSettings = item("mnuPopUpYscaleSettings", [this] { mnuPopUpYscaleSettings_Click(); });
    mnuPopupHelp = item("mnuPopupHelp", [this] { m_help->ShowHelpTopic(*window(), "Main"); });
    connect(this, &QWidget::customContextMenuRequested, this,
            [this](const QPoint& position) { Guarded([&] { showPopUp(position); }); });
}

void ChartPanel::Localise(std::int32_t language)
{
    mnuPopupShowZero->setText(Text(TextId::MenuChartShowZero, language));
    mnuPopupFixedTime->setText(Text(TextId::MenuChartFixedTime, language));
    mnuPopUpYscaleSettings->setText(Text(TextId::MenuChartSettings, language));
    mnuPopupHelp->setText(Text(TextId::MenuHelp, language));
    setAccessibleName(Text(TextId::AccessibleChart, language));
    EmptyText(Text(TextId::ChartEmpty, language));
    NoDistanceText(Text(TextId::ChartNoDistance, language));
    ClockLabel(Text(TextId::ChartClockSet, language));
    m_language = language;
    m_saidOrigin.reset();
    sayOrigin();
}

void ChartPanel::showPopUp(const QPoint& position)
{
    mnuPopupShowZero->setChecked(m_settings->ShowZeroValues);
    mnuPopupFixedTime->setChecked(HoldSpan());
    mnuPopUp->popup(mapToGlobal(position));
}

void ChartPanel::mnuPopupShowZero_Click()
{
    m_settings->ShowZeroValues = mnuPopupShowZero->isChecked();
    ShowZeroValues(m_settings->ShowZeroValues);
    m_session->Loop().FitRange();
    if (m_chartSettings != nullptr) {
        m_chartSettings->ShowUpdatedSettings();
    }
}

void ChartPanel::mnuPopUpYscaleSettings_Click()
{
    if (m_chartSettings == nullptr) {
        m_chartSettings = new frmChartSettings(*window(), *m_settings, *this);
        m_chartSettings->setAttribute(Qt::WA_DeleteOnClose);
        m_chartSettings->Applied = [this] {
            m_view.Release(); // the dialog has given the axis its limits
            showView();
            m_session->Loop().FitRange();
        };
        m_chartSettings->Unkept = Unkept;
    }
    m_chartSettings->show();
    m_chartSettings->raise();
    m_chartSettings->activateWindow();
}

/// What the series has lost is drawn from the history.
void ChartPanel::ChooseLimits()
{
    mnuPopUpYscaleSettings_Click();
    m_chartSettings->ChooseLimits();
}

std::int64_t ChartPanel::CountIncomplete()
{
    const clsHistory& shown = m_session->Shown();
    return shown.Forgotten() > 0 ? static_cast<std::int64_t>(shown.Size()) : -1;
}

/// Simulated points count until the chart is cleared, whatever is connected meanwhile.
void ChartPanel::Ticked()
{
    if (!m_origin.recorded) {
        m_origin.simulated = m_session->IsSimulated() || (m_origin.simulated && Series().Added() > 0);
    }
    sayOrigin();
    nameSeries();
    followHistory();
    m_view.Update(scene());
    if (m_view.FollowsAll()) {
        followSpan();
    }
    m_reader.Update();
    showOverlay();
    emit Looked();
}

void ChartPanel::sayOrigin()
{
    if (m_saidOrigin != m_origin) {
        m_saidOrigin = m_origin;
        Badge(BadgeText(m_origin, m_language));
    }
}

/// While no sensor is connected, the curve keeps the name of the last one.
void ChartPanel::nameSeries()
{
    const std::string_view serial = m_origin.recorded ? m_origin.serial : m_session->SerialNo();
    const bool keepsName = serial.empty() && !m_origin.recorded && Series().Added() > 0;
    if (m_namedSerial != serial && !keepsName) {
        m_namedSerial = serial;
        const QString name = SerialText(*m_namedSerial, m_language);
        SeriesLabel(name.isEmpty() ? QLatin1String(kSeriesName) : name);
    }
}

void ChartPanel::ResetChart()
{
    Recorded(false);
    m_origin = {.simulated = m_session != nullptr && m_session->IsSimulated()};
    sayOrigin();
    if (std::exchange(m_isPlayed, false)) {
        forgetLooking(); // the recording is gone, whose span may be days
    }
    InitChartData(roomFor(XRange_ms()) - 1);
}

std::int32_t ChartPanel::roomFor(std::int32_t range_ms) const
{
    return std::clamp(range_ms, kLeastInSeries_ms, kMostInSeries_ms) / clsMeasurementLoop::kInterval_ms;
}

void ChartPanel::ShowUnit(std::string_view unit)
{
    YTitle(QStringLiteral("[ %1 ]").arg(FromUtf8(unit)));
    if (m_chartSettings != nullptr) {
        m_chartSettings->ShowUnit();
    }
}

void ChartPanel::AddChartPoint(double place, double value)
{
    m_origin.simulated = m_origin.simulated || (m_session != nullptr && m_session->IsSimulated());
    makeRoom(place);
    AddPoint(place, value);
}

void ChartPanel::AddChartGap(double place)
{
    makeRoom(place);
    AddGap(place);
}

/// Without more room, values that come fast would overwrite points that the time axis still has to show.
void ChartPanel::makeRoom(double place)
{
    clsChartData& series = Series();
    const std::int32_t size = series.Size();
    if (size >= modChartGlobals::kMostPoints || m_isPlayed) {
        return; // the room of a recording is large, and its range may be days
    }
    // The point behind the slot to be written is left out from then on.
    const double leftOut = series.XValue((series.StopIndex + 1) % size);
    if (leftOut != 0.0 && leftOut > place - (std::min(XRange_ms(), kMostInSeries_ms) - kSpared_ms) / kMsPerDay) {
        series.Grow(std::min(2 * size, modChartGlobals::kMostPoints));
    }
}

/// They are drawn once, when all are there.
void ChartPanel::AddPlayedPoints(std::span<const ChartPoint> points)
{
    for (const ChartPoint& point : points) {
        Series().AddChartPoint(point.x, point.y);
    }
}

void ChartPanel::ShowChartTime(double place)
{
    ShowTime(place);
}

/// The newest values decide the limits. A narrower range must not cut off values that are still shown.
void ChartPanel::FitValueAxis(const clsFIFO& newest, double millimetres)
{
    auto shown = FollowedValues();
    if (shown && m_isPlayed) {
        shown = shown->WithSpikes(); // a recording is shown with all that it holds
    }
    Spikes(shown ? shown->spikes : std::vector<ChartPoint>());
    const auto limits = m_axis.Fit(newest, shown, millimetres);
    if (limits && !m_holdsLimits) {
        YLimits(limits->front(), limits->back());
    }
}

void ChartPanel::PlaybackBegins()
{
    m_origin = {};
    m_isPlayed = false; // the span of the recording before is not the chart's own
    forgetLooking();
    m_isPlayed = true;
    if (m_view.FollowsAll()) {
        XRange_ms(modChartGlobals::kXRange_ms);
    }
    InitChartData(modPlayback::kChartPoints - 1);
    m_settings->AutoScale = true;
    AutoScale(true);
    showLimits();
    if (m_chartSettings != nullptr) {
        m_chartSettings->ShowUpdatedSettings();
    }
}

void ChartPanel::PlaybackLoaded(const modPlayback::Loaded& loaded)
{
    m_origin = OriginOf(loaded);
    Recorded(true);
    sayOrigin();
    nameSeries();
    const modPlayback::TimeAxis axis = modPlayback::TimeAxisOf(loaded);
    if (axis.range_ms) {
        XRange_ms(*axis.range_ms);
    }
    if (loaded.lines > 0) {
        const double last = loaded.last + loaded.shift;
        ShowTime(last);
        TimeBegin(last - XRange_ms() / kMsPerDay); // a held span also ends at the last line
        TimeOrigin(axis.origin);
    }
    followHistory();
    emit Looked();
}

void ChartPanel::PlaybackEnds(const std::filesystem::path& /*file*/, const modPlayback::Loaded& /*loaded*/)
{
    Redraw();
}
