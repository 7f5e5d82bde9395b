// What the settings window does with edits and with the report of a write, and how it finds room for them.
#include "tests/support/Editor.h"
#include "ui/widgets/LineLabel.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/ScrollFrames.h"

#include <QGroupBox>
#include <QScrollBar>
#include <QToolButton>

#include <gtest/gtest.h>

namespace {

TEST(SettingsWindow, AsksBeforeEditsAreLostAndOnlyThen)
{
    using enum RVQDialogs::UnsentAnswer;
    struct Way {
        const char* name;
        std::function<void(Editor&)> go;
        std::function<bool(Editor&)> hasGone;
    };
    const auto isClosed = [](Editor& editor) { return !editor.window->isVisible(); };
    const auto isReadAnew = [](Editor& editor) { return editor.Typed(0) == "0"; };
    const Way ways[] = {
        {"Escape", [](Editor& editor) { PressKey(*editor.window, Qt::Key_Escape); }, isClosed},
        {"frame", [](Editor& editor) { CloseByFrame(*editor.window); }, isClosed},
        {"Close", [](Editor& editor) { editor.Click("cmdClose"); }, isClosed},
        {"Download", [](Editor& editor) { editor.Click("cmdDownload"); }, isReadAnew},
        {"defaults", [](Editor& editor) { editor.Click("cmdSetDefaults"); }, isReadAnew},
        {"list", [](Editor& editor) { Choose(*editor.Find<QComboBox>("cmbConfig"), 1); }, isReadAnew},
        {"import", [](Editor& editor) { editor.ClickAndAnswer("cmdLoad", "x.rvq"); }, isReadAnew},
    };
    Editor first;
    first.ClickAndAnswer("cmdSave", "x.rvq");
    const std::string file = TemporaryFolder::Read(first.fileAnswer);
    for (const Way& way : ways) {
        Editor editor;
        editor.own.Write("x.rvq", file);
        editor.ClickAndAnswer("cmdLoad", "x.rvq");
        Choose(*editor.Find<QComboBox>("cmbConfig"), 0);
        editor.Box(0).setText("5");
        editor.Box(0).setText("0 "); // no other value than before
        EXPECT_TRUE(editor.window->MayClose());
        EXPECT_TRUE(editor.questions.empty()) << way.name;

        editor.Box(0).setText("77");
        editor.unsentAnswer = KeepEditing;
        way.go(editor);
        ASSERT_EQ(editor.questions.size(), 1U) << way.name;
        EXPECT_TRUE(editor.questions[0].startsWith("Changed, but neither sent nor saved:\nOffset\n")) << way.name;
        EXPECT_FALSE(way.hasGone(editor)) << way.name;
        EXPECT_EQ(editor.Typed(0), "77") << way.name;
        EXPECT_EQ(editor.Find<QComboBox>("cmbConfig")->currentIndex(), 0) << way.name;
        EXPECT_FALSE(editor.window->MayClose()) << way.name;

        editor.unsentAnswer = Discard;
        way.go(editor);
        EXPECT_EQ(editor.questions.size(), 3U) << way.name;
        EXPECT_TRUE(way.hasGone(editor)) << way.name;
    }
    for (const char* button : {"cmdUpload", "cmdSave"}) {
        Editor editor;
        editor.Box(0).setText("77");
        editor.ClickAndAnswer(button, "x.rvq");
        EXPECT_TRUE(editor.window->MayClose());
        editor.Box(5).setText("9995"); // refused: it is neither sent nor saved
        if (button == std::string("cmdSave")) {
            editor.Click(button);
            editor.unsentAnswer = KeepEditing;
            EXPECT_FALSE(editor.window->MayClose());
        }
    }
}

TEST(SettingsWindow, TakesEditsBackOverAllFieldsAndAcrossAnotherConfiguration)
{
    Editor editor;
    editor.ClickAndAnswer("cmdSave", "x.rvq");
    Choose(*editor.Find<QComboBox>("cmbConfig"), 0);
    editor.window->activateWindow();
    QApplication::processEvents();
    auto* blanking = editor.Find<QCheckBox>("chkBlanking");
    auto* depth = editor.Find<QComboBox>("cmbAverageDepth");
    const int depthBefore = depth->currentIndex();
    const bool wasBlanking = blanking->isChecked();
    std::vector<std::string> states;
    const auto state = [&] {
        return editor.Typed(0) + " " + editor.Typed(3) + (blanking->isChecked() == wasBlanking ? " = " : " x ") +
               std::to_string(depth->currentIndex() - depthBefore) + " in " +
               editor.Find<QComboBox>("cmbConfig")->currentText().toStdString();
    };
    const auto did = [&] { states.push_back(state()); };
    did();
    editor.Type(0, "12");
    did();
    editor.Type(3, "5000"); // leaving the box moves it to its limit: still one step
    blanking->setFocus();
    did();
    EXPECT_EQ(editor.Typed(3), "1200");
    blanking->click();
    did();
    Choose(*depth, 0);
    did();
    Choose(*editor.Find<QComboBox>("cmbConfig"), 1);
    did();
    editor.Type(0, "34");
    did();
    for (auto expected = states.rbegin() + 1; expected != states.rend(); ++expected) {
        editor.PressControl(Qt::Key_Z);
        EXPECT_EQ(state(), *expected);
    }
    for (auto expected = states.begin() + 1; expected != states.end(); ++expected) {
        editor.PressControl(Qt::Key_Y);
        EXPECT_EQ(state(), *expected);
    }
    editor.PressControl(Qt::Key_Z);
    editor.PressControl(Qt::Key_Z);
    editor.questions.clear();
    editor.window->MayClose();
    ASSERT_EQ(editor.questions.size(), 1U) << "what was edited before is edited again";
    EXPECT_TRUE(editor.questions[0].contains("\nAverage Depth, Nearfield blanking, Offset, Air Pressure\n"))
        << qPrintable(editor.questions[0]);
    editor.Click("cmdDownload");
    editor.PressControl(Qt::Key_Z);
    EXPECT_EQ(state(), states[0]) << "reading begins anew";
}

TEST(SettingsWindow, SaysAtTheFieldWhatWasMovedAndWhatLooksWrong)
{
    Editor editor;
    editor.window->resize(1100, 700); // nothing has to be scrolled
    const QPoint place = editor.Box(7).mapTo(editor.window.get(), QPoint());
    EXPECT_EQ(editor.Marks("!"), 0);
    EXPECT_EQ(editor.Note(), "");
    editor.Type(3, "5000");
    PressKey(editor.Box(3), Qt::Key_Return);
    EXPECT_EQ(editor.Note(), "Air Pressure: 5000 → 1200 hPa, the upper limit");
    EXPECT_EQ(editor.Marks("!"), 1);
    EXPECT_NE(editor.Box(3).toolTip().indexOf("the upper limit"), -1);
    EXPECT_EQ(editor.Box(3).accessibleDescription(), "5000 → 1200 hPa, the upper limit");
    editor.Type(3, "1100");
    EXPECT_EQ(editor.Note(), "");

    editor.Box(4).setText("9000"); // below 9900
    EXPECT_EQ(editor.Note(), "ON-Threshold Q1: With positive switching logic the ON threshold belongs above the OFF "
                             "threshold");
    editor.Box(7).setText("-5");
    EXPECT_EQ(editor.Marks("!"), 2);
    EXPECT_NE(editor.Find<QLabel>("lblNote")->toolTip().indexOf("OFF-Threshold Q2: "), -1);
    QApplication::processEvents();
    EXPECT_EQ(editor.Box(7).mapTo(editor.window.get(), QPoint()), place) << "signs move no field";
    editor.line.settings.Language = LanguageGerman;
    LocaliseOpenWindows(LanguageGerman);
    EXPECT_TRUE(editor.Note().starts_with("EIN-Schwelle Q1: Bei positiver")) << editor.Note();
    editor.Click("cmdUpload");
    EXPECT_EQ(editor.line.device.Parameters().S1OnThreshold, 9000) << "a warning prevents nothing";
}

TEST(SettingsWindow, MarksWhatAWriteHasNotReachedUntilTheFieldIsEdited)
{
    using enum ValueOutcome;
    struct Row {
        ValueOutcome outcome;
        std::optional<std::int32_t> readBack;
        const char* note;
        bool isSent;
    };
    for (const Row& row :
         {Row{Taken, 77, "", true}, Row{Rounded, 80, "Offset: The sensor has made 80 mm of it", true},
          Row{Ignored, 0, "Offset: Acknowledged by the sensor, but not taken; it still has 0 mm", true},
          Row{Refused, 0, "Offset: Refused by the sensor", false},
          Row{Unanswered, {}, "Offset: Sent, but the sensor has not answered", false},
          Row{NotSent, 0, "Offset: Not sent", false}}) {
        Editor editor(true);
        editor.Box(0).setText("77");
        editor.Box(3).setText("1100");
        editor.writes.Note(writeTo(editor.line.device, row.outcome, row.readBack), "COM 1");
        editor.window->FollowDevice();
        EXPECT_EQ(editor.Note(), row.note);
        EXPECT_EQ(editor.Marks("!"), *row.note == '\0' ? 0 : 1) << row.note;
        editor.unsentAnswer = frmRVQ::UnsentAnswer::KeepEditing;
        EXPECT_EQ(editor.window->MayClose(), row.isSent) << row.note;
        EXPECT_EQ(editor.Typed(0), "77") << row.note;
        editor.Box(0).setText("78");
        EXPECT_EQ(editor.Note(), "");
    }
}

TEST(SettingsWindow, TheBarOffersTheWayBackInTheSensorThatWasWrittenTo)
{
    Editor editor(true);
    const auto* bar = editor.Find<QWidget>("fraUndo");
    EXPECT_FALSE(bar->isVisible());
    WriteReport write = writeTo(editor.line.device, ValueOutcome::Taken, 77);
    editor.writes.Note(write, "COM 1");
    editor.window->FollowDevice();
    EXPECT_TRUE(bar->isVisible());
    EXPECT_TRUE(editor.Find("cmdUndo")->isEnabled());
    const auto* report = editor.Find<QLabel>("lblReport");
    const QString sentence = editor.Find<QLabel>("lblUndo")->text();
    EXPECT_FALSE(report->isVisible()) << "it would say the same again";
    editor.line.device.Identity().SerialNo += "X";
    editor.window->FollowDevice();
    EXPECT_FALSE(bar->isVisible()) << "another sensor";
    EXPECT_TRUE(report->isVisible());
    editor.line.device.Identity().SerialNo = write.serialNo;
    editor.window->FollowDevice();
    EXPECT_TRUE(bar->isVisible());
    editor.line.device.CommStatus() = DialogueNone;
    editor.window->FollowDevice();
    EXPECT_FALSE(editor.Find("cmdUndo")->isEnabled());
    editor.Find<QToolButton>("cmdDismissUndo")->click();
    EXPECT_FALSE(bar->isVisible());
    editor.window->FollowDevice();
    EXPECT_FALSE(bar->isVisible());
    QApplication::processEvents();
    EXPECT_EQ(report->text(), sentence);

    editor.Box(0).setText("77");
    editor.Box(3).setText("1100");
    editor.writes.Note(write, "COM 1");
    write.kind = WriteKind::Undo;
    write.before.Offset = 77;
    write.before.AirPressure = 1100;
    write.values = {{&RowOf(&ParameterSet::Offset), 77, 4, 5, ValueOutcome::Rounded},
                    {&RowOf(&ParameterSet::AirPressure), 1100, 1013, 1013, ValueOutcome::Taken}};
    write.after.Offset = 5;
    write.after.AirPressure = 1013;
    write.time += 1.0;
    editor.Box(3).setText("1111"); // edited again since
    editor.writes.Note(write, "COM 1");
    editor.window->FollowDevice();
    EXPECT_EQ(editor.Typed(0), "5") << "a field that shows what was taken back follows";
    EXPECT_EQ(editor.Typed(3), "1111");
    editor.window->MayClose();
    EXPECT_TRUE(editor.questions.back().contains("\nAir Pressure\n")) << "what has followed is no edit";
}

TEST(SettingsWindow, AWriteThatSentNothingBringsNoOlderReportBack)
{
    Editor editor(true);
    WriteReport undo = writeTo(editor.line.device, ValueOutcome::Taken, 0);
    undo.kind = WriteKind::Undo;
    undo.before.Offset = 77;
    undo.values = {{&RowOf(&ParameterSet::Offset), 77, 0, 0, ValueOutcome::Taken}};
    editor.writes.Note(undo, "COM 1");
    editor.window->FollowDevice();
    editor.own.Write("BACKUP", "");
    editor.writes.Keep({.backups = editor.folder / "BACKUP"});
    editor.window->Boxes.WithoutBackup = [](const QString&) { return false; };
    editor.Box(0).setText("77");
    editor.Click("cmdUpload");
    editor.window->FollowDevice();
    EXPECT_EQ(editor.Typed(0), "77");
    EXPECT_TRUE(editor.Find<QLabel>("lblReport")->text().startsWith("Nothing sent: "));
    editor.unsentAnswer = frmRVQ::UnsentAnswer::KeepEditing;
    EXPECT_FALSE(editor.window->MayClose());
}

TEST(SettingsWindow, AnUploadNamesWhatItLeavesOut)
{
    Editor editor(true);
    const auto report = [&] { return editor.Find<QLabel>("lblReport")->accessibleDescription().toStdString(); };
    const std::string leftOut = "Air Pressure (802): 5000 is not valid and was not sent; the sensor keeps 1013 hPa.";
    editor.Box(3).setText("5000");
    editor.Click("cmdUpload");
    EXPECT_NE(report().find(leftOut), std::string::npos) << report();
    editor.Click("cmdSaveSettings");
    EXPECT_EQ(report().find(leftOut), std::string::npos) << "that was the upload";
}

TEST(SettingsWindow, SendingTheEditsFirstThenDoesWhatWasAskedFor)
{
    Editor editor(true);
    editor.unsentAnswer = frmRVQ::UnsentAnswer::Send;
    editor.Box(0).setText("77");
    const auto review = [&] {
        editor.Click("cmdClose");
        return editor.window->findChild<frmCompare*>();
    };
    PressKey(*review(), Qt::Key_Escape);
    QTest::qWait(1);
    EXPECT_TRUE(editor.window->isVisible()) << "nothing was sent";
    FindIn(*review(), "cmdSendChosen")->click();
    EXPECT_EQ(editor.line.device.Parameters().Offset, 77);
    EXPECT_TRUE(Until([&] { return !editor.window->isVisible(); }));

    editor.window->show();
    editor.line.device.AssumeParameter(&ParameterSet::Offset, 78);
    editor.Box(0).setText("78");
    EXPECT_EQ(review(), nullptr) << "the sensor has it already";
    EXPECT_FALSE(editor.window->isVisible());
}

bool isInSight(const ScrollFrames& area, const QWidget& control)
{
    return area.viewport()->rect().contains(QRect(control.mapTo(area.viewport(), QPoint()), control.size()));
}

/// Whether no frame is cut or lies upon another one, and none has to be scrolled sideways.
void expectWholeFrames(const ScrollFrames& area, const std::string& what)
{
    EXPECT_EQ(area.horizontalScrollBar()->maximum(), 0) << what;
    const auto frames = area.findChildren<QGroupBox*>();
    for (const QGroupBox* frame : frames) {
        const QString name = frame->objectName();
        EXPECT_TRUE(frame->size().expandedTo(frame->minimumSizeHint()) == frame->size()) << what << qPrintable(name);
        EXPECT_TRUE(area.widget()->rect().contains(frame->geometry())) << what << qPrintable(name);
        for (const QGroupBox* other : frames) {
            EXPECT_TRUE(frame == other || !frame->geometry().intersects(other->geometry())) << what << qPrintable(name);
        }
    }
}

TEST(SettingsWindow, HasAsManyColumnsAsThereIsRoomForAndKeepsWhatIsDoneInThem)
{
    for (const std::int32_t language : {LanguageGerman, LanguageEnglish}) {
        Editor editor;
        editor.line.settings.Language = language;
        LocaliseOpenWindows(language);
        const auto* area = editor.Find<ScrollFrames>("scrSettings");
        const auto columns = [area] {
            std::set<int> lefts;
            for (const QGroupBox* frame : area->findChildren<QGroupBox*>()) {
                lefts.insert(frame->x());
            }
            return lefts.size();
        };
        std::vector<QString> order;
        editor.window->activateWindow();
        auto& edited = *editor.Find<QComboBox>("cmbRainFilter");
        editor.Box(5).setText("12");
        for (const auto& [width, count] :
             {std::pair(1366, 3U), {1040, 3U}, {960, 2U}, {760, 2U}, {670, 1U}, {1366, 3U}}) {
            const std::string what = std::to_string(width) + " in " + std::to_string(language) + ": ";
            edited.setFocus();
            editor.window->resize(width, 500);
            QApplication::processEvents();
            EXPECT_EQ(columns(), count) << what;
            expectWholeFrames(*area, what);
            EXPECT_TRUE(edited.hasFocus()) << what;
            EXPECT_TRUE(isInSight(*area, edited)) << what;
            EXPECT_EQ(editor.Typed(5), "12") << what;
            std::vector<QString> now;
            for (int i = 0; i < 60; ++i) {
                QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
                now.push_back(QApplication::focusWidget()->objectName());
            }
            order = order.empty() ? now : order;
            EXPECT_EQ(now, order) << what;
        }
    }
}

/// A report of many long lines leaves the fields their room, and nothing in it is cut silently.
TEST(SettingsWindow, ALongReportLeavesRoomForTheFields)
{
    for (const std::int32_t language : {LanguageGerman, LanguageEnglish}) {
        Editor editor(true);
        editor.line.settings.Language = language;
        LocaliseOpenWindows(language);
        editor.window->resize(800, 560);
        WriteReport write = writeTo(editor.line.device, ValueOutcome::Ignored, 0);
        for (const ParameterDef& row : ParameterTable()) {
            write.values.push_back({&row, 0, 77, 33, ValueOutcome::Taken});
            write.after.*row.value = 33;
        }
        for (const bool hasMany : {false, true}) {
            for (ValueReport& value : write.values) {
                value.outcome = hasMany ? ValueOutcome::Rounded : value.outcome;
            }
            write.isUnstored = true;
            write.noBackup = std::make_error_code(std::errc::no_space_on_device);
            write.time += 1.0;
            editor.writes.Note(write, "COM 1");
            editor.window->FollowDevice();
            QApplication::processEvents();
            const auto* report = editor.Find<QLabel>("lblReport");
            EXPECT_LE(report->height(), 4 * report->fontMetrics().lineSpacing()) << hasMany;
            EXPECT_GT(report->toolTip().size(), report->text().size()) << hasMany;
            EXPECT_NE(report->text().indexOf(u'…'), -1) << hasMany;
            EXPECT_GE(editor.Find<ScrollFrames>("scrSettings")->height(), 250) << hasMany;
            editor.Find<QToolButton>("cmdDismissUndo")->click();
        }
    }
}

TEST(SettingsWindow, FitsASmallScreenAndScrollsToWhatHasTheFocus)
{
    for (const std::int32_t language : {LanguageGerman, LanguageEnglish}) {
        Editor editor;
        editor.line.settings.Language = language;
        LocaliseOpenWindows(language);
        EXPECT_LE(editor.window->minimumSizeHint().width(), 800) << language;
        EXPECT_LE(editor.window->minimumSizeHint().height(), 480) << language; // full HD at 2x, with frame and panels
        editor.window->resize(800, 480);
        QApplication::processEvents();
        EXPECT_EQ(editor.window->size(), QSize(800, 480));
        const auto* area = editor.Find<ScrollFrames>("scrSettings");
        editor.window->activateWindow();
        editor.Find<QComboBox>("cmbConfig")->setFocus();
        const auto* last = editor.Find<QComboBox>("cmbRainFilter");
        for (int i = 0; i < 40 && !last->hasFocus(); ++i) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            const QWidget* focus = QApplication::focusWidget();
            EXPECT_TRUE(!area->isAncestorOf(focus) || isInSight(*area, *focus)) << qPrintable(focus->objectName());
        }
        EXPECT_TRUE(last->hasFocus());
        editor.Find("cmdReview")->setFocus();
        area->verticalScrollBar()->setValue(0);
        EXPECT_FALSE(isInSight(*area, editor.Box(3))) << language;
        editor.Box(3).setFocus(Qt::ShortcutFocusReason);
        EXPECT_TRUE(isInSight(*area, editor.Box(3))) << language;
        for (const char* button : {"cmdReview", "cmdSetDefaults", "cmdCompare", "cmdClose"}) {
            const QWidget* shown = editor.Find(button);
            EXPECT_TRUE(
                editor.window->rect().contains(QRect(shown->mapTo(editor.window.get(), QPoint()), shown->size())))
                << button;
        }
    }
}

} // namespace
