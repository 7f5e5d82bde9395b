// The frame "Line" of the main window, and the left side that scrolls when there is no room for it.
#include "tests/support/Desk.h"
#include "ui/main/frmMain.h"
#include "ui/widgets/Badge.h"

#include <QApplication>
#include <QClipboard>
#include <QScrollArea>
#include <QScrollBar>
#include <QtTest/QTest>

#include <gtest/gtest.h>

namespace {

TEST(MainWindow, SaysWhatComesOverTheLine)
{
    const MainDesk main;
    EXPECT_EQ(main.Text("lblReceivedRate"), "0.0 /s");
    EXPECT_EQ(main.Text("lblValidShare"), "–");
    ASSERT_TRUE(main.Connects());
    main.Find("cmdStart")->click();
    ASSERT_TRUE(Until([&] { return main.Text("lblValidShare") == "100.0 %"; }));
    const auto received = [&] { return std::stod(main.Text("lblReceivedRate")); };
    EXPECT_TRUE(Until([&] { return received() > 10.0; })) << received();
    EXPECT_LT(received(), 30.0);
    EXPECT_EQ(main.Text("lblRecordedRate"), "–");
    EXPECT_EQ(main.Text("lblDamaged"), "0");
    main.session->StartRecording();
    main.session->Loop().Account().Recorded(10000, 0, 0); // before this recording, for all that the frame knows
    ASSERT_TRUE(Until([&] { return main.Text("lblRecordedRate").ends_with(" /s"); }));
    EXPECT_LT(std::stod(main.Text("lblRecordedRate")), 30.0) << "of the recording, as its window shows it";
    main.session->Recorder().Stop();
    main.session->Loop().Account().Damaged(3);
    EXPECT_TRUE(Until([&] { return main.Text("lblDamaged") == "3" && main.Text("lblRecordedRate") == "–"; }));

    auto* frame = main.Find<QWidget>("fraLine");
    frame->setFocus();
    QTest::keyClick(frame, Qt::Key_C, Qt::ControlModifier);
    const QString copied = QApplication::clipboard()->text();
    EXPECT_TRUE(copied.startsWith("Line\tSince the start of measuring\t")) << copied.toStdString();
    EXPECT_TRUE(copied.contains("\nDamaged\t3\t")) << copied.toStdString();
}

TEST(MainWindow, ALowWindowScrollsItsLeftSide)
{
    const MainDesk main;
    const auto* bar = main.Find<QScrollArea>("scrLeft")->verticalScrollBar();
    auto* frame = main.Find<QWidget>("fraLine");
    const auto shown = [&] { return frame->visibleRegion().boundingRect(); };
    EXPECT_TRUE(Until([&] { return shown().size() == frame->size() && !bar->isVisible(); })) << "as it opens";
    main.window->resize(800, 600);
    const int width = main.Find<QWidget>("scrLeft")->width();
    auto* badge = main.Find<Badge>("lblBadge");
    const int room = main.Find<QWidget>("lblMeasValue")->parentWidget()->minimumWidth();
    badge->ShowBadge(QStringLiteral("RECORDING of 20.11.2026 14:03, SIMULATED, SN 004711"), room);
    EXPECT_GE(badge->sizeHint().height(), 2 * badge->fontMetrics().height());
    EXPECT_TRUE(Until([&] { return shown().size() == frame->size() && badge->isVisible(); })) << "with two more lines";
    EXPECT_EQ(main.Find<QWidget>("scrLeft")->width(), width) << "the chart stays where it is";
    badge->ShowBadge({}, room);
    main.window->resize(900, 450);
    EXPECT_TRUE(Until([&] { return shown().height() < frame->height() && bar->isVisible(); }));
    EXPECT_EQ(main.window->height(), 450);
    main.Find<QScrollArea>("scrLeft")->ensureWidgetVisible(frame);
    EXPECT_TRUE(Until([&] { return shown().size() == frame->size(); })) << "nothing is behind the scroll bar";
    main.window->resize(900, 700);
    EXPECT_TRUE(Until([&] { return !bar->isVisible(); }));
}

} // namespace
