// Backups of a sensor's set: their names, what they hold, and what must never be lost.
#include "store/modBackup.h"

#include "base/modAPI.h"
#include "store/modConfigFile.h"
#include "tests/support/FullDisk.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace {

double timeOf(unsigned month, unsigned day, int hour, int minute = 0, int second = 0)
{
    return modAPI::DateTimeOf({2026, month, day, hour, minute, second, 0});
}

Configuration setOf(const std::string& serialNo, std::int32_t offset)
{
    Configuration set;
    set.Parameters.Offset = offset;
    set.Identity.SerialNo = serialNo;
    return set;
}

struct Backups {
    TemporaryFolder own;
    std::filesystem::path folder = own.path / "BACKUP";
    std::error_code why;

    std::string Save(double now, std::int32_t offset = 0)
    {
        const auto file = modBackup::Save(setOf("004711", offset), folder, now, why);
        return file ? file->lexically_relative(folder).string() : std::string();
    }
    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (const modBackup::Backup& backup : modBackup::List(folder, "004711")) {
            names.push_back(backup.file.filename().string());
        }
        return names;
    }
    std::size_t Files() const
    {
        std::error_code error;
        const std::filesystem::directory_iterator all(folder / "004711", error), end;
        return static_cast<std::size_t>(std::distance(all, end));
    }
};

TEST(Backup, IsAnOrdinaryConfigurationAndNoneReplacesAnother)
{
    Backups backups;
    const double now = timeOf(11, 22, 14, 3, 5);
    for (std::int32_t offset = 1; offset <= 10; ++offset) { // a clock that was set back comes by the same second again
        const std::string number = offset == 1 ? "" : " (" + std::to_string(offset) + ")";
        EXPECT_EQ(backups.Save(now, offset), "004711/2026-11-22 14-03-05" + number + ".rvq");
    }
    EXPECT_EQ(backups.Save(now - 1.0, 99), "004711/2026-11-21 14-03-05.rvq");
    const auto found = modBackup::List(backups.folder, "004711");
    ASSERT_EQ(found.size(), 11U);
    EXPECT_EQ(backups.Files(), 11U) << "nothing else is left in the folder";
    EXPECT_DOUBLE_EQ(found.front().time, now);
    std::vector<std::int32_t> offsets;
    for (const modBackup::Backup& backup : found) {
        Configuration read;
        read.FileName = backup.file.string();
        modConfigFile::Read(read);
        offsets.push_back(read.Parameters.Offset);
        EXPECT_TRUE(read.Description.starts_with("SN 004711, 2026-11-2")) << read.Description;
    }
    EXPECT_EQ(offsets, (std::vector<std::int32_t>{10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 99})) << "newest first";
}

TEST(Backup, NoSerialNumberLeadsOutOfTheFolder)
{
    struct Row {
        std::string serialNo, name;
    };
    for (const Row& row :
         {Row{"", "unknown"}, Row{"..", "%2E%2E"}, Row{"/etc/x", "%2Fetc%2Fx"}, Row{"12%2F3", "12%252F3"},
          Row{"a-B_9", "a-B_9"}, Row{std::string("\0\n\xFF ", 4), "%00%0A%FF%20"},
          Row{std::string(200, '/'),
              "%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F%2F"},
          Row{std::string(5000, '7'), std::string(100, '7')}}) {
        EXPECT_EQ(modBackup::NameOf(row.serialNo), row.name);
        Backups backups;
        const auto file = modBackup::Save(setOf(row.serialNo, 0), backups.folder, timeOf(1, 1, 0), backups.why);
        ASSERT_TRUE(file) << row.name << ": " << backups.why.message();
        EXPECT_EQ(file->parent_path(), backups.folder / row.name);
        EXPECT_EQ(modBackup::List(backups.folder, row.serialNo).size(), 1U) << row.name;
    }
}

TEST(Backup, ThatCannotBeSavedLeavesNothingAndSaysWhy)
{
    Backups backups;
    backups.own.Write("BACKUP", "a file");
    EXPECT_EQ(backups.Save(timeOf(1, 1, 0)), "");
    EXPECT_EQ(backups.why, std::errc::file_exists);

    Backups denied;
    denied.folder = "/proc/BACKUP";
    EXPECT_EQ(denied.Save(timeOf(1, 1, 0)), "");
    EXPECT_TRUE(denied.why);

    Backups full;
    EXPECT_NE(full.Save(timeOf(1, 1, 0), 7), "");
    {
        const FullDisk disk;
        EXPECT_EQ(full.Save(timeOf(1, 1, 0)), "");
        EXPECT_EQ(full.why, std::errc::file_too_large);
    }
    EXPECT_EQ(full.Files(), 1U);
    EXPECT_EQ(full.Names(), std::vector<std::string>{"2026-01-01 00-00-00.rvq"});
}

TEST(Backup, OfEachDayBeforeTheLastMonthTheLastOneStays)
{
    Backups backups;
    for (const double time : {timeOf(9, 1, 8), timeOf(9, 1, 23, 59, 59), timeOf(9, 1, 23, 59, 59), timeOf(9, 2, 0),
                              timeOf(10, 21, 8), timeOf(10, 21, 9), timeOf(10, 22, 8), timeOf(10, 22, 9)}) {
        backups.Save(time);
    }
    const auto home = backups.folder / "004711";
    for (const char* name : {"2026-09-01 07-00-00.txt", "2026-09-01 mine.rvq", "2026-09-01 07-00-00 (1).rvq",
                             "2026-09-01 07-00-00 (02).rvq", "2026-13-01 07-00-00.rvq", "mine.rvq"}) {
        backups.own.Write(("BACKUP/004711/" + std::string(name)).c_str(), "mine");
    }
    std::filesystem::create_directory(home / "2026-09-01 07-00-00.rvq");
    modBackup::Thin(backups.folder, "004711", timeOf(11, 22, 14));
    EXPECT_EQ(backups.Names(),
              (std::vector<std::string>{"2026-10-22 09-00-00.rvq", "2026-10-22 08-00-00.rvq", "2026-10-21 09-00-00.rvq",
                                        "2026-09-02 00-00-00.rvq", "2026-09-01 23-59-59 (2).rvq"}));
    EXPECT_EQ(backups.Files(), 12U) << "files that are none of ours stay";
}

} // namespace
