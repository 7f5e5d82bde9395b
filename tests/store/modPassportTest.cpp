// The passport of a sensor: appended by several programs, torn, broken, huge.
#include "store/modPassport.h"

#include "base/FileHandle.h"
#include "base/modAPI.h"
#include "store/clsPassportReader.h"
#include "tests/support/FullDisk.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TimeZone.h"

#include <chrono>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace {

using modPassport::Entry;
using modPassport::Event;

Entry entryOf(Event event, const std::string& user = "anna")
{
    Entry entry{.time = modAPI::DateTimeOf({2026, 11, 22, 14, 3, 5, 250}), .event = event, .user = user};
    if (event == Event::Identity) {
        entry.identity.SerialNo = "0047\xDC"
                                  "11";
        entry.identity.SWVersion = "4.2";
        entry.replaced = "000815";
    } else {
        entry.changes = {{"421", "1000", "1200", "1200"}, {"101", "ASCII", "BIN", std::nullopt}};
        entry.result = "differs";
    }
    entry.version = "1.0";
    entry.port = "COM 3 (/dev/ttyÜ)";
    entry.set.emplace().Offset = -7;
    return entry;
}

struct Passport {
    TemporaryFolder own;
    std::filesystem::path folder = own.path / "PASSPORT", file = folder / "004711.jsonl";

    std::error_code Append(const Entry& entry, int patience_ms = 1000) const
    {
        return modPassport::Append(folder, "004711", entry, std::chrono::milliseconds(patience_ms));
    }
    std::string Text() const { return TemporaryFolder::Read(file); }
    void Put(const std::string& bytes) const
    {
        std::filesystem::create_directories(folder);
        own.Write("PASSPORT/004711.jsonl", bytes);
    }
    /// The users of the entries, first from the front, then from the end, and the number of other lines.
    struct Found {
        std::vector<std::string> users;
        std::size_t unreadable = 0;
        bool operator==(const Found&) const = default;
    };
    Found Read() const
    {
        Found forwards, backwards;
        forwards.unreadable = modPassport::Read(file, [&](const Entry& entry) {
                                  forwards.users.push_back(entry.user);
                                  return true;
                              }).unreadable;
        clsPassportReader reader(file);
        while (reader.Step([&](std::string_view line, const clsPassportReader::Place& place) {
            const auto entry = modPassport::EntryOf(line);
            EXPECT_TRUE(line.empty() || reader.LineAt(place) == line);
            if (entry) {
                backwards.users.insert(backwards.users.begin(), entry->user);
            } else {
                ++backwards.unreadable;
            }
            return true;
        })) {
        }
        EXPECT_EQ(forwards, backwards) << "both ways see the same";
        return forwards;
    }
};

TEST(Passport, LineComesBackAsItWas)
{
    const TimeZone berlin("Europe/Berlin");
    Passport passport;
    std::vector<Entry> entries;
    for (const Event event :
         {Event::Identity, Event::Send, Event::Store, Event::Defaults, Event::Undo, Event::Single}) {
        entries.push_back(entryOf(event));
        EXPECT_FALSE(passport.Append(entries.back()));
    }
    std::vector<Entry> read;
    modPassport::Read(passport.file, [&](const Entry& entry) {
        read.push_back(entry);
        return read.size() < 6;
    });
    EXPECT_EQ(read, entries);
    for (const Entry& entry : entries) {
        EXPECT_EQ(modPassport::Newest(passport.file, entry.event), entry);
    }
    const std::string line =
        R"-({"time":"2026-11-22T14:03:05.250+01:00","event":"send","user":"anna","version":"1.0",)-"
        R"-("port":"COM 3 (/dev/ttyÜ)","changes":[{"code":"421","old":"1000","new":"1200","readBack":"1200"},)-"
        R"-({"code":"101","old":"ASCII","new":"BIN"}],"result":"differs","set":{)-";
    EXPECT_NE(passport.Text().find('\n' + line), std::string::npos) << passport.Text();
}

TEST(Passport, BrokenLineCostsItselfOnly)
{
    const std::string good = R"({"time":"2026-11-22T14:03:05Z","event":"send","user":"b"})";
    const std::string deep(200000, '['), deepObjects = [] {
        std::string text;
        for (int i = 0; i < 100000; ++i) {
            text += R"({"a":)";
        }
        return text;
    }();
    const std::string broken[] = {
        R"({"time":"2026-11-22T14:03:05Z","event":"se)",
        std::string(70000, '\0'),
        std::string(70000, 'x'),
        std::string(modPassport::kLongestLine + 1, ' '),
        std::string(3 * modPassport::kLongestLine, '['),
        deep,
        deepObjects,
        "null",
        "17",
        "\"time\"",
        "[]",
        "{}",
        R"({"time":"2026-02-30T14:03:05Z","event":"send"})",
        R"({"time":1e999,"event":"send"})",
        R"({"time":"2026-11-22T14:03:05Z","event":"sent"})",
        R"({"time":"2026-11-22T14:03:05Z","event":["send"]})",
        "{\"time\":\"2026-11-22T14:03:05Z\",\"event\":\"send\",\"user\":\"\xFF\"}",
        R"({"time":"2026-11-22T14:03:05Z","event":"send","set":{"101":1e99999}})",
    };
    for (const std::string& line : broken) {
        Passport passport;
        passport.Put(good + "\n" + line); // torn by a power cut: its end is missing
        EXPECT_FALSE(passport.Append(entryOf(Event::Send)));
        EXPECT_EQ(passport.Read(), (Passport::Found{{"b", "anna"}, 1})) << line.substr(0, 80);
    }
    Passport passport;
    passport.Put("\n\n" + good + "\r\n\n" + good); // whole but for its end
    EXPECT_EQ(passport.Read(), (Passport::Found{{"b", "b"}, 0}));
}

TEST(Passport, ValueThatFitsNothingLeavesTheDefault)
{
    const auto entry = modPassport::EntryOf(
        R"({"time":"2026-11-22T14:03:05Z","event":"send","user":7,"result":"fine","changes":[3,"x",{"code":4},)"
        R"({"code":"421","old":[],"readBack":1}],"set":{"701":99999999999999999999,"101":77,"111":2}})");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->user + entry->result, "");
    EXPECT_EQ(entry->changes, (std::vector<modPassport::Change>{{"421", "", "", std::nullopt}}));
    ParameterSet expected;
    expected.DistanceUnit = 2;
    EXPECT_EQ(entry->set, expected);
}

TEST(Passport, LineThatFindsNoRoomLeavesNothing)
{
    Passport passport;
    EXPECT_FALSE(passport.Append(entryOf(Event::Send)));
    const std::string before = passport.Text();
    {
        const FullDisk disk;
        const rlimit some{before.size() + 100, disk.before.rlim_max}; // takes a part of the line
        setrlimit(RLIMIT_FSIZE, &some);
        EXPECT_EQ(passport.Append(entryOf(Event::Store)), std::errc::file_too_large);
    }
    EXPECT_EQ(passport.Text(), before);
    EXPECT_FALSE(passport.Append(entryOf(Event::Store, "carl")));
    EXPECT_EQ(passport.Read(), (Passport::Found{{"anna", "carl"}, 0}));
}

TEST(Passport, AnotherProgramsLockIsWaitedForAndThenNamed)
{
    Passport passport;
    EXPECT_FALSE(passport.Append(entryOf(Event::Send)));
    const std::string before = passport.Text();
    {
        const FileHandle other(open(passport.file.c_str(), O_RDONLY));
        ASSERT_EQ(flock(other.Descriptor(), LOCK_EX), 0);
        EXPECT_EQ(passport.Append(entryOf(Event::Send), 20), std::errc::device_or_resource_busy);
        EXPECT_EQ(passport.Text(), before);
    }
    EXPECT_FALSE(passport.Append(entryOf(Event::Send), 0));
}

TEST(Passport, WhatIsNoFileIsSaidAndHangsNothing)
{
    Passport passport;
    passport.Put("");
    std::filesystem::remove(passport.file);
    ASSERT_EQ(mkfifo(passport.file.c_str(), 0600), 0);
    EXPECT_TRUE(passport.Append(entryOf(Event::Send)));
    EXPECT_TRUE(modPassport::Read(passport.file, [](const Entry&) { return true; }).why);
    EXPECT_TRUE(clsPassportReader(passport.file).Why());
    EXPECT_FALSE(modPassport::Newest(passport.file, Event::Send));
    EXPECT_TRUE(modPassport::List(passport.folder).empty());
    passport.own.Write("file", "");
    EXPECT_EQ(modPassport::Append(passport.own.path / "file", "1", entryOf(Event::Send)), std::errc::file_exists);
}

TEST(Passport, TwoProgramsMayWriteAtOnce)
{
    constexpr int kLines = 60;
    Passport passport;
    passport.Put("torn");
    std::vector<pid_t> children;
    for (const char* user : {"anna", "carl"}) {
        children.push_back(fork());
        if (children.back() == 0) {
            int failed = 0;
            for (int i = 0; i < kLines; ++i) {
                failed += passport.Append(entryOf(i % 2 == 0 ? Event::Identity : Event::Send, user), 20000) ? 1 : 0;
            }
            _exit(failed == 0 ? 0 : 1);
        }
    }
    for (const pid_t child : children) {
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    const Passport::Found found = passport.Read();
    EXPECT_EQ(found.unreadable, 1U);
    EXPECT_EQ(std::ranges::count(found.users, "anna"), kLines);
    EXPECT_EQ(std::ranges::count(found.users, "carl"), kLines);
}

TEST(Passport, WireTextsLeadBackToTheStoredValue)
{
    for (const ParameterDef& row : ParameterTable()) {
        const ParameterSet set;
        const std::string text = modPassport::WireText(row, set.*row.value);
        if (!WireValue(set, row.code).empty()) {
            EXPECT_EQ(text, WireValue(set, row.code));
            EXPECT_EQ(modPassport::StoredOf(row, text), set.*row.value) << row.code;
        }
        EXPECT_FALSE(modPassport::StoredOf(row, "no value")) << row.code;
    }
    EXPECT_EQ(modPassport::WireText(RowOf(&ParameterSet::RainFilter), -1), "-1") << "no command carries it";
}

} // namespace
