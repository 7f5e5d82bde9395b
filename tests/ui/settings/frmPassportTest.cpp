// The window with the passports, over files that programs have appended to.
#include "ui/settings/frmPassport.h"

#include "base/modAPI.h"
#include "session/clsWriteKeeper.h"
#include "store/modGlobals.h"
#include "tests/support/Desk.h"
#include "tests/support/FullDisk.h"
#include "tests/support/OpenRVQ.h"

#include <QPlainTextEdit>
#include <QTableView>
#include <QTimer>

#include <fstream>
#include <gtest/gtest.h>

namespace {

using modPassport::Event;

struct Bureau {
    TemporaryFolder own;
    std::filesystem::path folder = own.path / "PASSPORT";
    modGlobals::Settings settings{.Language = LanguageEnglish};
    OpenRVQ device;
    clsWriteKeeper writes;
    QWidget owner;
    std::unique_ptr<frmPassport> window;

    Bureau() { writes.Keep({.passports = folder}); }
    static modPassport::Entry Entry(Event event, int minute, std::vector<modPassport::Change> changes = {})
    {
        modPassport::Entry entry{.time = modAPI::DateTimeOf({2026, 11, 22, 14, minute, 5, 0}), .event = event};
        entry.user = "anna";
        entry.changes = std::move(changes);
        entry.result = event == Event::Identity ? "" : "verified";
        return entry;
    }
    /// Connected at 14:00, Q1 changed at 14:01, format at 14:02 without a state, Q1 again at 14:03.
    void Write()
    {
        modPassport::Entry connected = Entry(Event::Identity, 0);
        connected.identity.SerialNo = "11";
        connected.set.emplace();
        modPassport::Entry sent = Entry(Event::Send, 1, {{"501", "1000", "1200", "1200"}});
        sent.set.emplace().Offset = 77;
        for (const auto& entry : {connected, sent, Entry(Event::Single, 2, {{"101", "ASCII", "BINARY", {}}}),
                                  Entry(Event::Undo, 3, {{"501", "1200", "1000", "1010"}})}) {
            EXPECT_FALSE(modPassport::Append(folder, "11", entry));
        }
    }
    void Open()
    {
        window = std::make_unique<frmPassport>(owner, frmPassport::Context{device, writes, settings});
        window->show();
        EXPECT_TRUE(Until([&] { return !State().contains("reading"); }));
    }
    template <typename Widget = QPushButton>
    Widget* Find(const char* name) const
    {
        return FindIn<Widget>(*window, name);
    }
    QTableView* Table() const { return Find<QTableView>("tblPassport"); }
    QString State() const { return Find<QLabel>("lblState")->text(); }
    QStringList Column(int column) const
    {
        QStringList texts;
        for (int row = 0; row < Table()->model()->rowCount(); ++row) {
            texts += Table()->model()->index(row, column).data().toString();
        }
        return texts;
    }
    void Filter(const char* code) const
    {
        auto* list = Find<QComboBox>("cmbParameter");
        Choose(*list, list->findData(code));
    }
};

TEST(PassportWindow, SaysWhenAParameterHasChangedNewestFirst)
{
    Bureau bureau;
    bureau.Write();
    std::ofstream(bureau.folder / "11.jsonl", std::ios::app) << R"({"time":"2026-11-22T14)";
    bureau.Open();
    const QString last = QStringLiteral("ON-Threshold Q1 (501): 1200 → 1000 mm, read back: 1010 mm");
    EXPECT_EQ(bureau.Column(PassportModel::ColumnEvent), (QStringList{"Undone", "Single value", "Sent", "Connected"}));
    EXPECT_EQ(bureau.Column(PassportModel::ColumnChanges),
              (QStringList{last, "Data Format (101): ASCII → BINARY, not read back",
                           QStringLiteral("ON-Threshold Q1 (501): 1000 → 1200 mm"), "SN 11, Serial"}));
    EXPECT_EQ(bureau.State(), "Entries: 4. One line is unreadable.");
    const auto* parameters = bureau.Find<QComboBox>("cmbParameter");
    EXPECT_EQ(parameters->itemData(1).toString(), "101") << "those that have changed come first";
    EXPECT_EQ(parameters->itemData(2).toString(), "501");
    bureau.Filter("501");
    EXPECT_EQ(bureau.Column(PassportModel::ColumnTime), (QStringList{"22.11.2026 14:03:05", "22.11.2026 14:01:05"}));
    EXPECT_EQ(bureau.Find<QPlainTextEdit>("txtEntry")->toPlainText(),
              "22.11.2026 14:03:05, Undone, verified, anna\n    " + last);
}

TEST(PassportWindow, OffersAStateThatIsKnownAndRestoresItOnlyInItsOwnSensor)
{
    Bureau bureau;
    bureau.Write();
    bureau.Open();
    const auto usable = [&](int row) {
        bureau.Table()->selectRow(row);
        bureau.window->Follow();
        return std::pair(bureau.Find("cmdCompare")->isEnabled(), bureau.Find("cmdRestore")->isEnabled());
    };
    EXPECT_EQ(usable(2), std::pair(false, false)) << "nothing is there that could show it";
    std::vector<std::pair<std::int32_t, std::string>> states;
    const auto take = [&](const Configuration& state) {
        states.emplace_back(state.Parameters.Offset, state.Identity.SerialNo);
    };
    QString name;
    bureau.window->Compare = [&](const Configuration& state, const QString& words) {
        take(state);
        name = words;
    };
    bureau.window->Restore = take;
    EXPECT_EQ(usable(2), std::pair(true, false)) << "no sensor";
    bureau.device.CommStatus() = DialogueIdle;
    bureau.device.Identity().SerialNo = "12";
    EXPECT_EQ(usable(2), std::pair(true, false)) << "another sensor";
    bureau.device.Identity().SerialNo = "11";
    EXPECT_EQ(usable(1), std::pair(false, false)) << "nothing was read back";
    EXPECT_EQ(usable(2), std::pair(true, true));
    bureau.Find("cmdCompare")->click();
    bureau.Find("cmdRestore")->click();
    EXPECT_EQ(states, (std::vector<std::pair<std::int32_t, std::string>>{{77, "11"}, {77, "11"}}));
    EXPECT_EQ(name, "Passport 11, 22.11.2026 14:01:05");
}

TEST(PassportWindow, ExportsWhatIsShownAndNeverOntoThePassport)
{
    Bureau bureau;
    bureau.Write();
    bureau.Open();
    bureau.Filter("501");
    const std::string before = TemporaryFolder::Read(bureau.folder / "11.jsonl");
    QString file = FromUtf8((bureau.own.path / "export").string());
    bureau.window->ChooseFile = [&](const QString&) { return file; };
    {
        const FullDisk disk;
        bureau.Find("cmdExport")->click();
        EXPECT_TRUE(bureau.State().contains("cannot be saved")) << bureau.State().toStdString();
    }
    EXPECT_FALSE(std::filesystem::exists(bureau.own.path / "export.txt"));
    bureau.Find("cmdExport")->click();
    EXPECT_EQ(TemporaryFolder::Read(bureau.own.path / "export.txt"),
              "22.11.2026 14:01:05, Sent, verified, anna\n    ON-Threshold Q1 (501): 1000 → 1200 mm\n"
              "22.11.2026 14:03:05, Undone, verified, anna\n"
              "    ON-Threshold Q1 (501): 1200 → 1000 mm, read back: 1010 mm\n");
    file = FromUtf8((bureau.folder / "11.jsonl").string());
    bureau.Find("cmdExport")->click();
    EXPECT_EQ(TemporaryFolder::Read(bureau.folder / "11.jsonl"), before);
    EXPECT_TRUE(bureau.State().contains("must not replace"));
}

TEST(PassportWindow, ShowsTheNewestOfALongPassportAtOnceAndTheOthersByAndBy)
{
    constexpr int kLines = 20000;
    Bureau bureau;
    bureau.Write();
    const std::string some = TemporaryFolder::Read(bureau.folder / "11.jsonl");
    {
        std::ofstream longer(bureau.folder / "11.jsonl", std::ios::binary);
        for (int i = 0; i < kLines / 4; ++i) {
            longer << some;
        }
    }
    bureau.window = std::make_unique<frmPassport>(bureau.owner,
                                                  frmPassport::Context{bureau.device, bureau.writes, bureau.settings});
    const int first = bureau.Table()->model()->rowCount();
    EXPECT_GT(first, 0);
    EXPECT_LT(first, kLines);
    EXPECT_EQ(bureau.Table()->model()->index(0, PassportModel::ColumnEvent).data().toString(), "Undone");
    EXPECT_TRUE(Until([&] { return bureau.Table()->model()->rowCount() == kLines; }));
    EXPECT_EQ(bureau.Table()->model()->index(kLines - 1, PassportModel::ColumnEvent).data().toString(), "Connected");

    bureau.window->show();
    bureau.window->ChooseFile = [&](const QString&) { return FromUtf8((bureau.own.path / "export.txt").string()); };
    QTimer::singleShot(0, bureau.window.get(), [&] {
        EXPECT_FALSE(bureau.Find("cmdExport")->isEnabled()) << "the export is under way";
        bureau.window->close();
    });
    bureau.Find("cmdExport")->click();
    EXPECT_FALSE(bureau.window->isVisible());
    EXPECT_FALSE(std::filesystem::exists(bureau.own.path / "export.txt")) << "closing ends it";
}

TEST(PassportWindow, FollowsWhatIsWrittenWhileItIsOpen)
{
    Bureau bureau;
    bureau.Open();
    EXPECT_TRUE(bureau.State().startsWith("There is no sensor passport yet"));
    SensorIdentity sensor;
    sensor.SerialNo = "<b>12</b>";
    bureau.writes.NoteIdentity(sensor, {}, "COM 1", modAPI::LocalTime());
    bureau.window->Follow();
    EXPECT_TRUE(Until([&] { return bureau.Table()->model()->rowCount() == 1; }));
    EXPECT_EQ(bureau.Column(PassportModel::ColumnChanges), QStringList{"SN <b>12</b>, Serial"});
    sensor.SWVersion = "2";
    for (int dump = 0; dump < 2; ++dump) { // one alone may be damaged
        bureau.writes.NoteIdentity(sensor, {}, "COM 1", modAPI::LocalTime());
    }
    bureau.window->Follow();
    EXPECT_TRUE(Until([&] { return bureau.Table()->model()->rowCount() == 2; }));
    EXPECT_EQ(bureau.Table()->currentIndex().row(), 1) << "the chosen entry stays chosen";
}

} // namespace
