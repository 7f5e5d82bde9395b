// The settings window, offscreen, with the simulated sensor on a real line.
#include "ui/settings/frmRVQ.h"

#include "session/clsWriteKeeper.h"
#include "store/modIni.h"
#include "tests/support/Desk.h"
#include "tests/support/SensorOnLine.h"
#include "ui/widgets/LineLabel.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/NumberEdit.h"
#include "ui/widgets/ScrollFrames.h"

#include <QClipboard>
#include <QGroupBox>
#include <QLocale>
#include <QScrollBar>
#include <QToolButton>
#include <QToolTip>

#include <gtest/gtest.h>

namespace {

/// The window over a device on a line; the pump ticks the loop, as the main window's timer does otherwise.
struct Editor {
    TemporaryFolder own;
    std::filesystem::path folder = own.path;
    SensorOnLine line;
    clsConfigLibrary library;
    Help help{line.settings, folder};
    std::string fileAnswer, sheet, unkept;
    QString description = "Press 4";
    std::vector<QString> questions, details;
    frmRVQ::UnsentAnswer unsentAnswer = frmRVQ::UnsentAnswer::Discard;
    clsWriteKeeper writes;
    std::unique_ptr<frmRVQ> window;

    explicit Editor(bool keepsWrites) : Editor(simulator::SensorOptions{}, keepsWrites) {}
    explicit Editor(simulator::SensorOptions options = {}, bool keepsWrites = false)
        : line(std::move(options)), library(folder / "RVQ.ini")
    {
        EXPECT_TRUE(line.Configured());
        window = std::make_unique<frmRVQ>(nullptr,
                                          frmRVQ::Context{line.device, library, line.settings, help, folder,
                                                          [this] {
                                                              line.Tick();
                                                              window->FollowDevice();
                                                          },
                                                          [this](const QString& told) { unkept = told.toStdString(); },
                                                          keepsWrites ? &writes : nullptr});
        window->Boxes.FileToLoad = window->Boxes.FileToSave = [this](const std::string&) { return fileAnswer; };
        window->Boxes.Description = [this](const QString&) { return description; };
        window->Boxes.Overwrite = [this](const QString& question) {
            questions.push_back(question);
            return false;
        };
        window->Boxes.Failure = [this](const QString& question, const QString& about) {
            questions.push_back(question);
            details.push_back(about);
            return FailureAnswer::Abort;
        };
        window->Boxes.Unsent = [this](const QString& question, bool) {
            questions.push_back(question);
            return unsentAnswer;
        };
        window->Boxes.OpenSheet = [this](const std::string& file) { sheet = file; };
        window->show();
        QApplication::processEvents();
        for (const auto button : {Qt::LeftButton, Qt::MiddleButton, Qt::RightButton}) {
            QTest::mouseRelease(window.get(), button); // another test may have left it pressed
        }
    }
    template <typename Widget = QPushButton>
    Widget* Find(const std::string& name) const
    {
        return FindIn<Widget>(*window, name);
    }
    void Click(const char* name) const { Find(name)->click(); }
    void ClickAndAnswer(const char* name, const char* file)
    {
        fileAnswer = folder / file;
        Click(name);
    }
    std::string Status() const { return Find<QLabel>("lblStatus")->text().toStdString(); }
    NumberEdit& Box(int i) const { return *Find<NumberEdit>("txtParameter_" + std::to_string(i)); }
    std::string Typed(int i) const { return Box(i).text().toStdString(); }
    std::ptrdiff_t Marks(const char* sign = "≠") const
    {
        return std::ranges::count_if(window->findChildren<QLabel*>(), [&](const QLabel* label) {
            return label->isVisible() && label->text() == QString::fromUtf8(sign);
        });
    }
    std::string Note() const { return Find<QLabel>("lblNote")->text().toStdString(); }
    void Type(int i, const char* text) const
    {
        Box(i).setFocus();
        Box(i).selectAll();
        QTest::keyClicks(&Box(i), text);
    }
    void PressControl(Qt::Key key) const { QTest::keyClick(window.get(), key, Qt::ControlModifier); }
};

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

/// A write of three offsets and what became of it, as a transfer reports it.
WriteReport writeTo(const clsRVQ& device, ValueOutcome outcome, std::optional<std::int32_t> readBack)
{
    WriteReport report;
    report.serialNo = device.Identity().SerialNo;
    report.time = device.CurrentTime();
    report.before = report.after = device.Parameters();
    report.values = {{&RowOf(&ParameterSet::Offset), 0, 77, readBack, outcome},
                     {&RowOf(&ParameterSet::AirPressure), 1013, 1100, 1100, ValueOutcome::Taken}};
    report.after.AirPressure = 1100;
    report.after.Offset = readBack.value_or(0);
    report.frames = report.sent = 2;
    report.isReadBack = true;
    report.result = WriteResult::Differs;
    return report;
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
