// The View menu and the tool bar of the main window, the left column, and what can be dropped on the window or taken
// along from it.
#include "tests/support/Desk.h"
#include "tests/support/FullDisk.h"
#include "ui/chart/ChartPanel.h"
#include "ui/main/Icons.h"
#include "ui/main/ToolBar.h"
#include "ui/recorder/Export.h"
#include "ui/recorder/ExportPicture.h"
#include "ui/recorder/frmRecorder.h"

#include <QApplication>
#include <QClipboard>
#include <QDialog>
#include <QDropEvent>
#include <QImage>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QRadioButton>
#include <QToolButton>

#include <gtest/gtest.h>

namespace {

/// A desk that measures, with its window in front.
struct ViewDesk : MainDesk {
    ChartPanel* chart = Find<ChartPanel>("picGraph");

    void Measure() const
    {
        ASSERT_TRUE(Connects());
        Find("cmdStart")->click();
        ASSERT_TRUE(Until([&] { return Find<QAction>("mnuViewFreeze")->isEnabled(); }));
    }
    void Activate() const
    {
        window->activateWindow();
        ASSERT_TRUE(Until([&] { return window->isActiveWindow(); }));
    }
    void Drop(const QList<QUrl>& files) const
    {
        QMimeData data;
        data.setUrls(files);
        QDragEnterEvent enter(QPoint(), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(window.get(), &enter);
        QDropEvent drop(QPointF(), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(window.get(), &drop);
        QApplication::processEvents();
    }
    QUrl Recording(const char* name) const
    {
        return QUrl::fromLocalFile(QString::fromStdString(folder.Write(
            name, "20.11.2026 14:03:00,000; 1000 mm; 21 C\r\n20.11.2026 14:05:00,000; 5000 mm; 22 C\r\n")));
    }
};

TEST(View, EachCommandIsEnabledWhenItCanAct)
{
    const ViewDesk main;
    const char* const ofTheCurve[] = {"mnuViewFreeze", "mnuViewFit",       "mnuViewCursorA",      "mnuViewCursorB",
                                      "mnuViewMark",   "mnuFileCopyChart", "mnuFileExportVisible"};
    for (const char* action : ofTheCurve) {
        EXPECT_FALSE(main.Find<QAction>(action)->isEnabled()) << action << " without a value";
    }
    EXPECT_FALSE(main.Find<QAction>("mnuViewBack")->isEnabled());
    EXPECT_FALSE(main.Find<QAction>("tlbStart")->isEnabled()) << "like the button in the column";
    main.Measure();
    for (const char* action : ofTheCurve) {
        EXPECT_TRUE(Until([&] { return main.Find<QAction>(action)->isEnabled(); })) << action;
    }
    EXPECT_EQ(main.Find<QAction>("tlbStart")->text(), "Stop");
    EXPECT_FALSE(main.Find<QAction>("tlbSingle")->isEnabled());
    main.Trigger("tlbStart");
    EXPECT_EQ(main.Find("cmdStart")->text(), "Start");
}

TEST(View, ARecordingWithoutADistanceSaysWhyThereIsNoCursor)
{
    const ViewDesk main;
    main.session->Play(main.folder.Write("noecho.rec", "20.11.2026 14:03:00,000; No Echo; 21 C\r\n"
                                                       "20.11.2026 14:05:00,000; No Echo; 22 C\r\n"),
                       [](double) { return true; });
    main.Trigger("mnuViewCursorA");
    EXPECT_FALSE(main.Find<QAction>("mnuViewCursorA")->isChecked());
    EXPECT_EQ(main.Text("sbar_1"), "There is no value in the visible range.");
}

TEST(View, ALetterGoesToAListOrABoxThatHasTheFocusAndToTheMenuOtherwise)
{
    const ViewDesk main;
    main.Measure();
    main.Activate();
    auto* list = main.Find<QComboBox>("cmbComPort");
    QLineEdit box(main.window->centralWidget());
    box.show();
    for (QWidget* control : std::initializer_list<QWidget*>{list, &box}) {
        control->setFocus();
        QTest::keyClick(control, Qt::Key_P);
        EXPECT_FALSE(main.chart->IsFrozen()) << control->metaObject()->className();
        list->hidePopup(); // a letter begins a search in the list
    }
    EXPECT_EQ(box.text().toLower(), "p");
    for (QWidget* control : std::initializer_list<QWidget*>{main.chart, main.Find("cmdStart")}) {
        control->setFocus();
        QTest::keyClick(control, Qt::Key_P);
        EXPECT_TRUE(main.chart->IsFrozen()) << control->metaObject()->className();
        EXPECT_TRUE(main.Find<QAction>("mnuViewFreeze")->isChecked());
        QTest::keyClick(control, Qt::Key_P);
        EXPECT_FALSE(main.chart->IsFrozen());
    }
}

TEST(View, TheLeftColumnFoldsAwayAndItsKeysGoOn)
{
    ViewDesk main;
    main.settings.IniFile = main.folder.path / "RVQ.ini";
    main.Open();
    ASSERT_TRUE(main.Connects());
    main.Activate();
    const int width = main.Find<QWidget>("picGraph")->width();
    const auto* column = main.Find<QWidget>("scrLeft");
    main.Find<QToolButton>("cmdPanel")->click();
    EXPECT_FALSE(column->isVisible());
    EXPECT_TRUE(Until([&] { return main.Find<QWidget>("picGraph")->width() > width; })) << "the chart gets the room";
    QTest::keyClick(main.window.get(), Qt::Key_F5);
    EXPECT_TRUE(Until([&] { return main.Find("cmdStart")->text() == "Stop"; })) << "a hidden button takes no key";
    main.Open();
    EXPECT_FALSE(main.Find<QWidget>("scrLeft")->isVisible()) << "remembered";
    ASSERT_TRUE(main.Connects());
    main.Activate();
    QTest::keyClick(main.window.get(), Qt::Key_F12);
    EXPECT_TRUE(main.Find<QWidget>("scrLeft")->isVisible());
    QTest::keyClick(main.window.get(), Qt::Key_F5);
    EXPECT_TRUE(Until([&] { return main.Find("cmdStart")->text() == "Stop"; }));
    main.window.reset();
}

TEST(View, TheNumberGrowsWithTheWindow)
{
    const ViewDesk main;
    const auto size = [&] { return QFontInfo(main.Find<QLabel>("lblMeasValue")->font()).pixelSize(); };
    main.window->resize(800, 600);
    const int usual = size();
    main.window->resize(1920, 600);
    EXPECT_EQ(size(), usual) << "a wide but low window has no room for it";
    main.window->resize(1920, 1080);
    EXPECT_GT(size(), usual * 3 / 2);
    QApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    EXPECT_LT(main.Find<QWidget>("scrLeft")->width(), 1920 / 3) << "the chart keeps the most";
    main.window->resize(800, 600);
    EXPECT_EQ(size(), usual);
}

TEST(View, TheToolBarRecordsByTheRulesOfTheRecorder)
{
    const ViewDesk main;
    const auto* record = main.Find<QAction>("tlbRecord");
    main.Trigger("tlbRecord");
    EXPECT_EQ(main.session->Recorder().Mode, RecorderRecording);
    EXPECT_TRUE(record->isChecked());
    EXPECT_TRUE(main.session->Recorder().FileName.ends_with("SAVE0001.rec"));
    main.Trigger("tlbRecord");
    EXPECT_EQ(main.session->Recorder().Mode, RecorderIdle);
    EXPECT_FALSE(record->isChecked());

    main.Trigger("mnuRecorder");
    auto* recorder = main.window->findChild<frmRecorder*>();
    FindIn<QLineEdit>(*recorder, "txtName")->setText("bridge");
    main.Trigger("tlbRecord");
    EXPECT_TRUE(main.session->Recorder().FileName.ends_with("bridge.rec")) << "the name in the recorder's window";
    EXPECT_TRUE(FindIn(*recorder, "cmdStop")->isEnabled());
    main.Trigger("tlbRecord");
    EXPECT_EQ(main.session->Recorder().Mode, RecorderIdle);
    recorder->close();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

    std::filesystem::remove_all(main.folder.path / "REC");
    main.folder.Write("REC", "a file where the folder should be");
    main.Trigger("tlbRecord");
    EXPECT_TRUE(main.Text("sbar_1").starts_with("No recording: ")) << main.Text("sbar_1");
    EXPECT_FALSE(record->isChecked());
}

TEST(View, TheToolBarShowsWordsWhereTheyFitAndItsFirstButtonsInASmallWindow)
{
    const ViewDesk main;
    auto* bar = main.Find<ToolBar>("tlbMain");
    for (const std::int32_t language : {LanguageEnglish, LanguageGerman}) {
        main.window->resize(800, 600);
        for (const char* first : {"tlbStart", "tlbSingle", "tlbRecord", "mnuViewFreeze", "mnuViewFit"}) {
            EXPECT_TRUE(bar->widgetForAction(main.Find<QAction>(first))->isVisible()) << first << language;
        }
        main.window->resize(1920, 1080);
        QApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        for (const QAction* action : bar->actions()) {
            const auto* button = qobject_cast<QToolButton*>(bar->widgetForAction(const_cast<QAction*>(action)));
            if (button != nullptr) {
                EXPECT_GE(button->width(), button->sizeHint().width()) << qPrintable(action->objectName());
                EXPECT_TRUE(action->toolTip().contains(u'(')) << "its key: " << qPrintable(action->toolTip());
            }
        }
        EXPECT_EQ(bar->toolButtonStyle(), Qt::ToolButtonTextBesideIcon);
        main.Trigger("mnuOptionLanguageDEEN");
    }
}

TEST(View, TheDrawnIconsAreSeenInEveryPaletteAndSharp)
{
    struct UsualPalette {
        const QPalette usual = QApplication::palette();
        ~UsualPalette() { QApplication::setPalette(usual); }
    } const restored;
    for (const QColor& ground : {QColor(Qt::white), QColor(Qt::black), QColor(45, 48, 52)}) {
        QApplication::setPalette(QPalette(ground));
        const QColor window = QApplication::palette().color(QPalette::Window);
        for (int i = 0; i <= static_cast<int>(Symbol::Export); ++i) {
            const QImage picture = DrawnIconOf(static_cast<Symbol>(i)).pixmap(QSize(16, 16), 2.0).toImage();
            ASSERT_EQ(picture.width(), 32) << i;
            int seen = 0;
            for (int y = 0; y < picture.height(); ++y) {
                for (int x = 0; x < picture.width(); ++x) {
                    const QColor pixel = picture.pixelColor(x, y);
                    seen += pixel.alpha() > 200 && std::abs(pixel.lightness() - window.lightness()) > 60 ? 1 : 0;
                }
            }
            EXPECT_GT(seen, 40) << "symbol " << i << " on " << window.name().toStdString();
        }
    }
}

TEST(View, ADroppedRecordingIsPlayedAndAnythingElseRefused)
{
    const ViewDesk main;
    ASSERT_TRUE(main.Connects());
    const auto said = [&](const QList<QUrl>& files) {
        main.Drop(files);
        return main.Text("sbar_1");
    };
    const QUrl recording = main.Recording("a.rec"), table = main.Recording("b.csv");
    EXPECT_EQ(said({recording, table}), "Not loaded: b.csv is no recording (*.rec).");
    EXPECT_EQ(said({QUrl("http://example.org/a.rec")}), "Not loaded: that is no file on this computer.");
    EXPECT_EQ(main.Text("lblMeasValue"), "");
    main.Drop({recording});
    EXPECT_EQ(main.Text("lblMeasValue"), "5.000 m");
    main.Find("cmdStart")->click();
    EXPECT_EQ(said({recording}), "Not loaded: a measurement is running.");
    main.Find("cmdStart")->click();
    main.session->StartRecording();
    EXPECT_EQ(said({recording}), "Not loaded: a recording is running.");
}

TEST(View, ARecordingIsShownWithItsTimesUpToItsLargestJump)
{
    const ViewDesk main;
    ASSERT_TRUE(main.Connects());
    std::string lines;
    for (int second = 0; second < 600; ++second) {
        lines += QStringLiteral("20.11.2026 14:%1:%2,000; %3 mm; 21 C\r\n")
                     .arg(second / 60, 2, 10, QChar(u'0'))
                     .arg(second % 60, 2, 10, QChar(u'0'))
                     .arg(1000 + second % 7 + (second > 400 ? 500 : 0))
                     .toStdString();
    }
    EXPECT_TRUE(main.Find<QAction>("mnuViewSpan1min")->isChecked());
    main.Drop({QUrl::fromLocalFile(QString::fromStdString(main.folder.Write("jump.rec", lines)))});
    EXPECT_FALSE(main.Find<QAction>("mnuViewSpan1min")->isChecked()) << "it has its own span";
    EXPECT_FALSE(main.chart->NextFrame().content.ShowsIntervals()) << "ten minutes of a day, not before now";
    main.Trigger("mnuViewJump");
    EXPECT_EQ(main.Text("sbar_1"), "Largest jump of the visible range: 0.501 m at 14:06:41.000");
    EXPECT_EQ(main.Text("lblCursorTime"), "1.000 s");
    EXPECT_NEAR(main.chart->ShownRange().Length() * 86400.0, 60.0, 1e-3);
}

TEST(View, ADoubleClickOnTheValueAxisAsksForItsLimits)
{
    const ViewDesk main;
    main.Measure();
    ASSERT_TRUE(Until([&] { return !main.chart->PlotArea().isEmpty(); }));
    QTest::mouseDClick(main.chart, Qt::LeftButton, {}, QPoint(5, main.chart->height() / 2));
    const auto* settings = main.chart->window()->findChild<QDialog*>("frmChartSettings");
    ASSERT_NE(settings, nullptr);
    EXPECT_TRUE(settings->findChild<QRadioButton*>("optYScaleManual")->isChecked());
    EXPECT_TRUE(settings->findChild<QLineEdit*>("txtParameter_0")->isEnabled());
}

TEST(View, RecentRecordingsArePlayedFromTheMenuAndMissingOnesAreGreyed)
{
    ViewDesk main;
    main.settings.IniFile = main.folder.path / "RVQ.ini";
    main.Open();
    ASSERT_TRUE(main.Connects());
    auto* menu = main.Find<QMenu>("mnuFileRecent");
    const auto items = [&] {
        emit menu->aboutToShow();
        QStringList names;
        for (const QAction* item : menu->actions()) {
            names += item->isSeparator() ? QString() : (item->isEnabled() ? item->text() : "(" + item->text() + ")");
        }
        names.removeAll(QString());
        return names.join(u'|').toStdString();
    };
    EXPECT_EQ(items(), "(&Clear List)");
    main.Drop({main.Recording("a.rec")});
    main.Drop({main.Recording("b&c.rec")});
    EXPECT_EQ(items(), "b&&c.rec|a.rec|&Clear List");
    std::filesystem::remove(main.folder.path / "a.rec");
    EXPECT_EQ(items(), "b&&c.rec|(a.rec)|&Clear List");
    static_cast<SessionListener&>(*main.Find<ChartPanel>("picGraph")).ResetChart();
    menu->actions().front()->trigger();
    EXPECT_EQ(main.Find<ChartPanel>("picGraph")->Series().Added(), 2U);
    main.Trigger("mnuFileRecentClear");
    EXPECT_EQ(items(), "(&Clear List)");
    main.window.reset();
}

TEST(View, TheChartIsCopiedAsAPicture)
{
    const ViewDesk main;
    main.Measure();
    main.Activate();
    main.chart->setFocus();
    QTest::keyClick(main.chart, Qt::Key_C, Qt::ControlModifier);
    const QMimeData* copied = QApplication::clipboard()->mimeData();
    ASSERT_TRUE(copied->hasImage());
    EXPECT_EQ(qvariant_cast<QImage>(copied->imageData()).size(), main.chart->size() * 2);
}

TEST(Export, WritesTheVisibleRangeAndNothingElse)
{
    const ViewDesk main;
    ASSERT_TRUE(main.Connects());
    main.Drop({main.Recording("a.rec")});
    const PlaceRange all = main.session->Shown().Range();
    const QString folder = QString::fromStdString(main.folder.path);
    const auto write = [&](const PlaceRange& range, const QString& file) {
        return WriteVisible(*main.window, range, *main.session, file, {}, LanguageEnglish).toStdString();
    };
    EXPECT_EQ(write(all, folder + "/x.csv"), "Lines exported: 2, unreadable ones left out: 0");
    EXPECT_EQ(write({all.begin, all.begin}, folder + "/x.csv"), "Lines exported: 1, unreadable ones left out: 0");
    EXPECT_EQ(TemporaryFolder::Read(main.folder.path / "x.csv"),
              "Time,Distance [mm],Status,Temperature [\xC2\xB0\x43]\r\n2026-11-20T14:03:00.000,1000,OK,\r\n");
    EXPECT_EQ(write({all.begin + all.Length() / 3, all.begin + all.Length() / 2}, folder + "/y.csv"),
              "There is no value in the visible range.");
    EXPECT_NE(write(all, folder + "/none/y.csv").find("cannot be saved"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(main.folder.path / "y.csv"));
    {
        const FullDisk full;
        EXPECT_NE(write(all, folder + "/z.csv").find("cannot be saved"), std::string::npos);
        EXPECT_NE(write(all, folder + "/x.csv").find("cannot be saved"), std::string::npos);
        for (const char* kind : {"svg", "pdf", "png"}) {
            EXPECT_NE(WritePicture(*main.chart, folder + "/z." + kind, kind), "") << kind;
            EXPECT_FALSE(std::filesystem::exists(main.folder.path / (std::string("z.") + kind))) << kind;
        }
    }
    EXPECT_FALSE(std::filesystem::exists(main.folder.path / "z.csv"));
    EXPECT_NE(TemporaryFolder::Read(main.folder.path / "x.csv"), "") << "what was there stays";

    main.chart->ShowRange(all);
    const QString heading = HeadingOf(*main.chart, *main.session, LanguageEnglish);
    EXPECT_TRUE(heading.contains("2026-11-20 14:03:00.000 – 14:05:00.000")) << heading.toStdString();
    EXPECT_TRUE(heading.contains("Values: 2, valid: 100.0 %, minimum 1.0000 m, maximum 5.0000 m"))
        << heading.toStdString();
    const QImage plain = PictureOf(*main.chart), headed = PictureOf(*main.chart, heading);
    ASSERT_EQ(headed.width(), plain.width());
    const int below = headed.height() - plain.height();
    ASSERT_GT(below, 2 * main.chart->fontMetrics().height());
    std::int64_t different = 0;
    for (int y = 0; y < plain.height(); ++y) {
        for (int x = 0; x < plain.width(); ++x) {
            different += headed.pixel(x, y + below) != plain.pixel(x, y) ? 1 : 0;
        }
    }
    EXPECT_LT(different, plain.width()) << "the chart stands below, as it is, but for the blending of an edge";
    for (const char* kind : {"svg", "pdf", "png"}) {
        EXPECT_EQ(WritePicture(*main.chart, folder + "/v." + kind, kind, heading), "") << kind;
    }
}

} // namespace
