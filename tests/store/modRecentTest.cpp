// The list of recent recordings in a settings file that others write, too.
#include "store/modRecent.h"

#include "store/modIni.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <string>

namespace {

/// The numbers of the recordings in the list: "31" for 3.rec and 1.rec.
std::string listIn(const std::filesystem::path& iniFile)
{
    std::string names;
    for (const auto& recording : modRecent::Load(iniFile)) {
        names += recording.stem().string();
    }
    return names;
}

TEST(RecentRecordings, AreTheLastOnesEachOnceNewestFirst)
{
    const TemporaryFolder folder;
    const auto ini = folder.Write("RVQ.ini", "[CHART]\nyMax=5\n[recent]\nfile1=\n; mine\n");
    const auto add = [&](const std::string& name) {
        EXPECT_FALSE(modRecent::Add(ini, folder.Write((name + ".rec").c_str(), "")));
    };
    for (const char* name : {"1", "2", "3", "1"}) {
        add(name);
    }
    EXPECT_EQ(listIn(ini), "132");
    for (const char* name : {"4", "5", "6", "7", "8", "9"}) {
        add(name);
    }
    EXPECT_EQ(listIn(ini), "98765413") << "the last " << modRecent::kMost;
    EXPECT_TRUE(TemporaryFolder::Read(ini).starts_with("[CHART]\nyMax=5\n[recent]\nfile1=")) << "the rest stays";
    std::filesystem::rename(folder.path / "9.rec", folder.path / "N.rec");
    EXPECT_EQ(listIn(ini), "98765413") << "missing, not forgotten";
    EXPECT_FALSE(modRecent::Rename(ini, folder.path / "9.rec", folder.path / "N.rec"));
    EXPECT_EQ(listIn(ini), "N8765413");
    EXPECT_FALSE(modRecent::Clear(ini));
    EXPECT_EQ(listIn(ini), "");
}

TEST(RecentRecordings, KeepPathsAsTheyAreOrNotAtAll)
{
    const TemporaryFolder folder;
    const auto ini = folder.path / "RVQ.ini";
    for (const char* name : {"a=b; [c].rec", "\xC3\xA4 \xE4.rec", "\"q\".rec"}) {
        const auto file = folder.Write(name, "");
        EXPECT_FALSE(modRecent::Add(ini, folder.path / "x" / ".." / name));
        EXPECT_EQ(modRecent::Load(ini).front(), file) << name;
    }
    EXPECT_FALSE(modRecent::Add(ini, folder.Write("line\nend.rec", "")));
    EXPECT_EQ(modRecent::Load(ini).size(), 3U);
    EXPECT_FALSE(modRecent::Add({}, folder.path / "x.rec")) << "nothing is to be kept";
    EXPECT_EQ(modRecent::Add(folder.path / "none" / "RVQ.ini", folder.path / "x.rec"),
              std::errc::no_such_file_or_directory);
}

} // namespace
