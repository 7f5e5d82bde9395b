// The comparison, offscreen: with files alone, and with the simulated sensor on a real line.
#include "ui/settings/frmCompare.h"

#include "base/modAPI.h"
#include "base/modFiles.h"
#include "session/clsTransfer.h"
#include "session/clsWriteKeeper.h"
#include "store/modBackup.h"
#include "store/modConfigFile.h"
#include "tests/support/Desk.h"
#include "tests/support/OpenRVQ.h"
#include "tests/support/SensorOnLine.h"
#include "ui/settings/frmRVQ.h"

#include <QClipboard>
#include <QLineEdit>
#include <QTableView>

#include <gtest/gtest.h>

namespace {

using Kind = frmCompare::SetKind;

struct Comparison {
    TemporaryFolder folder;
    modGlobals::Settings settings{.Language = LanguageEnglish};
    Help help{settings, folder.path};
    clsConfigLibrary library{folder.path / "RVQ.ini"};
    clsWriteKeeper writes;
    std::string fileAnswer, sheet;
    std::unique_ptr<frmCompare> window;

    void Open(frmCompare::Context context)
    {
        context.programFolder = folder.path;
        window = std::make_unique<frmCompare>(nullptr, context);
        window->Boxes.FileToLoad = window->Boxes.FileToSave = [this](const std::string&) { return fileAnswer; };
        window->Boxes.OpenSheet = [this](const std::string& file) { sheet = file; };
        window->show();
        QApplication::processEvents();
    }
    template <typename Widget = QPushButton>
    Widget* Find(const char* name) const
    {
        return FindIn<Widget>(*window, name);
    }
    std::string File(const char* name, const ParameterSet& set) const
    {
        Configuration file{
            .Parameters = set, .Identity = {}, .Description = "x", .Name = {}, .FileName = folder.path / name};
        EXPECT_TRUE(modConfigFile::Write(file));
        return file.FileName;
    }
    /// Chooses the last line of a list, "Another file".
    void ChooseFile(const char* list, const std::string& file)
    {
        fileAnswer = file;
        auto* box = Find<QComboBox>(list);
        Choose(*box, box->count() - 1);
    }
    /// The shown rows: "[x] " or "[ ] " where there is a tick, code, left, right.
    std::string Rows() const
    {
        std::string rows;
        const QAbstractItemModel& model = *Find<QTableView>("tblCompare")->model();
        for (int i = 0; i < model.rowCount(); ++i) {
            const auto cell = [&](int column) { return model.index(i, column).data().toString().toStdString(); };
            if (!cell(CompareModel::ColumnCode).empty()) {
                const QVariant tick = model.index(i, CompareModel::ColumnTick).data(Qt::CheckStateRole);
                rows += !tick.isValid() ? "" : tick == Qt::Checked ? "[x] " : "[ ] ";
                rows += cell(CompareModel::ColumnCode) + " " + cell(CompareModel::ColumnLeft) + " " +
                        cell(CompareModel::ColumnRight) + "; ";
            }
        }
        return rows;
    }
    std::string Told() const
    {
        return Find<QLabel>("lblStatus")->isVisible() ? Find<QLabel>("lblStatus")->text().toStdString() : "";
    }
    std::string Summary() const { return Find<QLabel>("lblSummary")->text().toStdString(); }
    std::string Choices() const
    {
        return (Find<QComboBox>("cmbLeft")->currentText() + u'|' + Find<QComboBox>("cmbRight")->currentText())
            .toStdString();
    }
};

TEST(CompareWindow, PutsTwoFilesSideBySideWithoutASensor)
{
    Comparison on;
    ParameterSet a, b;
    a.RainFilter = b.RainFilter = 0;
    a.Temperature = 215;
    b.OutputMode = 2;
    b.NodeAddress = -1;
    on.Open({.settings = on.settings, .help = on.help});
    EXPECT_EQ(on.Choices(), "Factory defaults|Factory defaults");
    EXPECT_EQ(on.Summary(), "0 of 27 differ");
    on.ChooseFile("cmbLeft", on.File("a.rvq", a));
    on.ChooseFile("cmbRight", on.File("b.rvq", b));
    EXPECT_EQ(on.Choices(), "a.rvq|b.rvq");
    EXPECT_EQ(on.Rows(), "603 Continuous ≠ On Request; 801 21.5 ≠ 20.0; ");
    EXPECT_EQ(on.Summary(), "2 of 28 differ");
    EXPECT_FALSE(on.Find("cmdSendChosen")->isVisible());
    EXPECT_TRUE(on.Find<QTableView>("tblCompare")->isColumnHidden(CompareModel::ColumnTick));

    for (const char* broken : {"missing.rvq", "garbage.rvq", "."}) {
        on.folder.Write("garbage.rvq", std::string("\0\xFF[RVQ\r\nOffset=", 14));
        on.ChooseFile("cmbRight", on.folder.path / broken);
        EXPECT_EQ(on.Told(), (on.folder.path / broken).string() + " is no configuration or cannot be read.");
        EXPECT_EQ(on.Choices(), "a.rvq|b.rvq") << broken;
    }
    on.ChooseFile("cmbRight", ""); // cancelled
    EXPECT_EQ(on.Told(), "");
    EXPECT_EQ(on.Choices(), "a.rvq|b.rvq");
    ParameterSet profibus;
    profibus.NodeAddress = 7;
    on.ChooseFile("cmbRight", on.File("p.rvq", profibus));
    EXPECT_NE(on.Rows().find("610 – ≠ 7; "), std::string::npos);
    EXPECT_NE(on.Rows().find("501 10000 ≠ –; "), std::string::npos);

    on.ChooseFile("cmbRight", on.File("<i>.rvq", b));
    const auto* box = on.Find<QComboBox>("cmbRight");
    for (const QVariant& toolTip : {box->itemData(box->currentIndex(), Qt::ToolTipRole), QVariant(box->toolTip()),
                                    on.Find<QTableView>("tblCompare")
                                        ->model()
                                        ->headerData(CompareModel::ColumnRight, Qt::Horizontal, Qt::ToolTipRole)}) {
        EXPECT_TRUE(toolTip.toString().contains("&lt;i&gt;.rvq")) << "no tag: " << qPrintable(toolTip.toString());
    }
}

TEST(CompareWindow, OffersTheBackupsOfEverySensorAsTheyCome)
{
    Comparison on;
    OpenRVQ device;
    device.Identity().SerialNo = "12";
    on.writes.Keep({.backups = on.folder.path / "BACKUP"});
    const auto backUp = [&](const char* serialNo, int minute) {
        Configuration set;
        set.Identity.SerialNo = serialNo;
        set.Description = "x";
        std::error_code why;
        EXPECT_TRUE(
            modBackup::Save(set, on.writes.Kept().backups, modAPI::DateTimeOf({2026, 11, 22, 14, minute, 5, 0}), why));
    };
    backUp("11", 1);
    on.Open({.settings = on.settings, .help = on.help, .device = &device, .writes = &on.writes});
    on.ChooseFile("cmbLeft", on.File("a.rvq", {}));
    auto* list = on.Find<QComboBox>("cmbRight");
    Choose(*list, list->findText("Backup 11, 2026-11-22 14:01:05"));
    backUp("12", 2);
    PressKey(*list, Qt::Key_Shift); // before it opens
    EXPECT_EQ(on.Choices(), "a.rvq|Backup 11, 2026-11-22 14:01:05");
    QStringList backups;
    for (int i = 0; i < list->count(); ++i) {
        backups += list->itemText(i);
    }
    EXPECT_EQ(backups.filter("Backup"), (QStringList{"Backup 2026-11-22 14:02:05", "Backup 11, 2026-11-22 14:01:05"}));
    EXPECT_EQ(backups.last(), "Another file …");
    device.Identity().SerialNo = "11";
    on.window->FollowDevice();
    EXPECT_EQ(on.Choices(), "a.rvq|Backup 2026-11-22 14:01:05");
}

TEST(CompareWindow, FindsANameInEitherLanguageACodeAndAKey)
{
    Comparison on;
    on.Open({.settings = on.settings, .help = on.help});
    on.Find<QCheckBox>("chkOnlyDifferences")->click();
    auto* search = on.Find<QLineEdit>("txtSearch");
    for (const auto& [searched, found] : {std::pair("luftdruck", "802 1013 1013; "),
                                          {" air pressure ", "802 1013 1013; "},
                                          {"802", "802 1013 1013; "},
                                          {"AIRPRESS", "802 1013 1013; "},
                                          {"no such", ""}}) {
        search->setText(searched);
        EXPECT_EQ(on.Rows(), found) << searched;
    }
}

TEST(CompareWindow, CopiesPrintsAndSavesWhatItShows)
{
    Comparison on;
    ParameterSet set;
    set.Temperature = -5;
    set.Offset = 3;
    on.Open({.settings = on.settings, .help = on.help, .states = {{"be\tfore, \"x\"", set}}});
    ASSERT_TRUE(on.window->Choose(Kind::Factory, Kind::State));
    on.Find<QLineEdit>("txtSearch")->setText("801");
    on.Find("cmdCopy")->click();
    EXPECT_EQ(QApplication::clipboard()->text().remove(u'\r').toStdString(),
              "Parameter\tCode\tUnit\tFactory defaults\tbe fore, \"x\"\tFactory\n"
              "Air Temperature\t801\t°C\t20.0\t-0.5\t20.0\n");
    on.fileAnswer = on.folder.path / "t.csv";
    on.Find("cmdSave")->click();
    EXPECT_EQ(modFiles::ReadWhole(on.fileAnswer),
              "Group,Parameter,Code,Unit,Factory defaults,\"be\tfore, \"\"x\"\"\",Factory\r\n"
              "Correction,Air Temperature,801,°C,20.0,-0.5,20.0\r\n");
    on.fileAnswer = on.folder.path / "missing" / "t.csv";
    on.Find("cmdSave")->click();
    EXPECT_EQ(on.Told(), on.fileAnswer + " cannot be written: File or folder is missing.");
    on.Find("cmdPrint")->click();
    const std::string sheet = modFiles::ReadWhole(on.sheet).value_or("");
    EXPECT_NE(sheet.find("*  Air Temperature  801   \xB0\x43"), std::string::npos) << sheet;
    EXPECT_EQ(sheet.find("701"), std::string::npos) << "not shown";
}

/// The sensor on the left, and what a settings window would hold on the right.
struct Sending : Comparison {
    SensorOnLine line;
    frmCompare::EditedSet edited;
    std::string sent;
    ParameterSet target;
    std::function<void()> meanwhile = [] {};
    int cancelled = 0;
    std::optional<modRVQComm::WaitScope> wait;

    explicit Sending(const simulator::SensorOptions& options = {}) : line(options)
    {
        EXPECT_TRUE(line.Configured());
        edited.set = line.device.Parameters();
        edited.set.Offset = 12;
        edited.set.TimeOut = 3;
        edited.set.S2OnThreshold = 5000;
        edited.refused = {&RowOf(&ParameterSet::AirPressure)};
        edited.set.DistanceLimit += 1;
        Open({.settings = settings,
              .help = help,
              .device = &line.device,
              .library = &library,
              .window = [this] { return edited; },
              .writes = &writes,
              .send =
                  [this](const ParameterSet& values, const std::vector<std::string>& codes) {
                      target = values;
                      for (const std::string& code : codes) {
                          sent += code + " ";
                      }
                      meanwhile();
                  },
              .cancel = [this] { ++cancelled; }});
    }
    void Note(ValueOutcome offset, WriteResult result)
    {
        WriteReport report;
        report.time = 1.0;
        report.result = result;
        report.values = {{&RowOf(&ParameterSet::Offset), 0, 12, 12, offset},
                         {&RowOf(&ParameterSet::TimeOut), 1, 3, 1, ValueOutcome::NotSent}};
        window->ShowReport(report);
    }
};

TEST(CompareWindow, SendsExactlyWhatIsTicked)
{
    Sending on;
    ASSERT_TRUE(on.window->Review(Kind::Window));
    EXPECT_EQ(on.Told(), "");
    EXPECT_EQ(on.Rows(), "[x] 302 25 ≠ 100; [x] 701 0 ≠ 12; 802 1013 ≠ not valid; [x] 504 1000 ≠ 5000; "
                         "354 1000 ≠ 1001; ");
    auto* table = on.Find<QTableView>("tblCompare");
    const auto toolTipOf = [&](const QString& code) {
        const auto found =
            table->model()->match(table->model()->index(0, CompareModel::ColumnCode), Qt::DisplayRole, code);
        return found.value(0).data(Qt::ToolTipRole).toString();
    };
    EXPECT_TRUE(toolTipOf("802").contains("number in the settings window is not valid"));
    EXPECT_TRUE(toolTipOf("354").contains("the parameter cannot be edited"));
    EXPECT_TRUE(toolTipOf("701").isEmpty());
    EXPECT_EQ(on.Find("cmdSendChosen")->text().toStdString(), "&Send 3 Values");

    PressKey(*table, Qt::Key_Space); // the first row
    EXPECT_EQ(on.Find("cmdSendChosen")->text().toStdString(), "&Send 2 Values");
    for (const char* place : {"txtSearch", "cmbLeft", "cmbRight", "chkOnlyDifferences"}) {
        PressKey(*on.Find<QWidget>(place), Qt::Key_Return);
    }
    EXPECT_EQ(on.sent, "") << "Enter means something else there";
    PressKey(*table, Qt::Key_Return);
    EXPECT_EQ(on.sent, "504 701 ");
    EXPECT_EQ(on.target.S2OnThreshold, 5000);

    table->selectAll();
    PressKey(*table, Qt::Key_Space);
    EXPECT_EQ(on.Find("cmdSendChosen")->text().toStdString(), "&Send 3 Values") << "one was not ticked: now all are";
    PressKey(*table, Qt::Key_Space);
    EXPECT_FALSE(on.Find("cmdSendChosen")->isEnabled());
}

TEST(CompareWindow, SendsNothingAtTheWrongMomentAndSaysWhy)
{
    struct Row {
        const char* told;
        std::function<void(Sending&)> spoil;
    };
    for (const Row& row :
         {Row{"No connection to sensor",
              [](Sending& on) {
                  on.line.Unplug();
                  EXPECT_TRUE(on.line.Until([&] { return on.line.device.CommStatus() == DialogueNone; }));
              }},
          Row{"Another sensor is connected now. Nothing is sent; choose the sensor on the left again.",
              [](Sending& on) {
                  on.line.sensor.SetSerialNo("4712");
                  on.line.Unplug();
                  EXPECT_TRUE(on.line.Until([&] { return on.line.device.CommStatus() == DialogueNone; }));
                  on.line.Replug();
                  EXPECT_TRUE(on.line.Until([&] { return on.line.device.Identity().SerialNo == "4712"; }));
              }},
          Row{"Nothing sent: the sensor is busy. Try again in a moment.",
              [](Sending& on) { on.wait.emplace(on.line.device); }},
          Row{"Nothing sent: the search has hidden ticked values (2). Check them, then send.",
              [](Sending& on) { on.Find<QLineEdit>("txtSearch")->setText("701"); }},
          Row{"Nothing sent: OFF-Threshold Q1 would be too close to its partner. Tick both.", [](Sending& on) {
                  on.edited.set.S1OnThreshold = 9905; // the sensor has 9900
                  on.edited.set.S1OffThreshold = 9805;
                  ASSERT_TRUE(on.window->Review(Kind::Window));
                  auto* table = on.Find<QTableView>("tblCompare");
                  const QModelIndex start = table->model()->index(0, CompareModel::ColumnCode);
                  table->selectRow(table->model()->match(start, Qt::DisplayRole, "502").value(0).row());
                  PressKey(*table, Qt::Key_Space);
              }}}) {
        Sending on;
        ASSERT_TRUE(on.window->Review(Kind::Window));
        row.spoil(on);
        on.Find("cmdSendChosen")->click();
        EXPECT_EQ(on.sent, "") << row.told;
        EXPECT_EQ(on.Told(), row.told);
    }
}

TEST(CompareWindow, AnotherSensorIsSentToOnceItIsChosen)
{
    Sending on;
    ASSERT_TRUE(on.window->Review(Kind::Window));
    on.line.sensor.SetSerialNo("4712");
    on.line.Unplug();
    EXPECT_TRUE(on.line.Until([&] { return on.line.device.CommStatus() == DialogueNone; }));
    on.window->FollowDevice();
    EXPECT_FALSE(on.window->Choose(Kind::Sensor, Kind::Window)) << "no connection";
    on.line.Replug();
    EXPECT_TRUE(on.line.Until([&] { return on.line.device.Identity().SerialNo == "4712"; }));
    on.window->FollowDevice();
    auto* list = on.Find<QComboBox>("cmbLeft");
    Choose(*list, list->findText("Sensor"));
    EXPECT_EQ(on.Find("cmdSendChosen")->text().toStdString(), "&Send 0 Values") << "chosen for the other one";
    on.Find<QTableView>("tblCompare")->selectAll();
    PressKey(*on.Find<QTableView>("tblCompare"), Qt::Key_Space);
    on.Find("cmdSendChosen")->click();
    EXPECT_EQ(on.sent, "302 504 701 ");
}

TEST(CompareWindow, ClosesAfterAVerifiedSendAndElseKeepsTheUnsentTicked)
{
    Sending on;
    ASSERT_TRUE(on.window->Review(Kind::Window));
    on.meanwhile = [&] {
        EXPECT_TRUE(on.Find("cmdCancel")->isVisible());
        EXPECT_FALSE(on.Find("cmdSendChosen")->isEnabled());
        on.window->ShowProgress({1, 3, TextId::LabelOffset});
        on.Find("cmdCancel")->click();
        on.Note(ValueOutcome::Ignored, WriteResult::Failed);
    };
    on.Find("cmdSendChosen")->click();
    EXPECT_EQ(on.cancelled, 1);
    EXPECT_TRUE(on.window->isVisible());
    EXPECT_TRUE(on.Find<QLabel>("lblReport")->isVisible());
    EXPECT_EQ(on.Find("cmdSendChosen")->text().toStdString(), "&Send 2 Values") << on.Rows();
    EXPECT_NE(on.Rows().find("[ ] 701"), std::string::npos) << "sent, though in vain";

    on.meanwhile = [&] {
        WriteReport nothing{.frames = 1, .reason = TextId::TransferNoBackup};
        nothing.values = {{&RowOf(&ParameterSet::TimeOut), 1, 3}};
        on.window->ShowReport(nothing);
    };
    on.Find("cmdSendChosen")->click();
    EXPECT_EQ(on.Find<QLabel>("lblReport")->text().toStdString(),
              "Nothing sent: The values could not be backed up.\nTimeOut (302) = 100 % was not sent.");

    on.meanwhile = [&] { on.window->ShowReport({.result = WriteResult::Verified}); };
    on.Find("cmdSendChosen")->click();
    EXPECT_FALSE(on.window->isVisible());
}

TEST(CompareWindow, ClosingItWhileItSendsCancelsFirst)
{
    Sending on;
    ASSERT_TRUE(on.window->Review(Kind::Window));
    on.meanwhile = [&] {
        PressKey(*on.window, Qt::Key_Escape);
        EXPECT_FALSE(CloseByFrame(*on.window));
        EXPECT_TRUE(on.window->isVisible());
        EXPECT_GE(on.cancelled, 1);
    };
    on.Find("cmdSendChosen")->click();
    EXPECT_FALSE(on.window->isVisible());
}

TEST(CompareWindow, SettingsWindowReviewsItsEditsAndOnlyThem)
{
    Sending on;
    frmRVQ settings(nullptr, {.device = on.line.device,
                              .library = on.library,
                              .settings = on.settings,
                              .help = on.help,
                              .programFolder = on.folder.path,
                              .pumpEvents = [&] { on.line.Tick(); },
                              .writes = &on.writes});
    settings.show();
    QApplication::processEvents();
    FindIn(settings, "cmdReview")->click();
    EXPECT_EQ(settings.findChild<frmCompare*>(), nullptr);
    EXPECT_EQ(FindIn<QLabel>(settings, "lblStatus")->text(), "No changes: the sensor has these values already");
    FindIn<QLineEdit>(settings, "txtParameter_0")->setText("44");
    FindIn<QLineEdit>(settings, "txtParameter_3")->setText("5000"); // refused, and left as it is
    FindIn(settings, "cmdReview")->click();
    auto* review = settings.findChild<frmCompare*>();
    ASSERT_NE(review, nullptr);
    EXPECT_TRUE(review->isVisible());
    EXPECT_EQ(review->Differing(), 2);
    EXPECT_EQ(FindIn(*review, "cmdSendChosen")->text().toStdString(), "&Send 1 Value");
    EXPECT_EQ(FindIn<QLineEdit>(settings, "txtParameter_3")->text(), "5000");
    PressKey(*review, Qt::Key_Escape);
    EXPECT_FALSE(review->isVisible());
    EXPECT_TRUE(settings.isVisible());
}

} // namespace
