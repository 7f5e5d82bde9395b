// INI files that people wrote by hand: reading changes nothing, writing changes one line.
#include "store/modIni.h"

#include "base/modFiles.h"
#include "store/clsIni.h"
#include "tests/support/TemporaryFolder.h"

#include <array>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <set>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <thread>
#include <tuple>
#include <unistd.h>

namespace {

using namespace std::string_literals;

struct IniFile : testing::Test {
    TemporaryFolder own;
    std::filesystem::path folder = own.path, file = folder / "RVQ.ini";

    void Put(const std::string& bytes) const { own.Write("RVQ.ini", bytes); }
    std::string Bytes() const { return TemporaryFolder::Read(file); }
    clsIni Ini() const
    {
        clsIni ini("", ',');
        ini.Filename("  " + file.string() + " ");
        return ini;
    }
};

const std::string kByHand = "\xEF\xBB\xBF; mine\r\n[General]\nbaudRATE = 4800 ; odd\r\n\r\nno sign\n;Comport=9\n"
                            "[ Chart ]\r\nyMax=5,5\n a = b=c \nempty=\n[general]\r\nComport=7\n[last";

TEST_F(IniFile, ReadingFindsTheFirstMatchAndChangesNothing)
{
    Put(kByHand);
    const clsIni ini = Ini();
    EXPECT_EQ(ini.Filename(), file.string());
    using V = clsIni::Variant;
    const std::tuple<const char*, const char*, V, V> rows[] = {
        {"GENERAL", "Baudrate", 5, 4800}, {"GENERAL", "Baudrate", std::int16_t{5}, 4800},
        {"GENERAL", "Comport", 5, 5}, // neither the commented line nor the second section counts
        {"chart", "YMAX", 1.0, 5.5},      {"chart", "none", 1.5F, 1.5},
        {"chart", "A", "x"s, "b=c"s},     {"chart", "empty", "x"s, ""s},
        {"chart", "empty", 5, 0},         {"last", "x", "d"s, "d"s},
        {"  ", "yMax", "d"s, "d"s},       {"chart", " ", 7, 7},
        {"chart", "yMax", true, {}},      {"chart", "yMax", {}, {}},
    };
    for (const auto& [section, key, fallback, value] : rows) {
        EXPECT_EQ(ini.GetSetting(section, key, fallback), value) << section << " " << key;
    }
    EXPECT_EQ(ini.GetSetting("GENERAL", "Baudrate", 5, false), V(5));
    EXPECT_THROW(ini.GetSetting("chart", "a", 1.0), std::invalid_argument);
    EXPECT_EQ(ini.GetSection("GENERAL"), "baudRATE= 4800 ; odd");
    EXPECT_EQ(ini.GetSection("chart"), "yMax=5,5\0a= b=c \0empty="s);
    EXPECT_EQ(ini.GetSection("none"), "");
    EXPECT_EQ(ini.GetSectionNames(), "General\0Chart\0general\0last"s);
    EXPECT_EQ(Bytes(), kByHand);
}

TEST_F(IniFile, WhatIsTooLongIsCut)
{
    Put("[a]\nlong=" + std::string(300, 'x') + "\nbig=99999999999\nlow=-99999999999\nk=" + std::string(2000, 'y'));
    EXPECT_EQ(std::get<std::string>(Ini().GetSetting("a", "long", ""s)).size(), 254U);
    EXPECT_EQ(Ini().GetSetting("a", "big", 0), clsIni::Variant(2147483647));
    EXPECT_EQ(Ini().GetSetting("a", "low", 0), clsIni::Variant(-2147483647 - 1));
    EXPECT_EQ(Ini().GetSection("a").size(), 1020U);
}

TEST_F(IniFile, WritingChangesOneLine)
{
    const std::tuple<std::string, const char*, const char*, const char*, std::string> rows[] = {
        {"", "S", "k", "1", "[S]\r\nk=1\r\n"},
        {"[s]\n K =old \n; c\n", "S", "k", "new", "[s]\n K =new\n; c\n"},
        {"[s]\na=1\n\n\n[t]\nk=2\n", "S", "k", "1", "[s]\na=1\nk=1\r\n\n\n[t]\nk=2\n"},
        {"[s]", "s", "k", "1", "[s]\r\nk=1\r\n"},
        {"x=1", "s", "k", "", "x=1\r\n[s]\r\nk=\r\n"},
        {"x=1\r", "s", "k", "2", "x=1\r\n[s]\r\nk=2\r\n"},
        {"[s]\r\nk=1\r\nk=2\r\n[s]\r\nk=3", "s", "k", " 9 ", "[s]\r\nk= 9 \r\nk=2\r\n[s]\r\nk=3"},
        {"[s]\nk=1", "s", "k", "a\r\n[t]", "[s]\nk=a  [t]"}, // a value cannot start a new line
    };
    for (const auto& [before, section, key, value, after] : rows) {
        if (!before.empty()) { // otherwise there is no file yet
            Put(before);
        }
        EXPECT_TRUE(Ini().WriteSetting(section, key, value)) << before;
        EXPECT_EQ(Bytes(), after);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1) << "no temporary file is left";
}

TEST_F(IniFile, WhatCannotBeReadIsNotReplaced)
{
    EXPECT_FALSE(modIni::WritePrivateProfileStringA("s", "k", "v", folder)) << "a folder";
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(Ini().GetSetting("s", "k", 3), clsIni::Variant(3)) << "a pipe does not hold the program up";
    EXPECT_FALSE(Ini().WriteSetting("s", "k", "v"));
    EXPECT_FALSE(modIni::WritePrivateProfileStringA("s", "k", "v", folder / "none" / "x.ini"));
    std::filesystem::remove(file);
    EXPECT_FALSE(Ini().WriteSetting("s", "k", std::string(modFiles::kLargestFile, 'v'))) << "too long to be read";
    Put(std::string(modFiles::kLargestFile + 1, 'x'));
    EXPECT_FALSE(Ini().WriteSetting("s", "k", "v"));
    EXPECT_EQ(std::filesystem::file_size(file), modFiles::kLargestFile + 1);
}

TEST_F(IniFile, ALinkIsFollowedAndPermissionsStay)
{
    Put("[s]\nk=1\n");
    chmod(file.c_str(), 0640);
    std::filesystem::create_symlink(file, folder / "link.ini");
    EXPECT_TRUE(modIni::WritePrivateProfileStringA("s", "k", "2", folder / "link.ini"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.ini"));
    EXPECT_EQ(Bytes(), "[s]\nk=2\n");
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0640));
}

TEST_F(IniFile, AFileThatIsNotPlainTextReadsAsEmptyAndIsLeftAlone)
{
    const auto inUtf16 = [](bool bigEndian) {
        std::string bytes;
        for (const char c : "[s]\r\nk=7\r\n"s) {
            bytes += bigEndian ? std::string{'\0', c} : std::string{c, '\0'};
        }
        return bytes;
    };
    const std::string noise = "[s]\nk=7\n\x01\x9C\x1Bz\x07\xF3q\x1E\x02\xB5\x10\x7F\x1A";
    for (const std::string& bytes : {"\xFF\xFE" + inUtf16(false), "\xFE\xFF" + inUtf16(true), inUtf16(false), noise}) {
        Put(bytes);
        EXPECT_EQ(Ini().GetSetting("s", "k", 3), clsIni::Variant(3));
        std::error_code why;
        const modIni::Entry entry{"k", "1"};
        EXPECT_FALSE(modIni::WriteEntries("s", {&entry, 1}, file, why));
        EXPECT_EQ(why, std::errc::illegal_byte_sequence);
        EXPECT_EQ(Bytes(), bytes);
    }
    Put("[s]\nk=\0\x1Bv\n"s + std::string(80, 'x'));
    EXPECT_TRUE(Ini().WriteSetting("s", "k", "2")) << "a stray NUL byte is not UTF-16";
}

TEST_F(IniFile, AFileKeepsItsOwner)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root may give a file away";
    }
    Put("[s]\nk=1\n");
    ASSERT_EQ(chown(file.c_str(), 1234, 2345), 0);
    chmod(file.c_str(), 0604);
    EXPECT_TRUE(Ini().WriteSetting("s", "k", "2"));
    struct stat after {};
    ASSERT_EQ(stat(file.c_str(), &after), 0);
    EXPECT_EQ(after.st_uid, 1234U);
    EXPECT_EQ(after.st_gid, 2345U);
    EXPECT_EQ(after.st_mode & 07777U, 0604U);
}

TEST_F(IniFile, AChangeKeepsOthersOutButNotForEver)
{
    std::atomic<bool> waits = false, passes = false;
    std::thread other;
    const auto edit = [&](modIni::Content& content) {
        other = std::thread([&] {
            waits = true;
            const modFiles::FolderLock lock(file);
            passes = true;
        });
        while (!waits) {
            std::this_thread::yield();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // if too short, it only misses the fault
        EXPECT_FALSE(passes);
        content.Put("s", {"n", "1"});
    };
    std::error_code why;
    EXPECT_TRUE(modIni::Change(file, edit, why));
    other.join();

    const modFiles::FolderLock hanging(file);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(Ini().WriteSetting("s", "n", "2")) << "a program that hangs does not take the others along";
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST_F(IniFile, ANewFileFollowsTheUsersMask)
{
    const mode_t mask = umask(027);
    EXPECT_TRUE(modFiles::Replace(file, "x"));
    umask(mask);
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0640));
}

TEST_F(IniFile, TheTemporaryNameOfAFileCannotBeGuessed)
{
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(watch, folder.c_str(), IN_CREATE), 0);
    EXPECT_TRUE(modFiles::Replace(file, "x") && modFiles::Replace(file, "y"));
    alignas(inotify_event) std::array<char, 4096> events{};
    const ssize_t size = read(watch, events.data(), events.size());
    close(watch);
    std::set<std::string> names;
    for (ssize_t at = 0; at < size;) {
        const auto* event = reinterpret_cast<const inotify_event*>(events.data() + at);
        names.insert(event->name);
        at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
    EXPECT_EQ(names.size(), 2U) << "a name of its own for each";
    for (const std::string& name : names) {
        EXPECT_TRUE(name.starts_with("RVQ.ini.") && name.size() == 24) << name;
    }
}

} // namespace
