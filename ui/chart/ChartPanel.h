// The chart of a session: it receives the points, keeps the value axis on the newest ones, and has its own menu and
// settings window. It can be looked into and read (ChartPanelLooking.cpp).
#pragma once

#include "plot/clsValueAxis.h"
#include "plot/clsView.h"
#include "session/SessionListener.h"
#include "session/ValueOrigin.h"
#include "ui/chart/ChartReader.h"
#include "ui/chart/XYChart.h"

#include <QElapsedTimer>
#include <QPointer>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <system_error>

class Help;
class QAction;
class QMenu;
class clsSession;
class frmChartSettings;

namespace modGlobals {
struct Settings;
}

class ChartPanel : public XYChart, public SessionListener {
    Q_OBJECT

public:
    explicit ChartPanel(QWidget* parent);
    ~ChartPanel() override;

    /// Shows a session's curve from now on. Call it once; all three must outlive the chart.
    void Follow(clsSession& session, modGlobals::Settings& settings, const Help& help);
    /// Sets the menu and the accessible texts in a language.
    void Localise(std::int32_t language);
    /// How many points it shows when the series has lost its oldest ones; less than 0 while the series holds all.
    std::int64_t CountIncomplete();
    // What an operator does with the time axis; keys and the mouse do the same.
    /// Stops the picture, while values go on coming, or follows them again.
    void Freeze(bool freeze);
    bool IsFrozen() const { return Look().has_value(); }
    /// Shows a stretch of the history. What changes within a moment is one step for `Back`.
    void ShowRange(const PlaceRange& range);
    /// A span of the time axis in milliseconds, 0 for everything. While measuring, it is remembered, as is any span
    /// that is followed.
    void Span(std::int32_t span_ms);
    /// The span that is followed, 0 for everything; none while something else is looked at.
    std::optional<std::int32_t> FollowedSpan_ms() const;
    /// Shows everything, with the value axis fitted.
    void Fit();
    void Back();
    void Forward();
    bool CanGoBack() const { return m_view.CanGoBack(); }
    bool CanGoForward() const { return m_view.CanGoForward(); }
    /// Sets cursor A (0) or B (1), or takes it away. Says so if there is no value to set it on.
    QString ToggleCursor(int cursor);
    bool HasCursor(int cursor) const { return m_reader.Cursors().at(static_cast<std::size_t>(cursor)).has_value(); }

    /// Shows the minute around the largest jump of what is seen, with a cursor on either side of it. Says what it is.
    QString ShowLargestJump();
    /// Opens the settings with the limits of the value axis to be typed.
    void ChooseLimits();

    // The same for the hands (`ChartHands`).
    /// What belongs to one step for `Back`: `New` begins one, `Same` goes on with it; the others begin one after a
    /// pause, or after something else.
    enum class Step { New, Same, Wheel, Keys, Range };
    void ZoomTime(Step step, double place, double factor);
    void ZoomValues(Step step, double value, double factor);
    /// Moves the window, and held limits of the value axis, too.
    void Move(Step step, double days, double values = 0.0);
    /// After a movement; see `clsView::Settle`.
    void Settle();
    /// Stops the picture for what `ShowRectangle` is about to choose in it, or `LetGo` to give up. Returns false, and
    /// does nothing, while there is nothing to look into.
    bool Hold();
    /// The picture goes on if `Hold` has stopped it, and nothing has changed it since.
    void LetGo();
    void ShowRectangle(const PlaceRange& range, double value, double otherValue);
    void Point(std::optional<double> x);
    void DragCursor(int cursor, double x);
    /// Goes to another sample; see `ChartReader::Step`. Keeps it in sight and has it read aloud.
    void StepSample(std::int32_t samples);
    /// The keys and the pointer leave the sample that they read.
    void StopReading();

    // What is read.
    const ChartReader& Reader() const { return m_reader; }
    /// What lies between the cursors if both are set, else what is seen.
    PlaceRange RangeOfStatistics() const;
    std::int32_t ShownUnit() const;
    /// Time and value, or the reason of the gap; empty for none.
    QString ReadingText(const std::optional<ChartReader::Reading>& reading) const;
    /// What the keys or the pointer read, else the newest value.
    std::optional<ChartReader::Reading> ReadAloud() const;
    /// What it shows, in a few sentences.
    QString Describe() const;

    /// Called when the chart's settings could not be saved.
    std::function<void(const std::error_code&)> Unkept;

    void Ticked() override;
    void ResetChart() override;
    void ShowUnit(std::string_view unit) override;
    void AddChartPoint(double place, double value) override;
    void AddChartGap(double place) override;
    void AddPlayedPoints(std::span<const ChartPoint> points) override;
    void ShowChartTime(double place) override;
    void ForgetRange() override { m_axis.Reset(); }
    void FitValueAxis(const clsFIFO& newest, double millimetres) override;
    void PlaybackBegins() override;
    void PlaybackLoaded(const modPlayback::Loaded& loaded) override;
    void PlaybackEnds(const std::filesystem::path& file, const modPlayback::Loaded& loaded) override;

signals:
    /// What is shown, how, or between which cursors has changed; comes with the newest values, too.
    void Looked();
    /// The pointer reads something else.
    void Pointed();

private:
    void makeRoom(double place);
    void buildPopUp();
    void sayOrigin();
    void nameSeries();
    void followHistory();
    void forgetLooking();
    template <typename Change>
    void look(Step step, Change change);
    void begin(Step step);
    clsView::Scene scene() const;
    void showView();
    void showLimits();
    void rememberSpan();
    void followSpan();
    void showOverlay();
    void followMarks();
    QString note() const;
    QString coarseNote() const;
    clsView::Limits shownLimits_mm() const;
    std::int32_t roomFor(std::int32_t range_ms) const;
    void showPopUp(const QPoint& position);
    void mnuPopupShowZero_Click();
    void mnuPopUpYscaleSettings_Click();

    clsSession* m_session = nullptr;
    modGlobals::Settings* m_settings = nullptr;
    const Help* m_help = nullptr;
    clsValueAxis m_axis;
    ValueOrigin m_origin; ///< of the points
    std::optional<ValueOrigin> m_saidOrigin;
    std::optional<std::string> m_namedSerial; ///< in the name of the series
    std::int32_t m_language = 0;
    bool m_isPlayed = false;
    QPointer<frmChartSettings> m_chartSettings;
    clsView m_view;
    ChartReader m_reader{*this};
    Step m_lastStep = Step::New;
    QElapsedTimer m_sinceStep;
    std::optional<PlaceRange> m_heldForRectangle; ///< the picture that `Hold` has stopped
    QList<ChartOverlayContent::Mark> m_marks;     ///< the session's, for the overlay
    std::optional<std::uint64_t> m_marksVersion;
    bool m_holdsLimits = false; ///< the value axis keeps those of the view

    QMenu* mnuPopUp = nullptr;
    QAction* mnuPopupShowZero = nullptr;
    QAction* mnuPopupFixedTime = nullptr;
    QAction* mnuPopUpYscaleSettings = nullptr;
    QAction* mnuPopupHelp = nullptr;
};
