// Looking into the chart of the main window with mouse, wheel and keys, and what is read there.
#include "session/modReadingText.h"
#include "tests/support/Desk.h"
#include "ui/chart/ChartPanel.h"
#include "ui/chart/frmMark.h"

#include <QAccessible>
#include <QClipboard>
#include <QMouseEvent>
#include <QWheelEvent>

#include <gtest/gtest.h>

namespace {

constexpr double kDay_s = 86400.0;

/// The main window with some values of a simulated sensor, five seconds of the time axis, and the hands of an operator.
struct Looking : MainDesk {
    ChartPanel& chart = *Find<ChartPanel>("picGraph");

    Looking()
    {
        chart.Span(5000);
        EXPECT_TRUE(Connects());
        Find("cmdStart")->click();
        EXPECT_TRUE(Until([this] { return chart.Source() != nullptr && chart.Source()->Size() >= 60; }));
        chart.grab(); // the plot has its place from now on
    }
    QPointF At(double share, double height = 0.5) const
    {
        const QRectF plot = chart.PlotArea();
        return {plot.left() + share * plot.width(), plot.top() + height * plot.height()};
    }
    void Mouse(QEvent::Type type, const QPointF& at, Qt::KeyboardModifiers modifiers = {}) const
    {
        const bool isMove = type == QEvent::MouseMove;
        const bool isUp = type == QEvent::MouseButtonRelease;
        QMouseEvent event(type, at, chart.mapToGlobal(at), isMove ? Qt::NoButton : Qt::LeftButton,
                          isUp ? Qt::NoButton : Qt::LeftButton, modifiers);
        QApplication::sendEvent(&chart, &event);
        chart.grab();
    }
    void Drag(const QPointF& from, const QPointF& to, Qt::KeyboardModifiers modifiers = {}) const
    {
        Mouse(QEvent::MouseButtonPress, from, modifiers);
        for (const double share : {0.2, 0.6, 1.0}) {
            Mouse(QEvent::MouseMove, from + share * (to - from), modifiers);
        }
        Mouse(QEvent::MouseButtonRelease, to, modifiers);
    }
    void Hover(const QPointF& at) const
    {
        QMouseEvent event(QEvent::MouseMove, at, chart.mapToGlobal(at), Qt::NoButton, Qt::NoButton, {});
        QApplication::sendEvent(&chart, &event);
    }
    void Turn(const QPointF& at, int eighths, Qt::KeyboardModifiers modifiers = {}) const
    {
        QWheelEvent event(at, chart.mapToGlobal(at), {}, {0, eighths}, Qt::NoButton, modifiers, Qt::NoScrollPhase,
                          false);
        QApplication::sendEvent(&chart, &event);
        chart.grab();
    }
    double Length_s() const { return chart.ShownRange().Length() * kDay_s; }
    double Newest() const { return chart.Source()->Range().end; }
    std::string Of(const HistoryEntry& entry) const
    {
        return modReadingText::Length(entry.value_mm, chart.ShownUnit(), 0, DecimalSeparator());
    }
};

TEST(Looking, TheMouseMovesThePictureWhileValuesGoOnComing)
{
    const Looking main;
    ChartPanel& chart = main.chart;
    main.Turn(main.At(0.3), 120);
    main.Turn(main.At(0.3), 60); // a wheel of high resolution
    EXPECT_FALSE(chart.IsFrozen()) << "the newest value stays at the right end";
    EXPECT_NEAR(main.Length_s(), 5.0 * std::pow(0.8, 1.5), 0.01);
    EXPECT_NEAR(main.settings.Span_ms, main.Length_s() * 1000.0, 1.0);

    const double grasped = chart.PlaceAt(main.At(0.7).x());
    main.Drag(main.At(0.7), main.At(0.9));
    ASSERT_TRUE(chart.IsFrozen());
    EXPECT_NEAR((chart.PlaceAt(main.At(0.9).x()) - grasped) * kDay_s, 0.0, 0.1) << "it stays under the pointer";
    const auto shown = chart.Look();
    const std::size_t size = chart.Source()->Size();
    EXPECT_TRUE(Until([&] { return chart.Source()->Size() > size + 25 && !chart.Overlay().note.startsWith("0 s"); }));
    EXPECT_EQ(chart.Look(), shown);
    EXPECT_TRUE(chart.Overlay().note.endsWith(" behind")) << chart.Overlay().note.toStdString();
    chart.HoldSpan(true);
    chart.Ticked();
    EXPECT_TRUE(chart.Overlay().note.endsWith(" behind – Time span held")) << chart.Overlay().note.toStdString();
    chart.HoldSpan(false);

    main.Drag(main.At(0.1, 0.2), main.At(0.5, 0.6), Qt::ControlModifier);
    const PlaceRange zoomed = chart.ShownRange();
    EXPECT_NEAR(zoomed.begin, shown->begin + 0.1 * shown->Length(), 0.02 * shown->Length());
    EXPECT_NEAR(zoomed.Length(), 0.4 * shown->Length(), 0.02 * shown->Length());
    EXPECT_TRUE(chart.LookLimits().has_value());
    main.Mouse(QEvent::MouseButtonDblClick, main.At(0.5));
    EXPECT_NEAR(chart.ShownRange().begin, chart.Source()->Range().begin, 1e-9);
    EXPECT_FALSE(chart.LookLimits().has_value());
    chart.Back();
    EXPECT_EQ(chart.ShownRange(), zoomed);
    chart.Back();
    EXPECT_EQ(chart.Look(), shown);
    chart.Back();
    EXPECT_FALSE(chart.IsFrozen()) << "the drag was one step";

    for (const bool isTooSmall : {true, false}) {
        main.Mouse(QEvent::MouseButtonPress, main.At(0.5), Qt::ControlModifier);
        main.Mouse(QEvent::MouseMove, main.At(0.7, 0.7), Qt::ControlModifier);
        EXPECT_TRUE(chart.IsFrozen());
        if (isTooSmall) {
            main.Mouse(QEvent::MouseMove, main.At(0.5), Qt::ControlModifier);
            main.Mouse(QEvent::MouseButtonRelease, main.At(0.5), Qt::ControlModifier);
        } else {
            main.Hover(main.At(0.6)); // the button was let go elsewhere
        }
        EXPECT_FALSE(chart.IsFrozen()) << "a rectangle that was given up leaves nothing behind";
        EXPECT_TRUE(chart.CanGoForward());
    }

    main.Drag(main.At(0.6), main.At(0.8));
    main.Drag(main.At(0.9), main.At(0.1));
    EXPECT_FALSE(chart.IsFrozen()) << "dragged back to the newest value";
    main.Turn(main.At(0.5), 240, Qt::ShiftModifier);
    EXPECT_FALSE(chart.AutoScale()) << "held while it follows";
    chart.Fit();
    EXPECT_TRUE(chart.AutoScale());
}

TEST(Looking, KeysAndCursorsReadSampleBySample)
{
    const Looking main;
    ChartPanel& chart = main.chart;
    QTest::keyClick(&chart, Qt::Key_Space);
    ASSERT_TRUE(chart.IsFrozen());
    chart.grab();
    const clsHistory& history = *chart.Source();
    const auto entryAt = [&](std::size_t index) { return history.At(index); };
    main.Hover({chart.XOf(entryAt(10).place), main.At(0, 0.5).y()});
    EXPECT_TRUE(main.Text("lblPointer").ends_with("   " + main.Of(entryAt(10)))) << main.Text("lblPointer");
    chart.ToggleCursor(0);
    main.Hover({chart.XOf(entryAt(20).place), main.At(0, 0.5).y()});
    chart.ToggleCursor(1);
    EXPECT_EQ(main.Text("lblStatCount"), "11");
    QTest::keyClick(&chart, Qt::Key_Right);
    QTest::keyClick(&chart, Qt::Key_Left, Qt::ControlModifier);
    EXPECT_EQ(chart.Reader().Cursors()[1], entryAt(11).place) << "one on, ten back";
    EXPECT_EQ(main.Text("lblStatCount"), "2");
    EXPECT_EQ(main.Text("lblCursorTime"), modReadingText::Difference(entryAt(11).place - entryAt(10).place, '.'));
    const double mm = entryAt(11).value_mm - entryAt(10).value_mm;
    EXPECT_EQ(main.Text("lblCursorDistance"), modReadingText::Length(mm, chart.ShownUnit(), 0, '.'));
    const QAccessibleInterface* access = QAccessible::queryAccessibleInterface(&chart);
    EXPECT_TRUE(access->text(QAccessible::Value).endsWith(QString::fromStdString(main.Of(entryAt(11)))));
    EXPECT_TRUE(access->text(QAccessible::Description).contains("fixed stretch"));

    main.Drag({chart.XOf(entryAt(11).place), main.At(0, 0.5).y()}, {chart.XOf(entryAt(25).place), main.At(0, 0.5).y()});
    EXPECT_EQ(chart.Reader().Cursors()[1], entryAt(25).place);
    EXPECT_EQ(main.Text("lblStatCount"), "16");
    auto* figure = main.Find<QLabel>("lblStatMaximum");
    figure->setFocus();
    QTest::keyClick(figure, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text(), figure->text());
    chart.ToggleCursor(0);
    EXPECT_EQ(main.Text("lblCursorTime"), "–");
    EXPECT_NE(main.Text("lblStatCount"), "16") << "of what is seen";
}

/// Values at one time, a long pause, and others.
TEST(Looking, CursorsAndMarksStandOnWhatIsSeen)
{
    Desk desk;
    desk.Open();
    ChartPanel& chart = *desk.Find<ChartPanel>("picGraph");
    std::string lines;
    for (const char* line : {"12:00:00,000; 1000", "12:00:00,000; 1001", "12:00:00,000; 1002", "12:10:00,000; 2000"}) {
        lines += std::string("15.11.2026 ") + line + " mm; 21 \xB0\x43\n";
    }
    desk.session->Play(desk.folder.Write("a.rec", lines), [](double) { return true; });
    const clsHistory& history = *chart.Source();
    const PlaceRange all = history.Range();
    const auto minute = [&](double minutes) { return all.begin + minutes * 60.0 / kDay_s; };
    const auto marked = [&] { return PlaceOfNewMark(history, chart).value(); };
    chart.grab();
    chart.Point(chart.XOf(all.begin));
    EXPECT_EQ(chart.ToggleCursor(0), "");
    chart.StepSample(-9);
    for (const int value_mm : {1001, 1002, 2000}) {
        chart.StepSample(1);
        EXPECT_EQ(chart.Reader().OfCursor(0)->value_mm, value_mm);
    }
    chart.StepSample(-1);
    EXPECT_EQ(chart.Reader().OfCursor(0)->value_mm, 1002) << "the last one of that time";
    chart.Point(chart.XOf(all.begin));
    chart.ToggleCursor(1);
    EXPECT_TRUE(Until([&] { return desk.Text("lblStatCount") == "3"; })) << desk.Text("lblStatCount");
    EXPECT_EQ(desk.Text("lblStatRate"), "–") << "at one time";
    EXPECT_EQ(desk.Text("lblStatDrift"), "–");
    chart.ToggleCursor(0);
    chart.StopReading();
    EXPECT_EQ(marked(), all.end);

    chart.ToggleCursor(1);
    chart.ShowRange({minute(4), minute(6)});
    EXPECT_NEAR(marked(), minute(5), 1e-9);
    EXPECT_EQ(chart.ToggleCursor(0), "There is no value in the visible range.");
    EXPECT_FALSE(chart.HasCursor(0));
    chart.ShowRange({minute(-1), minute(9)});
    chart.grab();
    chart.Point(chart.XOf(minute(8)));
    chart.ToggleCursor(1);
    EXPECT_EQ(chart.Reader().Cursors()[1], all.begin) << "not the one that is nearer, but out of sight";
    chart.Point({});
    EXPECT_EQ(marked(), all.begin) << "at the cursor";
    chart.HoldSpan(true);
    chart.Ticked();
    EXPECT_EQ(chart.Overlay().note, "Time span held");
}

TEST(Looking, ARecordingHasItsOwnViewAndLiveValuesTheirSpan)
{
    Desk desk;
    desk.settings.Span_ms = 3600000;
    desk.Open();
    ChartPanel& chart = *desk.Find<ChartPanel>("picGraph");
    EXPECT_EQ(chart.XRange_ms(), 3600000) << "as the program was left";
    EXPECT_LE(chart.Series().Size(), 12000) << "the history has the rest";
    chart.HoldSpan(true);
    chart.Ticked();
    EXPECT_EQ(chart.Overlay().note, "Time span held");
    chart.HoldSpan(false);

    desk.session->Play(desk.folder.Write("a.rec", "15.11.2026 12:00:00,000; 1000 mm; 21 \xB0\x43\n"
                                                  "15.11.2026 12:02:00,000; 2000 mm; 21 \xB0\x43\n"),
                       [](double) { return true; });
    const PlaceRange ofPlayback = chart.ShownRange();
    EXPECT_NEAR(ofPlayback.Length() * kDay_s, 120.0, 1e-3);
    chart.Span(10000);
    ASSERT_TRUE(chart.IsFrozen());
    EXPECT_NEAR(chart.ShownRange().Length() * kDay_s, 10.0, 1e-6);
    EXPECT_EQ(chart.ShownRange().end, ofPlayback.end);
    EXPECT_EQ(chart.Overlay().note, "") << "a recording does not go on";
    chart.Back();
    EXPECT_EQ(chart.ShownRange(), ofPlayback);
    chart.ZoomTime(ChartPanel::Step::New, ofPlayback.begin, 0.5);
    EXPECT_TRUE(chart.IsFrozen());
    chart.ResetChart(); // a measurement begins
    EXPECT_FALSE(chart.IsFrozen() || chart.CanGoBack());
    EXPECT_EQ(chart.XRange_ms(), 3600000);
    EXPECT_EQ(desk.settings.Span_ms, 3600000);
}

} // namespace
