// The recorder's window and its effect on the main window, offscreen.
#include "ui/recorder/frmRecorder.h"

#include "base/Days.h"
#include "base/modAPI.h"
#include "session/clsRecorder.h"
#include "session/clsSession.h"
#include "store/modSidecar.h"
#include "tests/support/Desk.h"
#include "tests/support/Settle.h"
#include "tests/support/clsScriptedPort.h"
#include "ui/chart/ChartPanel.h"
#include "ui/main/ValueLabel.h"
#include "ui/recorder/Export.h"
#include "ui/recorder/ExportPicture.h"
#include "ui/recorder/FilePanel.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QImage>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QProgressDialog>
#include <QRegularExpression>
#include <QThread>
#include <QTimer>
#include <QtTest/QTest>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <utility>

namespace {

/// A recording that repeats one line.
std::string linesOf(int count, std::string_view line)
{
    std::string lines;
    for (int i = 0; i < count; ++i) {
        lines += line;
    }
    return lines;
}

constexpr Measurement kValue{.value = 1234.0, .value_mm = 1234, .unit = 1, .outputFormat = 1, .time = 46341.5};

/// Counts what is played; stands for a file of a hundred million lines while it is slow.
struct Audience : SessionListener {
    bool slow = false;
    std::int64_t shown = 0;

    void AddPlayedPoints(std::span<const ChartPoint> points) override
    {
        shown += std::ssize(points);
        if (slow) {
            QThread::msleep(40);
        }
    }
};

struct Bench {
    TemporaryFolder folder;
    modGlobals::Settings settings{.Language = LanguageEnglish};
    clsSession session;
    clsRecorder& recorder = session.Recorder();
    Audience host;
    QWidget owner;
    FilePanel file{&owner};
    QString message;
    frmRecorder window{owner, settings, session};

    explicit Bench(const RecordDisk& disk = {})
        : session(std::make_unique<clsScriptedPort>(), settings, folder.path / "REC", '.', disk)
    {
        session.Listen(host);
        file.Follow(session, settings);
        window.ShowMessage = [this](const QString& text) { message = text; };
        window.show();
    }
    QPushButton* Button(const char* name) const { return window.findChild<QPushButton*>(QLatin1String(name)); }
    /// What the window says after a click on a button.
    std::string After(const char* name)
    {
        Button(name)->click();
        recorder.FinishWriting(std::chrono::seconds(10));
        window.ShowState();
        return State();
    }
    std::string State() const { return window.findChild<QLabel*>("lblState")->text().toStdString(); }
    std::string Rule() const
    {
        std::string enabled;
        for (const char* name : {"cmdRec", "cmdPlay", "cmdStop"}) {
            enabled += Button(name)->isEnabled() ? name + std::string(" ") : "";
        }
        return enabled;
    }
};

TEST(RecorderWindow, FollowsTheRecorderAndSaysWhatHasBecomeOfIt)
{
    Bench bench;
    EXPECT_EQ(bench.Rule(), "cmdRec cmdPlay ");
    bench.session.Loop().MeasureWhenConnected();
    bench.window.ShowState();
    EXPECT_EQ(bench.Rule(), "cmdRec ") << "nothing is played during a measurement";
    bench.Button("cmdRec")->click();
    EXPECT_EQ(bench.Rule(), "cmdStop ");
    EXPECT_EQ(bench.file.text().toStdString(), "REC: " + bench.recorder.FileName + " ");
    bench.recorder.Record(kValue, {});
    bench.window.ShowState();
    EXPECT_EQ(bench.State(), "Waiting for a temperature");
    EXPECT_EQ(bench.After("cmdStop"), "Nothing could be recorded without a temperature.");
    bench.Button("cmdRec")->click();
    bench.recorder.Record(kValue, "23 C");
    EXPECT_EQ(bench.After("cmdStop"), "Values saved: 1");
    EXPECT_EQ(bench.Rule(), "cmdRec ");
    bench.Button("cmdRec")->click();
    EXPECT_EQ(bench.After("cmdStop"), "No value arrived, so there is no file.");
}

TEST(RecorderWindow, TheProgramClosesItDuringARecordingAndNeitherItsFrameNorEscape)
{
    Bench bench;
    bench.Button("cmdRec")->click();
    EXPECT_FALSE(CloseByFrame(bench.window));
    bench.window.reject(); // Escape
    EXPECT_TRUE(bench.window.isVisible());
    bench.Button("cmdStop")->click();
    EXPECT_TRUE(CloseByFrame(bench.window));
    EXPECT_TRUE(bench.recorder.IsOpen) << "closed by its frame it leaves the flag";
    bench.Button("cmdRec")->click();
    bench.window.close();
    EXPECT_FALSE(bench.recorder.IsOpen);
    EXPECT_EQ(bench.recorder.Mode, RecorderIdle) << "closed by the program it stops";
}

TEST(RecorderWindow, SaysWhatToMindAndWhyItStays)
{
    Bench bench;
    double now = 100.5;
    const auto notice = [&](double seconds) {
        for (int tick = 0; tick < 20 * seconds; ++tick) {
            bench.session.ServeFiles(now += 0.05 / kSecondsPerDay);
        }
        bench.window.ShowState();
        return FindIn<QLabel>(bench.window, "lblNotice")->text().toStdString();
    };
    const auto figure = [&](const char* name) { return FindIn<QLabel>(bench.window, name)->text().toStdString(); };
    notice(1);
    EXPECT_EQ(figure("lblDuration") + figure("lblFree"), "");
    bench.Button("cmdRec")->click();
    EXPECT_EQ(notice(30), "") << "it waits for the first value";
    bench.recorder.Record(std::vector(60, kValue), "23 C");
    ASSERT_TRUE(Settled(bench.recorder, now));
    EXPECT_EQ(notice(1.5), "");
    EXPECT_EQ(figure("lblDuration"), "00:00:31");
    EXPECT_EQ(figure("lblRate"), "40.0 /s") << "without the wait";
    EXPECT_EQ(figure("lblSize"), QStringLiteral("2.4%1KiB").arg(QChar(QChar::Nbsp)).toStdString());
    EXPECT_TRUE(figure("lblFree").starts_with("Free: "));
    EXPECT_EQ(notice(11), "No value for 12 s");
    EXPECT_FALSE(CloseByFrame(bench.window));
    EXPECT_EQ(notice(0), "The window stays open while recording.\nNo value for 12 s");
    EXPECT_EQ(notice(0), notice(0)) << "long enough to be read";
    const auto spoken = [&](const char* name) { return FindIn<QLabel>(bench.window, name)->accessibleName(); };
    EXPECT_EQ(spoken("lblMark") + u' ' + spoken("lblSign"), "The recording is running. Warning") << "signs have words";
    bench.After("cmdStop");
    for (int i = 0; i < 20; ++i) {
        bench.window.ShowState();
    }
    EXPECT_EQ(notice(0), "");
    EXPECT_NE(figure("lblDuration") + figure("lblSize"), "");
    bench.window.ChooseFiles = [&] { return QStringList{QString::fromStdString(bench.recorder.FileName)}; };
    bench.After("cmdPlay");
    EXPECT_EQ(figure("lblDuration") + figure("lblSize"), "") << "not beside the name of another file";
}

TEST(RecorderWindow, NamesARecordingBeforeOrAfterIt)
{
    Bench bench;
    auto* name = FindIn<QLineEdit>(bench.window, "txtName");
    const auto record = [&] {
        bench.Button("cmdRec")->click();
        EXPECT_FALSE(name->isEnabled() || bench.Button("cmdRename")->isEnabled());
        bench.recorder.Record(kValue, "23 C");
        bench.After("cmdStop");
        return bench.recorder.FileName.substr((bench.folder.path / "REC/").string().size());
    };
    QTest::keyClicks(name, "Hall: 3/4?");
    EXPECT_EQ(name->text(), "Hall 34");
    EXPECT_EQ(FindIn<QLabel>(bench.window, "lblNotice")->text(), "Not allowed in file names: / \\ : * ? \" < > |");
    EXPECT_FALSE(bench.Button("cmdRename")->isEnabled()) << "nothing is recorded yet";
    EXPECT_EQ(record(), "Hall 34.rec");
    EXPECT_EQ(record(), "Hall 34 (2).rec");
    name->clear();
    EXPECT_EQ(record(), "SAVE0001.rec");
    EXPECT_FALSE(bench.Button("cmdRename")->isEnabled());
    QTest::keyClicks(name, "Hall 34. ");
    bench.Button("cmdRename")->click();
    EXPECT_EQ(FindIn<QLabel>(bench.window, "lblFile")->text(), "Hall 34 (3).rec");
    EXPECT_EQ(name->text(), "") << "the next one is not called so";
    EXPECT_EQ(record(), "SAVE0001.rec");
}

TEST(RecorderWindow, KeepsItsChoicesAndDividesARecordingByThem)
{
    Bench bench;
    auto* parts = FindIn<QComboBox>(bench.window, "cmbNewFile");
    auto* size = FindIn<QWidget>(bench.window, "txtFileSize");
    EXPECT_FALSE(size->isEnabled());
    Choose(*parts, 3);
    EXPECT_TRUE(size->isEnabled());
    Choose(*parts, 2);
    FindIn<QCheckBox>(bench.window, "chkEveryValue")->click();
    EXPECT_EQ(std::pair(bench.settings.NewFile, bench.settings.EveryValue), std::pair(2, false));
    bench.Button("cmdRec")->click();
    EXPECT_FALSE(parts->isEnabled());
    EXPECT_TRUE(FindIn<QCheckBox>(bench.window, "chkEveryValue")->isEnabled());
    Measurement tomorrow = kValue;
    tomorrow.time += 1.0;
    bench.recorder.Record(kValue, "23 C");
    bench.recorder.Record(tomorrow, "23 C");
    ASSERT_TRUE(Settled(bench.recorder));
    EXPECT_TRUE(bench.recorder.FileName.ends_with("SAVE0002.rec"));
}

TEST(MainWindow, ShowsARecordingWhateverWindowIsOpen)
{
    MainDesk main;
    const auto isRed = [&] {
        const QImage panel = main.Find<QLabel>("sbar_2")->grab().toImage();
        int red = 0;
        for (int x = 0; x < panel.height(); ++x) {
            red += panel.pixelColor(x, panel.height() / 2).red() > panel.pixelColor(x, panel.height() / 2).green() + 90;
        }
        return red > 3;
    };
    const auto told = [&] { return main.Find<QLabel>("sbar_2")->accessibleDescription(); };
    const auto tells = [&](const char* pattern) {
        const QRegularExpression whole(QRegularExpression::anchoredPattern(QLatin1String(pattern)));
        return Until([&] { return whole.match(told()).hasMatch(); });
    };
    const auto explains = [&](const char* pattern) {
        return QRegularExpression(QLatin1String(pattern)).match(main.Find<QLabel>("sbar_2")->toolTip()).hasMatch();
    };
    main.session->StartRecording();
    const std::string file = main.session->Recorder().FileName;
    EXPECT_EQ(main.Text("sbar_2"), "REC: " + file + " ");
    EXPECT_TRUE(Until(isRed));
    main.session->ServeFiles(modAPI::LocalTime() + 6.0 / kSecondsPerDay); // time passes
    EXPECT_TRUE(tells("00:00:.., 0.B, Warning: Waiting for .*")) << told().toStdString();
    QMessageBox modal(main.window.get());
    modal.setWindowModality(Qt::ApplicationModal);
    main.Trigger("mnuConfigurationRVQ");
    emit main.Find<ValueLabel>("lblMeasValue")->clicked(); // the large display
    modal.show();
    main.window->MeasureWhenConnected();
    EXPECT_TRUE(tells("00:00:.., [1-9].*B, SAVE0001.rec")) << told().toStdString();
    EXPECT_TRUE(Until([&] { return explains("rec\nRecording, values: [1-9].*\n[1-9].* /s\nFree: .*B$"); }));
    main.sensor.Unplug();
    EXPECT_TRUE(Until([&] { return !main.session->Device().PortIsOpen(); }));
    main.session->ServeFiles(modAPI::LocalTime() + 8.0 / kSecondsPerDay);
    EXPECT_TRUE(tells("00:00:.*B, Warning: No value for ([89]|1.) s")) << told().toStdString();
    EXPECT_TRUE(explains("\nNo value for ([89]|1.) s$"));
    main.session->Recorder().Stop();
    EXPECT_TRUE(Until([&] { return main.Text("sbar_2") == file; }));
    EXPECT_FALSE(isRed() || !told().isEmpty());
    EXPECT_FALSE(main.session->Recorder().Rename("x"));
    EXPECT_TRUE(Until([&] { return main.Text("sbar_2").ends_with("/x.rec"); }));
    main.sensor.Replug();
    main.session->StartRecording();
    EXPECT_TRUE(Until(isRed));
    EXPECT_TRUE(Until([&] { return main.session->Recorder().Figures().bytes > 0; })) << "the values are back";
    EXPECT_TRUE(std::filesystem::remove(main.session->Recorder().FileName));
    EXPECT_TRUE(Until([&] { return main.session->Recorder().Mode == RecorderIdle && !isRed(); })) << "a failure too";
}

std::atomic<bool> diskIsBusy = false;

TEST(RecorderWindow, StaysAliveWhileTheDiskIsBusy)
{
    diskIsBusy = true;
    Bench bench({.flush = [](int) {
        while (diskIsBusy) {
            QThread::msleep(1);
        }
        return std::error_code();
    }});
    bench.Button("cmdRec")->click();
    bench.recorder.Record(kValue, "23 C");
    bench.Button("cmdStop")->click();
    EXPECT_EQ(bench.State(), "Writing the recording …");
    EXPECT_EQ(bench.Rule(), "cmdRec cmdPlay ");
    EXPECT_TRUE(CloseByFrame(bench.window));
    diskIsBusy = false;
    EXPECT_TRUE(bench.recorder.FinishWriting(std::chrono::seconds(10)));
    bench.window.ShowState();
    EXPECT_EQ(bench.State(), "Values saved: 1");
}

TEST(RecorderWindow, SaysWhyARecordingCannotBegin)
{
    Bench bench;
    bench.folder.Write("REC", "a file in the folder's place");
    EXPECT_EQ(bench.After("cmdRec"), "No recording: There is a file where the folder should be.");
    EXPECT_EQ(bench.Rule(), "cmdRec cmdPlay ");
}

TEST(RecorderWindow, SaysWhyAPlaybackCannotBegin)
{
    Bench bench;
    bench.window.ChooseFiles = [&] { return QStringList{QString::fromStdString(bench.folder.path / "none.rec")}; };
    EXPECT_EQ(bench.After("cmdPlay"), "Cannot be read: File or folder is missing.");
    bench.window.ChooseFiles = [&] {
        bench.session.Loop().MeasureWhenConnected(); // the sensor has come back meanwhile
        return QStringList{QString::fromStdString(bench.folder.path / "none.rec")};
    };
    bench.Button("cmdPlay")->click();
    EXPECT_EQ(bench.message, "Not loaded: a measurement is running.");
    EXPECT_EQ(bench.Rule(), "cmdRec ");
}

TEST(RecorderWindow, LongLoadingCanBeCancelled)
{
    Bench bench;
    const auto file = bench.folder.Write("long.rec", linesOf(200000, "15.11.2026 12:00:00,000; 1234 mm; 23 C\r\n"));
    bench.host.slow = true;
    bench.window.ChooseFiles = [&] { return QStringList{QString::fromStdString(file)}; };
    bool sawBar = false;
    QTimer cancel;
    QObject::connect(&cancel, &QTimer::timeout, [&] {
        if (auto* bar = bench.window.findChild<QProgressDialog*>(); bar != nullptr && bar->value() > 0) {
            sawBar = true;
            EXPECT_EQ(bench.Rule(), "") << "all three wait";
            EXPECT_FALSE(CloseByFrame(bench.window));
            bar->findChild<QPushButton*>("cmdCancel")->click();
        }
    });
    cancel.start(5);
    bench.Button("cmdPlay")->click();
    ASSERT_TRUE(sawBar);
    EXPECT_LT(bench.host.shown, 200000);
    EXPECT_EQ(bench.State(), "Loading cancelled, values loaded: " + std::to_string(bench.host.shown));
    EXPECT_EQ(bench.message, "Error in LoadData");
    EXPECT_EQ(bench.Rule(), "cmdRec cmdPlay ");
}

struct Player : Desk {
    Player()
    {
        settings.AutoScale = false;
        devices.Override(1, folder.path / "none");
        Open();
    }
    std::string Play(const std::filesystem::path& file)
    {
        Trigger("mnuRecorder");
        auto* recorder = window->findChild<frmRecorder*>();
        recorder->ChooseFiles = [&] { return QStringList{QString::fromStdString(file)}; };
        FindIn(*recorder, "cmdPlay")->click();
        return Text("sbar_1");
    }
    XYChart* Chart() const { return Find<XYChart>("picGraph"); }
};

TEST(MainWindow, ShowsAPlayedRecording)
{
    Player window;
    const auto file = window.folder.Write(
        "short.rec",
        "15.11.2026 12:00:00,000; 1000 mm; 21 \xB0\x43\r\n15.11.2026 12:00:10,000; No Echo; 21 \xB0\x43\r\n"
        "15.11.2026 12:02:00,000; 5000 mm; 22 \xB0\x43\r\n");
    EXPECT_EQ(window.Play(file), "");
    EXPECT_EQ(window.Text("sbar_2"), file);
    EXPECT_TRUE(window.settings.AutoScale);
    EXPECT_EQ(window.Text("lblTemperature"), "22 °C");
    EXPECT_EQ(window.Chart()->Series().Size(), 30000);
    EXPECT_EQ(window.Chart()->Series().StopIndex, 3) << "two points, a gap between them";
    EXPECT_EQ(window.Chart()->XRange_ms(), 120000);
    EXPECT_NEAR(window.Chart()->TimeBegin(), 46341.5, 1e-9);
    EXPECT_EQ(window.Chart()->TimeOrigin(), 46341.0);
    EXPECT_LT(window.Chart()->YMinimum(), window.Chart()->ShownValues().value().front());
    EXPECT_GT(window.Chart()->YMaximum(), window.Chart()->ShownValues().value().back());
}

/// In the status bar, the recorder and the list of recent files.
TEST(MainWindow, ToolTipsShowAFileThatIsNamedLikeATag)
{
    Player window;
    window.settings.IniFile = window.folder.path / "RVQ.ini";
    const auto file = window.folder.Write("<b>a.rec", "15.11.2026 12:00:00,000; 1000 mm; 21 \xB0\x43\r\n");
    EXPECT_EQ(window.Play(file), "");
    auto* recent = window.Find<QMenu>("mnuFileRecent");
    emit recent->aboutToShow();
    QStringList toolTips{recent->actions().front()->toolTip()};
    for (const QWidget* widget : QApplication::allWidgets()) {
        toolTips += widget->toolTip();
    }
    toolTips = toolTips.filter("a.rec");
    EXPECT_EQ(toolTips.size(), 3);
    EXPECT_EQ(toolTips.filter("&lt;b&gt;a.rec").size(), 3) << qPrintable(toolTips.join(u'\n'));
}

TEST(MainWindow, PlaysInTheUnitOfTheSidecarAndSaysWhenItIsIgnored)
{
    Player window;
    const auto file = window.folder.Write("old.rec", "15.11.2026 12:00:00,000; 1000 mm; 21 \xB0\x43\r\n"
                                                     "15.11.2026 12:00:30,000; 2000 mm; 21 \xB0\x43\r\n");
    RecordingInfo info;
    info.start = 46341.5;
    info.isSensorKnown = true;
    info.parameters.DistanceUnit = 3;
    info.gaps = {{46341.5, 46341.5 + 30.0 / 86400.0, GapReason::LineLost}};
    const auto sidecar = modSidecar::SidecarOf(file);
    ASSERT_FALSE(modSidecar::Write(sidecar, info));
    EXPECT_EQ(window.Play(file), "");
    EXPECT_EQ(window.Text("lblMeasValue"), "6.5617 ft");
    EXPECT_EQ(window.Chart()->Series().StopIndex, 3) << "two points, a gap between them";
    info.start = 46342.5;
    ASSERT_FALSE(modSidecar::Write(sidecar, info));
    EXPECT_EQ(window.Play(file), "old.json belongs to another recording and is ignored.");
    EXPECT_EQ(window.Text("lblMeasValue"), "2.000 m");
    window.folder.Write("old.json", "[");
    EXPECT_EQ(window.Play(file), "old.json cannot be read and is ignored.");
}

TEST(MainWindow, ShowsALongRecordingAsAWhole)
{
    Player window;
    window.Play(window.folder.Write("many.rec", linesOf(40000, "15.11.2026 12:00:00,000; 1000 mm; 21 \xB0\x43\n")));
    EXPECT_EQ(window.Find<QLabel>("sbar_2")->toolTip().section(u'\n', 1).toStdString(), "") << "nothing is missing";
    EXPECT_EQ(window.Find<ChartPanel>("picGraph")->Source()->Size(), 40000U) << "more than the series holds";
}

TEST(MainWindow, ShowsAPlayedRecordingUpToItsUnreadableLine)
{
    Player window;
    const std::string lines =
        "15.11.2026 12:00:00,000; 1000 mm; 21 \xB0\x43\r\n15.11.2026 12:02:00,000; 5000 mm; 22 \xB0\x43\r\n";
    EXPECT_EQ(window.Play(window.folder.Write("bad.rec", lines + "bad")), "Error in LoadData");
    QTest::qWait(300);
    EXPECT_EQ(window.Text("sbar_1"), "Error in LoadData") << "long enough to be read";
    EXPECT_EQ(window.Text("lblMeasAge") + window.Text("lblTempAge"), "")
        << "the port is closed, but these are the file's";
    EXPECT_EQ(window.Chart()->Series().StopIndex, 2) << "what stands before the bad line";
    EXPECT_NEAR(window.Chart()->TimeBegin(), 46341.5, 1e-9) << "the ticks move nothing";
}

TEST(MainWindow, TellsOfARecordingThatEndsByItself)
{
    const MainDesk main;
    main.window->MeasureWhenConnected();
    main.session->StartRecording();
    for (int round = 0; round < 2; ++round) {
        main.Trigger("mnuRecorder");
        const auto* recorder = main.Find<frmRecorder>("frmRecorder");
        if (round > 0) {
            FindIn(*recorder, "cmdRec")->click();
        }
        const auto state = [&] { return FindIn<QLabel>(*recorder, "lblState")->text().toStdString(); };
        ASSERT_TRUE(Until([&] { return state().starts_with("Recording, values: "); }));
        ASSERT_TRUE(QFile::remove(main.Find<QLabel>("sbar_2")->toolTip().section(u'\n', 0, 0)));
        EXPECT_TRUE(Until([&] { return state() == "Recording ended: File or folder is missing."; })) << state();
        EXPECT_EQ(main.Text("sbar_1"), "Recording ended: File or folder is missing.");
    }
}

/// The last bits of the first point's time must not decide whether the value axis reaches it.
TEST(MainWindow, ScalesToTheFirstPointOfARecording)
{
    Player window;
    window.Play(window.folder.Write("peak.rec", "15.11.2026 12:00:02,000; 9000 mm; 21 C\n" +
                                                    linesOf(40, "15.11.2026 12:01:03,000; 1000 mm; 21 C\n")));
    EXPECT_GT(window.Chart()->YMaximum(), 9.0);
}

TEST(MainWindow, MayBeClosedWhileARecordingIsLoaded)
{
    Player window;
    const auto file = window.folder.Write("long.rec", linesOf(4000000, "15.11.2026 12:00:00,000; 1 mm; 23 C\r\n"));
    QTimer::singleShot(0, window.window.get(), [&] { window.window->close(); });
    window.Play(file);
    EXPECT_FALSE(window.window->isVisible());
    EXPECT_GT(window.Chart()->Series().Added(), 0U);
    EXPECT_LT(window.Chart()->Series().Added(), 4000000U) << "it gives up";
}

/// Answers an export's questions: the name of the file, and whether to replace it.
struct Answers : QTimer {
    QStringList files;

    explicit Answers(QStringList names) : files(std::move(names))
    {
        callOnTimeout(this, &Answers::answer);
        start(10);
    }
    void answer()
    {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            box->button(QMessageBox::Yes)->click();
        } else if (auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
                   dialog != nullptr && !files.isEmpty()) {
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText(files.takeFirst());
            // Not from here: this must go on while the dialog asks whether to replace the file.
            QTimer::singleShot(0, dialog->findChild<QDialogButtonBox*>()->buttons().constFirst(),
                               &QAbstractButton::click);
        }
    }
};

TEST(Export, NeverReplacesARecordingThatRuns)
{
    const MainDesk main;
    main.session->StartRecording();
    const std::string recording = main.Find<QLabel>("sbar_2")->toolTip().toStdString();
    const auto hard = main.folder.path / "hard.png", soft = main.folder.path / "soft.csv";
    const auto other = main.folder.Write("x.rec", "15.11.2026 12:00:00,000; 1000 mm; 21 C\r\n");
    std::filesystem::create_hard_link(recording, hard);
    std::filesystem::create_symlink(recording, soft);
    const auto said = [&](const char* action, const QStringList& files) {
        const Answers answers(files);
        main.Trigger(action);
        return main.Text("sbar_1");
    };
    const char* const refusal = " cannot be saved: The file is being recorded, or is open for playback.";
    const auto name = [](const std::filesystem::path& path) { return QString::fromStdString(path); };
    EXPECT_EQ(said("mnuFileExportChart", {name(hard)}), hard.string() + refusal);
    EXPECT_EQ(said("mnuFileExport", {name(other), name(soft)}), soft.string() + refusal);
    EXPECT_TRUE(std::filesystem::equivalent(recording, hard));
}

TEST(Export, OffersTheSpreadsheetOfTheProgramsLanguageFirst)
{
    Bench bench;
    bench.recorder.FileName = bench.folder.Write("x.rec", "15.11.2026 12:00:00,250; 1000 mm; 21 C\r\n");
    QTimer user; // accepts what the dialogs propose: the recording, then a table of the first kind
    QObject::connect(&user, &QTimer::timeout, [] {
        if (auto* asking = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
            QMetaObject::invokeMethod(asking, asking->inherits("QFileDialog") ? "accept" : "reject");
        }
    });
    user.start(50);
    for (const auto& [language, row] : {std::pair(LanguageGerman, "2026-11-15T12:00:00,250;1000"),
                                        {LanguageEnglish, "2026-11-15T12:00:00.250,1000"}}) {
        std::filesystem::remove(bench.folder.path / "x.csv");
        ExportRecording(bench.owner, bench.recorder, language);
        const std::string table = TemporaryFolder::Read(bench.folder.path / "x.csv");
        EXPECT_EQ(table.substr(0, 3), "\xEF\xBB\xBF") << language;
        EXPECT_NE(table.find(row), std::string::npos) << table;
    }
}

TEST(Export, WritesPicturesAndTablesWholeOrNotAtAll)
{
    Player window;
    window.window->resize(900, 600);
    const auto file =
        window.folder.Write("x.rec", "15.11.2026 12:00:00,000; 1000 mm; 21 C\r\n15.11.2026 12:02:00,000; 5 mm; 2 C");
    window.Play(file);
    const QString folder = QString::fromStdString(window.folder.path);
    for (const char* kind : {"png", "svg", "pdf"}) { // the crash tests check how the files begin and end
        EXPECT_EQ(WritePicture(*window.Chart(), folder + "/chart." + kind, kind), "") << kind;
    }
    const QImage picture = QImage(folder + "/chart.png").convertToFormat(QImage::Format_RGB32);
    const auto* pixels = reinterpret_cast<const QRgb*>(picture.constBits());
    EXPECT_GT(std::count(pixels, pixels + picture.width() * picture.height(), qRgb(0x0A, 0x5A, 0xC8)), 1000)
        << "the line from the first point to the last";

    const auto table = [&](const std::filesystem::path& from, const QString& to) {
        return WriteTable(*window.window, QString::fromStdString(from), to, {}, LanguageEnglish).toStdString();
    };
    EXPECT_EQ(table(file, folder + "/x.csv"), "Lines exported: 2, unreadable ones left out: 0");
    EXPECT_EQ(TemporaryFolder::Read((folder + "/x.csv").toStdString()).substr(0, 45),
              "Time,Distance [mm],Status,Temperature [\xC2\xB0\x43]\r\n");
    const auto missing = window.folder.path / "none.rec", empty = window.folder.Write("empty.rec", "no line\n");
    EXPECT_EQ(table(missing, folder + "/y.csv"), missing.string() + " cannot be read: File or folder is missing.");
    EXPECT_EQ(table(empty, folder + "/y.csv"), empty.string() + " holds no line that can be read.");
    const std::string bytes = TemporaryFolder::Read(file);
    EXPECT_EQ(table(file, folder + "/x.rec"), file.string() + " cannot be saved: That is the recording itself.");
    EXPECT_EQ(TemporaryFolder::Read(file), bytes) << "a table never replaces its recording";
    EXPECT_NE(WritePicture(*window.Chart(), folder + "/none/y.png", "png"), "");
    for (const auto& entry : std::filesystem::directory_iterator(window.folder.path)) {
        EXPECT_NE(entry.path().filename().string().front(), 'y') << "a failed export leaves nothing";
    }
}

} // namespace
