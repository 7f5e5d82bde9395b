// Marks of the operator, and the sidecars that keep them.
#include "session/clsSession.h"
#include "store/modRecordLine.h"
#include "store/modSidecar.h"
#include "tests/support/FullDisk.h"
#include "tests/support/MeasuringSite.h"
#include "tests/support/TimeZone.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <utility>

namespace {

constexpr std::chrono::seconds kPatience{10};
constexpr double kMillisecond = 1.0 / kMsPerDay;

std::vector<RecordingMark> marksOf(const std::filesystem::path& recording)
{
    std::error_code why;
    return modSidecar::Read(modSidecar::SidecarOf(recording), why).value_or(RecordingInfo()).marks;
}

std::string textsOf(const std::filesystem::path& recording)
{
    std::string texts;
    for (const RecordingMark& mark : marksOf(recording)) {
        texts += mark.text + ';';
    }
    return texts;
}

/// Lines at these seconds of a day.
std::string linesAt(std::initializer_list<double> seconds, double day = 46346.0)
{
    std::string lines;
    for (const double second : seconds) {
        lines +=
            modRecordLine::RecordLine({.value = 1.0, .value_mm = 1000, .time = day + second / kSecondsPerDay}, "23 C");
    }
    return lines;
}

struct SilentLine : PlayedLine {
    void sent(char /*command*/) override {}
};

/// A desk on which recordings are played.
struct Player {
    TemporaryFolder folder;
    modGlobals::Settings settings;
    clsSession session{std::make_unique<SilentLine>(), settings, folder.path, '.'};

    modPlayback::Loaded Play(const std::filesystem::path& file)
    {
        return session.Play(file, [](double) { return true; });
    }
};

TEST(Mark, ATextIsOneLineOfUtf8WithinItsLength)
{
    const std::string umlauts = [] {
        std::string text;
        for (std::size_t i = 0; i < clsMarks::kLongestText; ++i) {
            text += "ä";
        }
        return text;
    }();
    const std::tuple<const char*, std::string, std::string> rows[] = {
        {"as it is", "Tür „auf“ 🚪", "Tür „auf“ 🚪"},
        {"controls and line ends", "\ta\r\nb\x7F\u0085\u2028 c\x01", "a b c"},
        {"blanks around", "  a  b  ", "a b"},
        {"not UTF-8", "a\xFFz\xC3", "a\uFFFDz\uFFFD"},
        {"surrogates and overlong forms", "\xED\xA0\x80|\xC0\x80", "\uFFFD\uFFFD\uFFFD|\uFFFD\uFFFD"},
        {"too long, cut between characters", umlauts + "end", umlauts},
        {"empty", " \n", ""},
    };
    for (const auto& [name, typed, text] : rows) {
        EXPECT_EQ(clsMarks::TextOf(typed), text) << name;
    }
}

TEST(Mark, ThereAreNoMoreThanTheBound)
{
    clsMarks marks;
    for (std::size_t i = 0; i < clsMarks::kMost; ++i) {
        ASSERT_TRUE(marks.Add(static_cast<double>(clsMarks::kMost - i), "m"));
    }
    EXPECT_FALSE(marks.Add(1.0, "one too many"));
    EXPECT_TRUE(std::ranges::is_sorted(marks.All(), {}, &clsMarks::Mark::place));
    marks.Remove(0);
    EXPECT_FALSE(marks.Add(std::numeric_limits<double>::quiet_NaN(), "nowhere"));
    EXPECT_TRUE(marks.Add(1.0, "again"));
    EXPECT_THROW(marks.Remove(clsMarks::kMost), std::out_of_range);
}

TEST(Mark, GoesIntoTheSidecarOfTheFileThatHasItsTime)
{
    MeasuringSite site;
    clsSession& session = site.session;
    const auto newest = [&] { return session.Shown().Range().end; };
    site.settings.NewFile = PartsHourly;
    site.clock_days = 3585.0 / kSecondsPerDay; // 15 s before the full hour
    ASSERT_NO_FATAL_FAILURE(site.Run(6));
    EXPECT_EQ(session.SetMark(newest(), "before").home, MarkHome::Session);
    ASSERT_NO_FATAL_FAILURE(site.Run(2));
    session.StartRecording("run");
    ASSERT_NO_FATAL_FAILURE(site.Run(2));
    const double inFirst = newest();
    EXPECT_EQ(session.SetMark(inFirst, "first").home, MarkHome::Sidecar);
    ASSERT_NO_FATAL_FAILURE(site.Run(8));
    EXPECT_EQ(session.SetMark(newest(), "second").home, MarkHome::Sidecar);
    EXPECT_EQ(session.SetMark(inFirst + kMillisecond, "late").home, MarkHome::Sidecar);
    ASSERT_NO_FATAL_FAILURE(site.Run(1));
    session.Recorder().Stop();
    ASSERT_TRUE(session.FinishWriting(kPatience));
    const auto first = site.folder.path / "run.rec", second = site.folder.path / "run (2).rec";
    ASSERT_TRUE(std::filesystem::exists(second)) << session.Recorder().FileName;
    ASSERT_NO_FATAL_FAILURE(site.Run(1));
    EXPECT_EQ(textsOf(first), "first;late;");
    EXPECT_EQ(textsOf(second), "second;");
    EXPECT_NEAR(marksOf(first)[0].time, inFirst, kMillisecond);

    ASSERT_FALSE(session.Recorder().Rename("other"));
    const auto renamed = site.folder.path / "other.rec";
    EXPECT_EQ(session.RecordingAt(inFirst), renamed);
    EXPECT_EQ(session.ChangeMark(1, "FIRST").home, MarkHome::Sidecar);
    EXPECT_EQ(session.RemoveMark(2).home, MarkHome::Sidecar);
    EXPECT_EQ(textsOf(renamed), "FIRST;");
    EXPECT_EQ(session.SetMark(newest(), "after").home, MarkHome::Session);
    EXPECT_EQ(session.Marks().size(), 4U) << "all are there for the session";
}

TEST(Mark, OfAPlayedRecordingIsWrittenAtOnceAndComesBackWithIt)
{
    Player player;
    const auto file = player.folder.Write("a.rec", linesAt({50400, 50409}));
    player.Play(file);
    const double place = player.session.Shown().Range().begin + 4.0 / kSecondsPerDay;
    EXPECT_EQ(player.session.SetMark(place, "Tür").home, MarkHome::Sidecar);

    Player other;
    const modPlayback::Loaded loaded = other.Play(file);
    EXPECT_EQ(loaded.sidecar, modPlayback::SidecarUse::Missing) << "it says nothing of the values";
    EXPECT_FALSE(loaded.info);
    ASSERT_EQ(other.session.Marks().size(), 1U);
    EXPECT_EQ(other.session.Marks()[0].text, "Tür");
    EXPECT_NEAR(other.session.Marks()[0].place, place, kMillisecond);
    EXPECT_EQ(other.session.RemoveMark(0).home, MarkHome::Sidecar);
    EXPECT_EQ(marksOf(file).size(), 0U);
}

TEST(Mark, OfARecordingThatIsGoneMakesNoSidecar)
{
    Player player;
    const auto file = player.folder.Write("a.rec", linesAt({50400, 50409}));
    player.Play(file);
    std::filesystem::remove(file);
    EXPECT_EQ(player.session.SetMark(player.session.Shown().Range().begin, "late").home, MarkHome::Gone);
    EXPECT_FALSE(std::filesystem::exists(modSidecar::SidecarOf(file)));
}

TEST(Mark, BelongsToTheRecordingThatIsLoading)
{
    Player player;
    const auto before = player.folder.Write("a.rec", linesAt({50400, 50409}));
    player.Play(before);
    player.session.SetMark(player.session.Shown().Range().begin, "of a");
    std::string lines;
    while (lines.size() < (std::size_t{1} << 19)) { // loading lets events be handled now and then
        lines += linesAt({50400}, 46347.0);
    }
    const auto file = player.folder.Write("b.rec", lines);
    bool isFirst = true;
    player.session.Play(file, [&](double) {
        if (std::exchange(isFirst, false)) {
            EXPECT_TRUE(player.session.Marks().empty()) << "those of the recording before";
            player.session.SetMark(player.session.Shown().Range().begin, "of b");
        }
        return true;
    });
    EXPECT_FALSE(isFirst);
    EXPECT_EQ(player.session.Marks().size(), 1U);
    EXPECT_EQ(textsOf(before), "of a;");
    EXPECT_EQ(textsOf(file), "of b;");
}

TEST(Mark, LeavesASidecarAsItIsExceptForTheMarks)
{
    const std::string lines = linesAt({50400, 50409});
    const std::string start = R"({"start": "2026-11-20T13:59:59.000+01:00", "from the future": [1, {"x": 2}], )";
    const std::tuple<const char*, std::string, MarkHome> rows[] = {
        {"with keys of a later version", start + R"("marks": [{"time": "2026-11-20T14:00:01.000+01:00"}]})",
         MarkHome::Sidecar},
        {"of another recording", R"({"start": "2026-11-21T14:00:00.000+01:00", "marks": []})", MarkHome::Foreign},
        {"not JSON", "{", MarkHome::Unreadable},
    };
    for (const auto& [name, sidecar, home] : rows) {
        Player player;
        const auto file = player.folder.Write("a.rec", lines);
        const auto beside = player.folder.Write("a.json", sidecar);
        player.Play(file);
        const MarkOutcome outcome = player.session.SetMark(player.session.Shown().Range().end, "m");
        EXPECT_EQ(outcome.home, home) << name;
        EXPECT_EQ(player.session.Marks().back().text, "m") << name << ": it is shown";
        const std::string after = TemporaryFolder::Read(beside);
        if (home == MarkHome::Sidecar) {
            EXPECT_NE(after.find("from the future"), std::string::npos);
            EXPECT_EQ(textsOf(file), ";m;");
        } else {
            EXPECT_EQ(after, sidecar) << name;
            EXPECT_EQ(outcome.sidecar, beside) << name;
        }
    }
    Player player;
    player.Play(player.folder.Write("a.rec", lines));
    const FullDisk full;
    const MarkOutcome outcome = player.session.SetMark(player.session.Shown().Range().end, "m");
    EXPECT_EQ(outcome.home, MarkHome::Unwritten);
    EXPECT_TRUE(outcome.why);
}

TEST(Mark, InTheHourThatAutumnRepeatsKeepsItsPlace)
{
    const TimeZone zone("Europe/Berlin");
    for (const bool isSecond : {false, true}) {
        Player player;
        const auto file = player.folder.Write("a.rec", linesAt({7800, 10200, 7500, 10500}, 46320.0));
        player.Play(file);
        const PlaceRange range = player.session.Shown().Range();
        const double place = isSecond ? range.end - 20.0 / 1440.0 : range.begin + 20.0 / 1440.0;
        player.session.SetMark(place, "m");
        Player other;
        other.Play(file);
        ASSERT_EQ(other.session.Marks().size(), 1U);
        EXPECT_NEAR(other.session.Marks()[0].place, place, kMillisecond) << isSecond;
    }
}

TEST(Mark, OfTheSessionStaysWhileARecordingIsShown)
{
    MeasuringSite site;
    ASSERT_NO_FATAL_FAILURE(site.Run(6));
    site.session.SetMark(site.session.Shown().Range().end, "mine");
    const auto file = site.folder.Write("a.rec", linesAt({50400}));
    site.session.Loop().StartStop({}); // stops
    site.session.Play(file, [](double) { return true; });
    EXPECT_TRUE(site.session.Marks().empty());
    site.session.Loop().StartStop({}); // starts
    ASSERT_NO_FATAL_FAILURE(site.Run(6));
    ASSERT_EQ(site.session.Marks().size(), 1U);
    EXPECT_EQ(site.session.Marks()[0].text, "mine");
}

} // namespace
