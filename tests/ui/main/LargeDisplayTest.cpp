// The large display as a window: it opens large, fills the screen, stays on top, and says why there is no value.
#include "tests/support/Desk.h"
#include "ui/main/frmTextWindow.h"
#include "ui/widgets/LineLabel.h"

#include <QAccessible>
#include <QScreen>
#include <QtTest/QTest>

#include <gtest/gtest.h>

namespace {

TEST(LargeDisplay, OpensLargeAndGrowsWithItsWindow)
{
    const TemporaryFolder folder;
    QWidget owner;
    frmTextWindow window(owner, {.IniFile = folder.path / "RVQ.ini", .Language = LanguageEnglish});
    window.setAttribute(Qt::WA_DeleteOnClose, false);
    window.show();
    EXPECT_GE(window.width(), window.screen()->availableSize().width() / 2);
    const auto* value = FindIn<QLabel>(window, "lblValue");
    window.ShowValue(QStringLiteral("2.345 m"));
    const double size = value->font().pointSizeF();
    EXPECT_GT(value->sizeHint().width(), window.width() / 2) << "the letters use the room";
    window.resize(window.size() * 2);
    EXPECT_GT(value->font().pointSizeF(), size * 1.5);
}

TEST(LargeDisplay, SaysWhyThereIsNoValue)
{
    const MainDesk main;
    main.Trigger("mnuViewLargeDisplay");
    const QWidget& window = *main.window->findChild<frmTextWindow*>();
    const auto* state = FindIn<LineLabel>(window, "lblState");
    const auto said = [&] { return state->isVisible() ? state->text().toStdString() : "-"; };
    EXPECT_EQ(said(), "Not connected");
    ASSERT_TRUE(main.Connects());
    EXPECT_TRUE(Until([&] { return said() == "Connected, idle"; })) << said();
    main.Find("cmdStart")->click();
    EXPECT_TRUE(Until([&] { return said() == "-"; })) << said();
    EXPECT_NE(FindIn<QLabel>(window, "lblValue")->text(), "");
    main.Find("cmdStart")->click();
    EXPECT_TRUE(Until([&] { return said() == "Connected, idle"; })) << said();
    EXPECT_GT(QFontInfo(state->font()).pixelSize(), 2 * QFontInfo(window.font()).pixelSize());
    EXPECT_LE(state->fontMetrics().horizontalAdvance(state->text()), window.width());
}

TEST(LargeDisplay, TheNumberIsReadAloudHereAndInTheMainWindow)
{
    const MainDesk main;
    main.Trigger("mnuViewLargeDisplay");
    ASSERT_TRUE(main.Connects());
    main.Find("cmdStart")->click();
    for (auto* label : {main.Find<QLabel>("lblMeasValue"), main.Find<QLabel>("lblValue")}) {
        ASSERT_TRUE(Until([&] { return !label->text().isEmpty(); }));
        const QAccessibleInterface* access = QAccessible::queryAccessibleInterface(label);
        EXPECT_EQ(access->text(QAccessible::Value), label->text());
        EXPECT_EQ(access->text(QAccessible::Name), label->accessibleName() + ' ' + label->text());
        EXPECT_FALSE(label->accessibleName().isEmpty());
    }
}

TEST(LargeDisplay, FillsTheScreenByKeyAndDoubleClickAndEscapeLeaves)
{
    const TemporaryFolder folder;
    const modGlobals::Settings settings{.IniFile = folder.path / "RVQ.ini", .Language = LanguageEnglish};
    QWidget owner;
    auto* window = new frmTextWindow(owner, settings);
    window->show();
    window->activateWindow();
    ASSERT_TRUE(Until([&] { return window->isActiveWindow(); }));
    const QSize usual = window->size();
    QTest::keyClick(window, Qt::Key_F11);
    EXPECT_TRUE(window->isFullScreen());
    EXPECT_TRUE(FindIn<QAction>(*window, "mnuLargeFullScreen")->isChecked());
    QTest::keyClick(window, Qt::Key_Escape);
    EXPECT_FALSE(window->isFullScreen());
    EXPECT_TRUE(window->isVisible()) << "the first Escape leaves the full screen only";
    QTest::mouseDClick(FindIn<QLabel>(*window, "lblValue"), Qt::LeftButton);
    EXPECT_TRUE(window->isFullScreen());
    window->close();

    frmTextWindow again(owner, settings);
    again.setAttribute(Qt::WA_DeleteOnClose, false);
    EXPECT_FALSE(again.isFullScreen()) << "it opens as a window";
    EXPECT_EQ(again.size(), usual);
    again.show();
    again.activateWindow();
    ASSERT_TRUE(Until([&] { return again.isActiveWindow(); }));
    QTest::keyClick(&again, Qt::Key_Escape);
    EXPECT_FALSE(again.isVisible());
}

TEST(LargeDisplay, StaysOnTopUntilToldOtherwise)
{
    const TemporaryFolder folder;
    const modGlobals::Settings settings{.IniFile = folder.path / "RVQ.ini", .Language = LanguageEnglish};
    QWidget owner;
    for (const bool onTop : {false, true, false}) { // what the one before has left behind
        frmTextWindow window(owner, settings);
        window.setAttribute(Qt::WA_DeleteOnClose, false);
        window.show();
        auto* item = FindIn<QAction>(window, "mnuLargeOnTop");
        EXPECT_EQ(item->isChecked(), onTop);
        EXPECT_EQ(window.windowFlags().testFlag(Qt::WindowStaysOnTopHint), onTop);
        item->trigger();
        EXPECT_EQ(window.windowFlags().testFlag(Qt::WindowStaysOnTopHint), !onTop);
        EXPECT_TRUE(window.isVisible()) << "another flag hides a window";
    }
}

} // namespace
