// The overview below the chart, with a recording.
#include "ui/chart/Overview.h"

#include "base/Days.h"
#include "store/modRecordLine.h"
#include "tests/support/Desk.h"
#include "ui/chart/ChartPanel.h"
#include "ui/chart/PlaceText.h"
#include "ui/chart/modGDIAPI.h"

#include <QContextMenuEvent>
#include <QDialog>
#include <QLineEdit>
#include <QMenu>
#include <QTimer>

#include <gtest/gtest.h>

namespace {

/// A line of a recording at a second of 2026-11-20.
std::string lineAt(double second, std::int32_t value_mm)
{
    return modRecordLine::RecordLine(
        {.value = value_mm / 1000.0, .value_mm = value_mm, .time = 46346.0 + second / kSecondsPerDay}, "23 C");
}

/// Shows 100 s with a gap from the 40th to the 60th.
struct OverviewDesk : Desk {
    std::filesystem::path file;
    Overview* overview = nullptr;
    ChartPanel* chart = nullptr;

    OverviewDesk()
    {
        std::string lines;
        for (int second = 0; second <= 100; second += second == 40 ? 20 : 1) {
            lines += lineAt(50400 + second, 1100 + second);
        }
        file = folder.Write("run.rec", lines);
        Open();
        session->Play(file, [](double) { return true; });
        overview = Find<Overview>("picOverview");
        chart = Find<ChartPanel>("picGraph");
        QTest::qWait(50);
        Show(10, 30);
    }
    double Begin() const { return session->Shown().Range().begin; }
    void Show(double begin_s, double end_s) const
    {
        chart->ShowRange({Begin() + begin_s / kSecondsPerDay, Begin() + end_s / kSecondsPerDay});
    }
    QPoint At(double second) const
    {
        const QRectF plot = chart->PlotArea();
        return {qRound(plot.left() + second / 100.0 * plot.width()), overview->height() / 4};
    }
    /// What the chart shows, in whole seconds.
    std::pair<int, int> Shown() const
    {
        const PlaceRange range = chart->ShownRange();
        return {qRound((range.begin - Begin()) * kSecondsPerDay), qRound((range.end - Begin()) * kSecondsPerDay)};
    }
    void Drag(double from, double to) const
    {
        QTest::mousePress(overview, Qt::LeftButton, {}, At(from));
        QTest::mouseMove(overview, At((from + to) / 2));
        QTest::mouseMove(overview, At(to));
        QTest::mouseRelease(overview, Qt::LeftButton, {}, At(to));
    }
    std::string Explanation(double second) const { return overview->ExplanationAt(At(second)).toStdString(); }
    /// Does something to the dialog that opens next.
    static void InDialog(const std::function<void(QDialog&)>& act)
    {
        QTimer::singleShot(0, [act] {
            auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            ASSERT_NE(dialog, nullptr);
            act(*dialog);
        });
    }
};

using Seconds = std::pair<int, int>;

TEST(Overview, TheFrameIsMovedAndStretchedByMouse)
{
    const OverviewDesk desk;
    const std::tuple<const char*, double, double, Seconds> rows[] = {
        {"dragged", 20, 50, {40, 60}},
        {"its begin", 10, 5, {5, 30}},
        {"its end", 30, 80, {10, 80}},
        {"a click outside", 70, 70, {60, 80}},
        {"as far as it goes", 20, 99, {80, 100}},
    };
    for (const auto& [name, from, to, shown] : rows) {
        desk.Show(10, 30);
        desk.Drag(from, to);
        EXPECT_EQ(desk.Shown(), shown) << name;
    }
}

TEST(Overview, TheFrameIsMovedAndStretchedByKeys)
{
    const OverviewDesk desk;
    const std::tuple<const char*, Qt::Key, Qt::KeyboardModifiers, Seconds> rows[] = {
        {"right", Qt::Key_Right, Qt::NoModifier, {15, 35}},     {"left", Qt::Key_Left, Qt::NoModifier, {5, 25}},
        {"longer", Qt::Key_Right, Qt::ShiftModifier, {10, 35}}, {"shorter", Qt::Key_Left, Qt::ShiftModifier, {10, 25}},
        {"closer", Qt::Key_Plus, Qt::NoModifier, {12, 28}},     {"begin", Qt::Key_Home, Qt::NoModifier, {0, 20}},
        {"end", Qt::Key_End, Qt::NoModifier, {80, 100}},
    };
    for (const auto& [name, key, modifiers, shown] : rows) {
        desk.Show(10, 30);
        QTest::keyClick(desk.overview, key, modifiers);
        EXPECT_EQ(desk.Shown(), shown) << name;
    }
}

TEST(Overview, SaysWhatIsThere)
{
    const OverviewDesk desk;
    desk.overview->grab();
    EXPECT_NE(desk.Explanation(50).find("14:00:40"), std::string::npos) << desk.Explanation(50);
    EXPECT_NE(desk.Explanation(50).find("14:01:00"), std::string::npos) << desk.Explanation(50);
    EXPECT_TRUE(desk.Explanation(20).starts_with("14:00:")) << desk.Explanation(20);
    desk.session->SetMark(desk.Begin() + 20 / kSecondsPerDay, "<b>door</b>");
    EXPECT_NE(desk.Explanation(20).find("<b>door</b>"), std::string::npos);
    const std::string description = desk.overview->Description().toStdString();
    for (const char* part : {"14:00:00", "14:01:40", "14:00:10", "14:00:30", "marks: 1"}) {
        EXPECT_NE(description.find(part), std::string::npos) << part << " in " << description;
    }
}

TEST(Overview, ADayEndsWithItsLastSecond)
{
    Desk desk;
    const auto file = desk.folder.Write("day.rec", lineAt(86390.0, 1000) + lineAt(86399.95, 1001));
    desk.Open();
    desk.session->Play(file, [](double) { return true; });
    const clsHistory& shown = desk.session->Shown();
    EXPECT_EQ(PlaceText(shown, shown.Range().end, 0).toStdString(), "23:59:59");
    EXPECT_EQ(PlaceText(shown, shown.Range().end, 1).toStdString(), "23:59:59.9");
    EXPECT_EQ(PlaceText(shown, shown.Range().end, 3).toStdString(), "23:59:59.950");
}

TEST(Overview, WhatLiesBesideTheFrameCanBeSeen)
{
    const QPalette usual = QApplication::palette();
    for (const QColor& ground : {QColor(Qt::white), QColor(30, 32, 35), QColor(Qt::black)}) {
        QPalette palette(ground);
        palette.setColor(QPalette::Base, ground);
        QApplication::setPalette(palette);
        const OverviewDesk desk;
        const QImage picture = desk.overview->grab().toImage();
        double most = 0.0;
        for (int y = 4; y < desk.overview->height() / 2; ++y) {
            most = std::max(most, modGDIAPI::Contrast(picture.pixelColor(desk.At(80).x(), y), ground));
        }
        EXPECT_GE(most, 2.9) << ground.name().toStdString(); // rounded
    }
    QApplication::setPalette(usual);
}

TEST(Overview, SaysWhereTheClockWasSetAndOnWhichDay)
{
    OverviewDesk desk;
    const auto clock = desk.folder.Write("clock.rec", lineAt(0, 1000) + lineAt(93600, 1000) + lineAt(90005, 1000) +
                                                          lineAt(2 * 93605 - 3600, 1000));
    desk.session->Play(clock, [](double) { return true; });
    desk.overview->grab();
    EXPECT_EQ(desk.Explanation(50), "21.11.2026 01:00:05.0\nclock -1 h");
}

TEST(Overview, AMarkIsChosenEditedAndRemovedByKeys)
{
    const OverviewDesk desk;
    for (const double second : {15.0, 70.0, 90.0}) {
        desk.session->SetMark(desk.Begin() + second / kSecondsPerDay, "at " + std::to_string(int(second)));
    }
    QTest::keyClick(desk.overview, Qt::Key_Right, Qt::ControlModifier);
    EXPECT_EQ(desk.Shown(), Seconds(60, 80)) << "it goes to the next mark";
    OverviewDesk::InDialog([](QDialog& dialog) {
        auto* text = FindIn<QLineEdit>(dialog, "txtMark");
        EXPECT_EQ(text->text(), "at 70");
        text->setText("door");
        FindIn(dialog, "cmdOK")->click();
    });
    QTest::keyClick(desk.overview, Qt::Key_Return);
    EXPECT_EQ(desk.session->Marks()[1].text, "door");
    QTest::keyClick(desk.overview, Qt::Key_Right, Qt::ControlModifier);
    QTest::keyClick(desk.overview, Qt::Key_Right, Qt::ControlModifier);
    QTest::keyClick(desk.overview, Qt::Key_Delete);
    ASSERT_EQ(desk.session->Marks().size(), 2U);
    EXPECT_EQ(desk.session->Marks()[1].text, "door");
    QTest::keyClick(desk.overview, Qt::Key_Delete);
    EXPECT_EQ(desk.session->Marks().size(), 2U) << "none is chosen any more";
}

TEST(Overview, FollowsALoadingRecordingBeforeATwentiethIsRead)
{
    OverviewDesk desk;
    std::string lines;
    for (int i = 0; i < 400000; ++i) {
        lines += lineAt(i / 10.0, 1000 + i % 1000);
    }
    const auto large = desk.folder.Write("large.rec", lines);
    double seenAt = 2.0;
    const QImage before = desk.overview->grab().toImage();
    struct Counter : QObject {
        int paints = 0;
        bool eventFilter(QObject* /*watched*/, QEvent* event) override
        {
            paints += event->type() == QEvent::Paint ? 1 : 0;
            return false;
        }
    } counter;
    desk.overview->installEventFilter(&counter);
    desk.session->Play(large, [&](double read) {
        QCoreApplication::processEvents();
        if (seenAt > 1.0 && counter.paints > 0) {
            seenAt = read;
        }
        return true;
    });
    EXPECT_LT(seenAt, 0.05);
    EXPECT_NE(desk.overview->grab().toImage(), before);
}

} // namespace
