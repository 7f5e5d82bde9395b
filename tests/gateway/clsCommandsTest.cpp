// Commands from outside on a simulated sensor.
#include "gateway/clsCommands.h"

#include "gateway/clsRefusals.h"
#include "simulator/clsSensorModel.h"
#include "tests/support/ModelLine.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

constexpr double kStart = 46348.0;
constexpr double kBegin = kStart - 20.0 / kSecondsPerDay; // of the gateway
const std::set<CommandKind> kAll{CommandKind::Start,       CommandKind::Stop,  CommandKind::Single, CommandKind::Read,
                                 CommandKind::Temperature, CommandKind::Laser, CommandKind::Write};

/// A sensor, its session, and what answers the commands for it.
struct Site {
    double now_s = 0.0;
    TemporaryFolder folder;
    std::vector<CommandAnswer> answers;
    modGlobals::Settings settings;
    ModelLine* line = new ModelLine(now_s);
    std::optional<clsSession> session{std::in_place, std::unique_ptr<SerialPort>(line), settings, folder.path, '.'};
    clsCommands commands{kAll, kBegin, [this](const CommandAnswer& answer) { answers.push_back(answer); }};
    int ids = 0;

    explicit Site(bool measures = false)
    {
        session->Writes().Keep({folder.path / "BACKUP", folder.path / "PASSPORT", "gateway", "1.0"});
        commands.Add("a", *session);
        if (measures) {
            session->Loop().MeasureWhenConnected();
        }
        const auto isReady = [&] {
            const auto wanted = measures ? DialogueMeasuring : DialogueIdle;
            return session->Loop().IsSensorKnown() && session->Device().CommStatus() == wanted;
        };
        EXPECT_TRUE(Until(isReady));
        Run(20);
        line->model.ClearWireLog();
    }
    ~Site() { commands.Remove("a"); }
    double Now() const { return kStart + now_s / kSecondsPerDay; }
    void Run(int ticks)
    {
        for (int tick = 0; tick < ticks; ++tick) {
            now_s += 0.05;
            session->Tick(Now());
        }
    }
    bool Until(const std::function<bool()>& condition)
    {
        for (int tick = 0; tick < 4000 && !condition(); ++tick) {
            Run(1);
        }
        return condition();
    }
    GatewayCommand Command(CommandKind kind)
    {
        GatewayCommand command;
        command.sensor = "a";
        command.id = "id " + std::to_string(++ids);
        command.time = Now();
        command.kind = kind;
        return command;
    }
    /// Gives a command and waits for its answer.
    CommandAnswer Give(const GatewayCommand& command)
    {
        answers.clear();
        EXPECT_TRUE(commands.Take(command, {}, Now()));
        EXPECT_TRUE(Until([&] { return !answers.empty(); }));
        EXPECT_EQ(answers.size(), 1U);
        return answers.empty() ? CommandAnswer{} : answers.front();
    }
    CommandAnswer Write(const std::vector<std::pair<std::string, std::string>>& values, bool stores = false)
    {
        GatewayCommand command = Command(CommandKind::Write);
        command.values = values;
        command.stores = stores;
        return Give(command);
    }
    /// The commands that have reached the sensor and are longer than a letter.
    std::string Frames() const
    {
        std::string frames;
        for (const std::string& command : line->model.WireLog()) {
            frames += command.size() > 1 ? command.substr(0, command.size() - 1) + '|' : "";
        }
        return frames;
    }
    std::size_t Files(const char* name) const
    {
        std::error_code none;
        const std::filesystem::recursive_directory_iterator files(folder.path / name, none);
        return none ? 0 : static_cast<std::size_t>(std::count_if(begin(files), end(files), [](const auto& entry) {
            return entry.is_regular_file();
        }));
    }
};

TEST(Commands, AreCarriedOutFromEitherState)
{
    struct Row {
        CommandKind kind;
        bool measures;
        const char* result;
        bool measuresAfter;
        const char* firstValue = "";
    };
    for (const Row& row :
         {Row{CommandKind::Start, false, "done", true}, Row{CommandKind::Start, true, "done", true},
          Row{CommandKind::Stop, true, "done", false}, Row{CommandKind::Stop, false, "done", false},
          Row{CommandKind::Single, false, "done", false, "distance"}, Row{CommandKind::Single, true, "refused", true},
          Row{CommandKind::Temperature, false, "done", false, "temperature"},
          Row{CommandKind::Temperature, true, "done", true, "temperature"},
          Row{CommandKind::Laser, false, "done", false}, Row{CommandKind::Laser, true, "done", true},
          Row{CommandKind::Read, false, "done", false, "Baudrate"},
          Row{CommandKind::Read, true, "done", true, "Baudrate"}}) {
        Site site(row.measures);
        const std::string where = std::to_string(static_cast<int>(row.kind)) + (row.measures ? " measuring" : " idle");
        GatewayCommand command = site.Command(row.kind);
        command.isOn = true;
        const CommandAnswer answer = site.Give(command);
        EXPECT_EQ(answer.result, row.result) << where << ": " << answer.text;
        EXPECT_EQ(answer.id, command.id);
        site.Run(40);
        EXPECT_EQ(site.line->model.IsMeasuring(), row.measuresAfter) << where;
        EXPECT_EQ(site.session->Loop().IsMeasuring(), row.measuresAfter) << where;
        EXPECT_EQ(site.line->model.IsMarkerOn(), row.kind == CommandKind::Laser) << where;
        EXPECT_EQ(answer.values.empty() ? "" : answer.values.front().name, row.firstValue) << where;
        EXPECT_EQ(answer.values.empty(), *row.firstValue == '\0') << where;
    }
}

TEST(Commands, ARefusedOneReachesNoSensor)
{
    Site site;
    site.commands.Allow({CommandKind::Start});
    site.Run(2);
    struct Row {
        const char* why; ///< a part of the answer's text
        std::function<void(GatewayCommand&)> change;
    };
    for (const Row& row :
         {Row{"\"laser\" is not allowed", [](auto& c) { c.kind = CommandKind::Laser; }},
          Row{"has no id", [](auto& c) { c.id.clear(); }}, Row{"has no time", [](auto& c) { c.time.reset(); }},
          Row{"older than a minute", [](auto& c) { *c.time -= 61.0 / kSecondsPerDay; }},
          Row{"from the future", [](auto& c) { *c.time += 11.0 / kSecondsPerDay; }},
          Row{"older than the start", [](auto& c) { *c.time = kBegin - 1.0 / kSecondsPerDay; }},
          Row{"only just started", [](auto& c) { c.time = kBegin + 9.0 / kSecondsPerDay; }},
          Row{"there is no sensor \"b\"", [](auto& c) { c.sensor = "b"; }},
          Row{"no commands", [](auto& c) { c.kind.reset(); }}, Row{"broken", [](auto& c) { c.problem = "broken"; }}}) {
        GatewayCommand command = site.Command(CommandKind::Start);
        row.change(command);
        const CommandAnswer answer = site.Give(command);
        EXPECT_EQ(answer.result, "refused") << row.why;
        EXPECT_NE(answer.text.find(row.why), std::string::npos) << answer.text;
        EXPECT_EQ(answer.id, command.id) << row.why;
        EXPECT_EQ(answer.sensor, command.sensor == "a" ? "a" : "") << row.why;
    }
    site.answers.clear();
    BrokerReceived kept;
    kept.isRetained = true;
    EXPECT_FALSE(site.commands.Take(site.Command(CommandKind::Start), kept, site.Now()));
    site.Run(100);
    EXPECT_TRUE(site.answers.empty());
    EXPECT_FALSE(site.line->model.IsMeasuring());
}

TEST(Commands, AreCarriedOutOnce)
{
    Site site;
    const GatewayCommand command = site.Command(CommandKind::Temperature);
    EXPECT_EQ(site.Give(command).result, "done");
    EXPECT_EQ(site.Give(command).text, "this id was used already");
    site.commands.Add("b", *site.session);
    GatewayCommand other = command;
    other.sensor = "b";
    EXPECT_EQ(site.Give(other).text, "this id was used already");
    site.commands.Remove("b");
    GatewayCommand later = command;
    site.now_s += 601.0;
    later.time = site.Now();
    EXPECT_EQ(site.Give(later).result, "done") << "forgotten by now";
}

TEST(Commands, RefusedBecomeEventsButNotInAnyNumber)
{
    clsRefusals refusals;
    CommandAnswer answer{.sensor = {}, .id = "1", .result = "refused", .text = "why"};
    EXPECT_FALSE(refusals.Take(answer, 0.0)) << "no sensor";
    answer.sensor = "a";
    for (int i = 0; i < clsRefusals::kMost; ++i) {
        EXPECT_EQ(refusals.Take(answer, 1.0 + i).value_or(clsRefusals::Details{}).size(), 2U) << i;
    }
    EXPECT_FALSE(refusals.Take(answer, 3599.0));
    EXPECT_FALSE(refusals.Take(answer, 3600.0));
    EXPECT_EQ(refusals.Take(answer, 3601.0), (clsRefusals::Details{{"id", "1"}, {"reason", "why"}, {"leftOut", "2"}}));
}

TEST(Commands, WaitForEachOtherButNotInAnyNumber)
{
    Site site;
    for (std::size_t i = 0; i <= clsCommands::kMostWaiting; ++i) {
        site.commands.Take(site.Command(CommandKind::Read), {}, site.Now());
    }
    ASSERT_EQ(site.answers.size(), 1U);
    EXPECT_EQ(site.answers[0].text, "too many commands wait for this sensor");
    EXPECT_TRUE(site.Until([&] { return site.answers.size() == clsCommands::kMostWaiting + 1; }));
    EXPECT_EQ(site.answers[1].result, "done");
    EXPECT_EQ(site.answers[1].id, "id 1");
    for (const CommandAnswer& answer : site.answers) {
        EXPECT_TRUE(answer.result == "done" || !answer.text.empty()) << answer.id;
    }
}

TEST(Commands, AreAnsweredWhenTheLineGoesAway)
{
    for (const CommandKind kind : kAll) {
        Site silent(kind == CommandKind::Stop);
        silent.line->model.Faults().silence = 1.0;
        GatewayCommand command = silent.Command(kind);
        command.values = {{"701", "5"}};
        EXPECT_EQ(silent.Give(command).result, "failed") << static_cast<int>(kind);
        EXPECT_EQ(silent.Give(silent.Command(CommandKind::Read)).text, "the sensor is not connected");
    }
    Site ended;
    ended.commands.Take(ended.Command(CommandKind::Read), {}, ended.Now());
    ended.commands.Take(ended.Command(CommandKind::Write), {}, ended.Now());
    ended.Run(3);
    EXPECT_TRUE(ended.answers.empty());
    ended.commands.Remove("a");
    ended.session.reset();
    ASSERT_EQ(ended.answers.size(), 2U) << "one was under way, one has not begun";
    EXPECT_EQ(ended.answers[0].result + ended.answers[1].result, "failedfailed");
}

TEST(Commands, StartASensorWithSingleOutputForOneValue)
{
    Site site;
    ASSERT_EQ(site.Write({{"603", "S"}}).result, "done");
    const CommandAnswer answer = site.Give(site.Command(CommandKind::Start));
    EXPECT_EQ(answer.result, "done") << answer.text;
    EXPECT_FALSE(site.session->Loop().IsMeasuring());
}

TEST(CommandWrite, IsCheckedBackedUpReadBackAndNoted)
{
    Site site(true);
    const CommandAnswer answer = site.Write({{"Offset", "5"}, {"801", "21,5"}}, true);
    EXPECT_EQ(answer.result, "done");
    EXPECT_EQ(answer.text, "2 values sent and verified. Storing acknowledged, values unchanged.");
    ASSERT_EQ(answer.values.size(), 2U);
    EXPECT_EQ(answer.values[0].code + answer.values[0].sent + answer.values[0].read, "70155");
    EXPECT_EQ(answer.values[1].read, "21.5");
    EXPECT_EQ(site.line->model.StoredParameter("701"), 5);
    EXPECT_EQ(site.Files("BACKUP"), 1U) << "with the values before the command";
    EXPECT_EQ(site.Files("PASSPORT"), 1U);
    EXPECT_EQ(site.session->Writes().Kept().backups, site.folder.path / "BACKUP");
    site.Run(40);
    EXPECT_TRUE(site.line->model.IsMeasuring());
}

TEST(CommandWrite, ThatIsRefusedSendsNothing)
{
    struct Row {
        std::vector<std::pair<std::string, std::string>> values;
        const char* why;
    };
    Site site;
    for (const Row& row :
         {Row{{{"701", "5"}, {"Ofset", "5"}}, "no parameter \"Ofset\""},
          Row{{{"701", "5 m"}}, "is not allowed; possible: -32768 to 32767 mm"},
          Row{{{"801", "21.55"}}, "the step is 0.1"}, Row{{{"701", "5"}, {"Offset", "6"}}, "set twice"},
          Row{{{"610", "5"}}, "not"}, Row{{{"701", "5"}, {"353", "5"}}, "cannot be edited"},
          Row{{{"501", "1000"}, {"502", "1000"}}, "apart"}}) {
        const CommandAnswer answer = site.Write(row.values);
        EXPECT_EQ(answer.result, "refused") << row.values[0].first << ": " << answer.text;
        EXPECT_NE(answer.text.find(row.why), std::string::npos) << answer.text;
    }
    site.session->Writes().Keep({});
    EXPECT_EQ(site.Write({{"701", "5"}}).result, "refused") << "never without a backup";
    std::ofstream(site.folder.path / "file") << "x";
    site.session->Writes().Keep({site.folder.path / "file" / "BACKUP", {}, "", ""});
    const CommandAnswer answer = site.Write({{"701", "5"}});
    EXPECT_EQ(answer.result, "failed");
    EXPECT_NE(answer.text.find("could not be backed up"), std::string::npos) << answer.text;
    EXPECT_EQ(site.Frames(), "");
}

TEST(CommandWrite, SaysWhatTheSensorHasMadeOfIt)
{
    struct Row {
        std::string simulator::Faults::*fault;
        const char* result;
        const char* read;
    };
    using simulator::Faults;
    for (const Row& row : {Row{&Faults::refused, "failed", "0"}, Row{&Faults::ignored, "differs", "0"},
                           Row{&Faults::rounded, "differs", "120"}}) {
        Site site;
        site.line->model.Faults().*row.fault = "701";
        const CommandAnswer answer = site.Write({{"701", "123"}}, true);
        EXPECT_EQ(answer.result, row.result) << answer.text;
        ASSERT_EQ(answer.values.size(), 1U);
        EXPECT_EQ(answer.values[0].sent, "123");
        EXPECT_EQ(answer.values[0].read, row.read);
        EXPECT_TRUE(answer.values[0].differs);
        EXPECT_EQ(site.Frames().find("999"), std::string::npos) << "nothing is stored";
        EXPECT_NE(answer.text.find("Offset (701)"), std::string::npos) << answer.text;
    }
}

} // namespace
