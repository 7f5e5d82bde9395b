// The settings window, offscreen: reading, sending, storing, its files.
#include "store/modIni.h"
#include "tests/support/Editor.h"
#include "ui/widgets/LineLabel.h"
#include "ui/widgets/Localise.h"

#include <QClipboard>
#include <QLocale>
#include <QToolTip>

#include <gtest/gtest.h>

namespace {

TEST(SettingsWindow, ReadsEditsSendsAndStores)
{
    Editor editor;
    EXPECT_EQ(editor.Status(), "Download configuration from Orvex finished") << "the opening download";
    EXPECT_EQ(editor.Find<QLabel>("lblSerialNo")->text().toStdString(), editor.line.device.Identity().SerialNo);
    EXPECT_FALSE(editor.Find("cmdDelete")->isEnabled());
    EXPECT_FALSE(editor.Box(8).isEnabled());
    editor.Find<QCheckBox>("chkAnalogOutput")->click();
    EXPECT_TRUE(editor.Box(8).isEnabled());
    editor.Box(0).setText("123");
    editor.Box(5).setText("9995"); // too close to 10000
    EXPECT_EQ(editor.Marks(), 3);
    EXPECT_NE(editor.Box(0).toolTip().indexOf("In the sensor: 0 mm"), -1);

    editor.Click("cmdUpload");
    EXPECT_EQ(editor.Status(), "Upload configuration to Orvex finished");
    EXPECT_EQ(editor.Typed(5), "9900") << "read back";
    EXPECT_EQ(editor.Marks(), 0);
    EXPECT_EQ(editor.line.device.Parameters().Offset, 123);
    EXPECT_TRUE(editor.Find<QLabel>("lblUnstored")->isVisible());
    editor.Click("cmdSaveSettings");
    EXPECT_EQ(editor.Status(), "Configuration data stored in Orvex");
    EXPECT_FALSE(editor.Find<QLabel>("lblUnstored")->isVisible());
    editor.Click("cmdSetDefaults");
    EXPECT_EQ(editor.Status(), "All parameters setted to factory defaults ");
    EXPECT_EQ(editor.Typed(0), "0");
}

TEST(SettingsWindow, TheSourceFollowsTheLanguageUnlessItIsAFile)
{
    Editor editor;
    const auto sourceAfterSwitchTo = [&](std::int32_t language) {
        editor.line.settings.Language = language;
        LocaliseOpenWindows(language);
        return editor.Find<QLabel>("lblSource")->text().toStdString();
    };
    EXPECT_EQ(sourceAfterSwitchTo(LanguageGerman), "Ger\xC3\xA4t");
    EXPECT_EQ(sourceAfterSwitchTo(LanguageEnglish), "Device");
    editor.ClickAndAnswer("cmdSave", "x.rvq");
    EXPECT_EQ(sourceAfterSwitchTo(LanguageGerman), editor.fileAnswer);
}

TEST(SettingsWindow, KeepsConfigurationsInFiles)
{
    Editor editor;
    auto* list = editor.Find<QComboBox>("cmbConfig");
    editor.Box(5).setText("9995");
    editor.ClickAndAnswer("cmdSave", "prässe.rvq");
    EXPECT_EQ(list->currentText(), "Press 4");
    EXPECT_EQ(editor.Typed(5), "255") << "refused, and to be seen";
    EXPECT_EQ(editor.Find<QLabel>("lblSource")->text().toStdString(), editor.fileAnswer);

    editor.Box(0).setText("77");
    editor.description = "Press 5";
    editor.ClickAndAnswer("cmdSave", "second.rvq");
    EXPECT_EQ(list->count(), 3);
    EXPECT_EQ(list->currentText(), "Press 5");
    editor.Click("cmdDelete");
    EXPECT_EQ(list->count(), 2);
    EXPECT_EQ(list->currentText(), "Press 4");
    editor.ClickAndAnswer("cmdLoad", "second.rvq");
    EXPECT_EQ(list->count(), 3);
    EXPECT_EQ(editor.Typed(0), "77");
    editor.ClickAndAnswer("cmdLoad", ""); // no file, no description
    EXPECT_EQ(list->count(), 3);
}

TEST(SettingsWindow, SaysThatAFileCannotBeWrittenUntilOneIs)
{
    Editor editor;
    editor.ClickAndAnswer("cmdSave", "missing/x.rvq");
    EXPECT_EQ(editor.Status(), editor.fileAnswer + " cannot be written: File or folder is missing.");
    editor.ClickAndAnswer("cmdSave", "x.5");
    EXPECT_EQ(editor.Status(), "Saved as x.5.rvq");
    EXPECT_EQ(editor.Find<QLabel>("lblStatus")->toolTip().toStdString(), editor.folder / "x.5.rvq");
    editor.ClickAndAnswer("cmdSave", "y.RVQ");
    EXPECT_EQ(editor.Status(), "Saved as y.RVQ");
    EXPECT_TRUE(std::filesystem::exists(editor.folder / "x.5.rvq"));
}

TEST(SettingsWindow, GivesADescriptionToAConfigurationThatHasNone)
{
    Editor editor;
    for (const QString& none : {QString(), QStringLiteral("  ")}) {
        editor.description = none;
        editor.ClickAndAnswer("cmdSave", none.isNull() ? "x.rvq" : "y.rvq");
        EXPECT_EQ(editor.Find<QComboBox>("cmbConfig")->currentText(), "User configuration") << none.size();
    }
}

TEST(SettingsWindow, AsksBeforeItOverwritesWhatAnotherProgramHasWritten)
{
    using Answer = frmRVQ::ChangedAnswer;
    struct Row {
        Answer answer;
        std::int32_t inFile;
        const char *shown, *description;
    };
    for (const Row& row : {Row{Answer::Cancel, 5, "77", "Press 4"}, Row{Answer::TakeOther, 5, "5", "theirs"},
                           Row{Answer::KeepMine, 77, "77", "Press 4"}}) {
        Editor editor;
        QString question;
        editor.window->Boxes.Changed = [&](const QString& asked) {
            question = asked;
            return row.answer;
        };
        editor.ClickAndAnswer("cmdSave", "b.rvq");
        clsConfigLibrary other(editor.folder / "RVQ.ini");
        other.Build();
        other.Entry(1).Parameters.Offset = 5;
        other.Store(1, "theirs");
        editor.Box(0).setText("77");
        editor.Click("cmdSave");
        EXPECT_TRUE(question.startsWith(QString::fromStdString(editor.fileAnswer) + " has been changed"));
        EXPECT_EQ(editor.Typed(0), row.shown);
        EXPECT_EQ(editor.Find<QComboBox>("cmbConfig")->currentText(), row.description);
        EXPECT_EQ(modIni::GetPrivateProfileIntA("RVQ", "Offset", 0, editor.fileAnswer), row.inFile);
    }
}

TEST(SettingsWindow, NamesAListThatCannotBeSaved)
{
    Editor editor;
    std::filesystem::create_directory(editor.folder / "RVQ.ini");
    const std::string list =
        (editor.folder / "RVQ.ini").string() + " cannot be written: There is no ordinary file there.";
    for (const char* button : {"cmdSave", "cmdDelete"}) {
        editor.unkept.clear();
        editor.ClickAndAnswer(button, "b.rvq");
        EXPECT_EQ(editor.Status(), list) << button;
        EXPECT_EQ(editor.unkept, list) << button;
    }
    EXPECT_TRUE(std::filesystem::exists(editor.fileAnswer));
}

TEST(SettingsWindow, PastedTextsAreTakenAsOneNumberOrNotAtAll)
{
    QLocale::setDefault(QLocale(QLocale::German));
    Editor editor;
    QLocale::setDefault(QLocale::c());
    NumberEdit& box = editor.Box(4);
    box.clear();
    QTest::keyClicks(&box, "a5-x");
    EXPECT_EQ(box.text(), "5-") << "other keys are left out without a word";
    EXPECT_FALSE(QToolTip::isVisible());
    const auto paste = [&](const char* text) {
        box.selectAll();
        QApplication::clipboard()->setText(text);
        box.paste();
        QApplication::processEvents();
    };
    paste("9000");
    for (const char* text : {"12\n34\n", "1e3", "12 mm"}) {
        paste(text);
        EXPECT_EQ(box.text(), "9000") << text;
        EXPECT_TRUE(QToolTip::text().startsWith("Not taken, that is not a single number.")) << text;
        QToolTip::hideText();
    }
    paste("−12\n"); // with the typographic minus
    EXPECT_EQ(box.text(), "-12");
    paste("1.234,5");
    EXPECT_EQ(box.text(), "1234,5");

    box.ShowText("9000");
    box.selectAll();
    QTest::keyClicks(&box, "1.234,5");
    PressKey(box, Qt::Key_Return);
    EXPECT_EQ(box.text(), "9000") << "typed, both keys are the separator: no number, and not the default either";
    box.clear();
    PressKey(box, Qt::Key_Return);
    EXPECT_EQ(box.text(), "10000") << "an empty box gives its default";
}

TEST(SettingsWindow, AsksBeforeItReplacesAFileThatIsNotTheSelectedEntrys)
{
    Editor editor;
    editor.ClickAndAnswer("cmdSave", "other.rvq");
    editor.ClickAndAnswer("cmdSave", "own.rvq");
    editor.own.Write("foreign.rvq", "[RVQ]\r\n"); // not in any list
    editor.Box(0).setText("77");
    for (const auto& [name, isAsked] : {std::pair("own.rvq", false), {"other.rvq", true}, {"foreign.rvq", true}}) {
        const std::string before = TemporaryFolder::Read(editor.folder / name);
        editor.questions.clear();
        editor.ClickAndAnswer("cmdSave", name); // answers "no" if it is asked
        EXPECT_EQ(TemporaryFolder::Read(editor.folder / name) == before, isAsked) << name;
        ASSERT_EQ(editor.questions.size(), isAsked ? 1U : 0U) << name;
        EXPECT_TRUE(!isAsked || editor.questions[0].toStdString() ==
                                    "The configuration file already exists.: " + editor.fileAnswer +
                                        "\nDo you want to overwrite the existing file ?");
    }
}

TEST(SettingsWindow, NeitherItsFrameNorEscapeClosesItInTheMiddleOfATransfer)
{
    Editor editor;
    int ticks = 0;
    editor.line.view.OnTick = [&] {
        ++ticks;
        EXPECT_FALSE(CloseByFrame(*editor.window));
        PressKey(*editor.window, Qt::Key_Escape);
    };
    editor.Click("cmdDownload");
    EXPECT_GT(ticks, 0);
    EXPECT_TRUE(editor.window->isVisible());
    EXPECT_TRUE(CloseByFrame(*editor.window)) << "afterwards";
}

TEST(SettingsWindow, ALongTextOfTheSensorIsPlainAndDoesNotWidenIt)
{
    Editor editor;
    const int before = editor.window->minimumSizeHint().width();
    editor.line.device.Identity().SerialNo = "<b>" + std::string(61, 'W');
    editor.window->FollowDevice();
    EXPECT_EQ(editor.Find<QLabel>("lblSerialNo")->text().toStdString(), editor.line.device.Identity().SerialNo);
    EXPECT_EQ(editor.Find<QLabel>("lblSerialNo")->textFormat(), Qt::PlainText);
    EXPECT_LE(editor.window->minimumSizeHint().width(), before + 24 * editor.window->fontMetrics().averageCharWidth());
}

TEST(SettingsWindow, FailuresAreToldAndLeaveTheWindowUsable)
{
    Editor editor;
    simulator::Faults& faults = editor.line.sensor.Faults();
    editor.Find("cmdUpload")->setFocus();
    faults.silence = 1.0;
    editor.Click("cmdSaveSettings");
    EXPECT_EQ(editor.Status(), "Attention! Saving current configuration into Orvex failed");
    EXPECT_TRUE(editor.Find("cmdClose")->isEnabled());
    EXPECT_FALSE(editor.Find("cmdUpload")->isEnabled()) << "no sensor answers";

    editor.line.device.CommStatus() = DialogueIdle;
    editor.window->FollowDevice();
    editor.Click("cmdUpload");
    ASSERT_EQ(editor.questions.size(), 1U);
    EXPECT_EQ(editor.questions[0], "See Manual 5.4. Configuration error No response from Orvex");
    const QString sentNone = "Data Format (101) = ASCII+UNIT got no answer; 0 of 24 sent, 24 not\n\nAbort: nothing";
    EXPECT_TRUE(editor.details[0].startsWith(sentNone)) << qPrintable(editor.details[0]);
    const std::string unsent = "Configuration not sent completely: No response from Orvex";
    EXPECT_EQ(editor.Status(), unsent);
    EXPECT_NE(editor.Find<QLabel>("lblStatus")->palette().color(QPalette::WindowText), Qt::black);

    faults = {.refusal = 1.0};
    ASSERT_TRUE(editor.line.Configured());
    editor.window->FollowDevice();
    EXPECT_EQ(editor.Status(), unsent) << "the sensor is back, the values are not in it";
    editor.line.settings.Language = LanguageGerman;
    QEvent german(QEvent::LanguageChange);
    QApplication::sendEvent(editor.window.get(), &german);
    EXPECT_EQ(editor.Status(), "Konfiguration nicht vollständig gesendet: Keine Antwort vom Orvex");
    editor.line.settings.Language = LanguageEnglish;
    editor.window->Boxes.Failure = [&](const QString&, const QString&) {
        for (int i = 0; i < 200; ++i) { // the question stays open for seconds
            editor.line.Tick();
        }
        return FailureAnswer::Abort;
    };
    editor.Click("cmdUpload");
    EXPECT_EQ(editor.line.device.CommStatus(), DialogueIdle) << "a sensor that refuses is there";
}

TEST(SettingsWindow, AnUploadEndsWithTheSensorThatItWasMeantFor)
{
    Editor editor;
    editor.line.sensor.Faults().refusal = 1.0;
    int questions = 0;
    editor.window->Boxes.Failure = [&](const QString&, const QString&) {
        if (++questions > 1) {
            return FailureAnswer::Abort;
        }
        editor.line.device.CloseComPort();
        editor.line.device.OpenComPort(1, 38400);
        editor.line.sensor.ClearWireLog();
        return FailureAnswer::Retry;
    };
    editor.Click("cmdUpload");
    EXPECT_EQ(questions, 1);
    for (const std::string& command : editor.line.sensor.WireLog()) {
        EXPECT_LT(command.size(), 2U) << command;
    }
}

TEST(SettingsWindow, ProfibusHasAnAddressAndNoSwitchesAndTheSheetSaysSo)
{
    simulator::SensorOptions options;
    options.kind = simulator::DeviceKind::Profibus;
    Editor editor(options);
    EXPECT_EQ(editor.Find<QLabel>("lblDeviceType")->text(), "Profibus");
    EXPECT_TRUE(editor.Box(10).isEnabled());
    EXPECT_FALSE(editor.Find<QComboBox>("cmbOutputMode")->isEnabled());
    EXPECT_FALSE(editor.Find<QWidget>("cmbS2Logic")->isVisible());
    EXPECT_TRUE(editor.Find<QWidget>("chkAnalogOutput")->isVisible());
    editor.Click("cmdPrint");
    const std::string text = TemporaryFolder::Read(editor.sheet);
    EXPECT_NE(text.find("Profibus Address"), std::string::npos);
    EXPECT_EQ(text.find("Threshold"), std::string::npos);
}

TEST(SettingsWindow, EnterChecksABox)
{
    Editor editor;
    editor.Box(2).setText("");
    PressKey(editor.Box(2), Qt::Key_Return);
    EXPECT_EQ(editor.Box(2).text(), "20" + QLocale().decimalPoint() + "0");
}

} // namespace
