// The main window together with the settings window: what waits for what, edits, and the way back after a write.
#include "tests/support/Desk.h"
#include "ui/main/MessagePanel.h"
#include "ui/main/frmTextWindow.h"
#include "ui/settings/frmRVQ.h"
#include "ui/widgets/Localise.h"

#include <QElapsedTimer>
#include <QLineEdit>
#include <QTimer>
#include <QtTest/QTest>

#include <gtest/gtest.h>

namespace {

TEST(MainWindow, TheSettingsWindowCannotBeOpenedWhileTheSensorIsWaitedFor)
{
    const MainDesk main;
    ASSERT_TRUE(main.Connects());
    main.Trigger("mnuConfigurationRVQ");
    const auto* item = main.Find<QAction>("mnuConfigurationRVQ");
    EXPECT_TRUE(Until([&] { return !item->isEnabled(); })) << "while it reads";
    EXPECT_TRUE(Until([&] { return item->isEnabled(); }));
}

/// A desk with the settings window in front, which has read the sensor.
struct SettingsDesk : MainDesk {
    const frmRVQ* settingsWindow = nullptr;

    SettingsDesk()
    {
        EXPECT_TRUE(Connects());
        Trigger("mnuConfigurationRVQ");
        settingsWindow = Find<frmRVQ>("frmRVQ");
        const auto* status = FindIn<QLabel>(*settingsWindow, "lblStatus");
        EXPECT_TRUE(Until([&] {
            return status->text() == "Download configuration from Orvex finished" && Find("cmdStart")->isEnabled();
        }));
    }
};

TEST(MainWindow, AsksBeforeItClosesOverEditsThatWereNeitherSentNorSaved)
{
    using enum RVQDialogs::UnsentAnswer;
    const SettingsDesk main;
    auto* settings = main.Find<frmRVQ>("frmRVQ");
    int questions = 0;
    frmRVQ::UnsentAnswer answer = KeepEditing;
    settings->Boxes.Unsent = [&](const QString&, bool canSend) {
        ++questions;
        EXPECT_TRUE(canSend);
        return answer;
    };
    FindIn<QLineEdit>(*settings, "txtParameter_0")->setText("77");
    EXPECT_FALSE(CloseByFrame(*main.window));
    main.Trigger("mnuFileExit");
    EXPECT_EQ(questions, 2);
    EXPECT_TRUE(main.window->isVisible() && settings->isVisible());
    answer = Discard;
    EXPECT_TRUE(CloseByFrame(*main.window));
    EXPECT_EQ(questions, 3);
}

TEST(MainWindow, TheBarWithTheWayBackComesWithAWriteAndGoesWhenItIsDismissed)
{
    const MainDesk main;
    ASSERT_TRUE(main.Connects());
    const auto* bar = main.Find<QWidget>("fraUndo");
    EXPECT_FALSE(bar->isVisible());
    WriteReport write;
    write.serialNo = main.session->SerialNo();
    write.before = write.after = main.session->Device().Parameters();
    write.after.Offset = 77;
    write.values = {{&RowOf(&ParameterSet::Offset), 0, 77, 77, ValueOutcome::Taken}};
    write.isReadBack = true;
    write.frames = write.sent = 1;
    write.result = WriteResult::Verified;
    main.session->Writes().Note(write, "COM 1");
    EXPECT_TRUE(Until([&] { return bar->isVisible() && main.Find("cmdUndo")->isEnabled(); }));
    const auto* messages = main.window->findChild<MessagePanel*>();
    ASSERT_NE(messages, nullptr);
    const auto isRed = [&] { return messages->palette().windowText().color().red() > 100; };
    EXPECT_EQ(messages->text().toStdString(), "1 value sent and verified.");
    EXPECT_FALSE(isRed());
    write.time = 1.0;
    write.values[0].outcome = ValueOutcome::Ignored;
    write.values[0].readBack = 0;
    write.result = WriteResult::Differs;
    main.session->Writes().Note(write, "COM 1");
    EXPECT_TRUE(Until(isRed));
    EXPECT_EQ(messages->text().toStdString(),
              "1 value is not as wanted. Offset (701): 77 mm acknowledged, but the sensor "
              "still reports 0 mm.");
    main.Find<QAbstractButton>("cmdDismissUndo")->click();
    EXPECT_FALSE(bar->isVisible());
    EXPECT_EQ(main.session->Writes().Undoable(write.serialNo), nullptr);
}

TEST(MainWindow, TakesNoInputBehindTheSettingsWindow)
{
    const SettingsDesk main;
    auto* start = main.Find("cmdStart");
    const std::pair<const char*, std::function<void()>> rows[] = {
        {"the mouse", [&] { QTest::mouseClick(start, Qt::LeftButton); }},
        {"a key", [&] { QTest::keyClick(start, Qt::Key_Space); }},
        {"a button's shortcut", [&] { QTest::keyClick(main.window.get(), Qt::Key_F5); }},
        {"the window's shortcut", [&] { QTest::keyClick(main.window.get(), Qt::Key_F11); }},
    };
    const auto isTaken = [&](const std::function<void()>& input) {
        main.window->activateWindow();
        EXPECT_TRUE(Until([&] { return main.window->isActiveWindow(); }));
        const QString before = start->text();
        input();
        return start->text() != before || start->isDown() // a shortcut presses it for a moment
               || main.window->findChild<frmTextWindow*>() != nullptr;
    };
    for (const auto& [what, input] : rows) {
        EXPECT_FALSE(isTaken(input)) << what;
    }
    FindIn(*main.settingsWindow, "cmdClose")->click();
    for (const auto& [what, input] : rows) {
        EXPECT_TRUE(isTaken(input)) << what << ", afterwards";
    }
}

TEST(MainWindow, MayBeClosedInTheMiddleOfAnUpload)
{
    const SettingsDesk main;
    bool closed = false;
    QTimer::singleShot(20, main.window.get(), [&] { closed = main.window->close(); });
    QElapsedTimer timer;
    timer.start();
    FindIn(*main.settingsWindow, "cmdUpload")->click();
    EXPECT_TRUE(closed);
    EXPECT_LT(timer.elapsed(), 2000);
    EXPECT_FALSE(main.settingsWindow->isVisible());
}

TEST(Lists, TheWheelIgnoresOneWithoutTheFocus)
{
    const SettingsDesk main;
    const auto turns = [](QComboBox& list) {
        const int before = list.currentIndex();
        QWheelEvent wheel({}, {}, {}, {0, -120}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        list.clearFocus();
        QApplication::sendEvent(&list, &wheel);
        return list.currentIndex() != before;
    };
    EXPECT_FALSE(turns(*FindIn<QComboBox>(*main.settingsWindow, "cmbBaudrate")));
    FindIn(*main.settingsWindow, "cmdClose")->click();
    EXPECT_FALSE(turns(*main.Find<QComboBox>("cmbComPort")));
}

} // namespace
