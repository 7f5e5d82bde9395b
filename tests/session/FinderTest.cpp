// The search for a sensor on played lines: each has a simulated sensor behind it, or something else, and a rate.
#include "base/FileHandle.h"
#include "port/modPComm.h"
#include "sensor/ParameterSet.h"
#include "session/clsFinder.h"
#include "session/modCandidates.h"
#include "session/modFindText.h"
#include "simulator/clsSensorModel.h"
#include "texts/modFunctions.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <thread>
#include <utility>

namespace {

using namespace std::string_literals;
using simulator::Format;

/// One line. At another rate than the sensor's both sides get bytes that are none of theirs.
struct Line {
    std::unique_ptr<simulator::clsSensorModel> sensor{};
    OpenProblem problem = OpenProblem::None;
    bool isOpening = false; ///< for ever
    bool echoes = false;
    std::string answer{}; ///< to each question
    bool hasRate = true;
    double delay_s = 0.0;
    std::function<std::string(double)> chatter{}; ///< of something else, by the time
    double pulledAt_s = 1e9;
    OpenFailure ended{}; ///< what is known of that

    std::int32_t rate = 9600;
    bool isOpen = false;
    int openings = 0;
    std::string waiting{}, sent{};
};

std::string scrambled(std::string bytes)
{
    std::ranges::transform(bytes, bytes.begin(), [](char byte) { return static_cast<char>(0x80 | (byte & 0x3F)); });
    return bytes;
}

class Lines : public SerialPort {
public:
    std::map<std::int32_t, Line> all;
    double now_s = 0.0;

    std::int32_t sio_open(std::int32_t port) override
    {
        Line& line = all.at(port);
        ++line.openings;
        line.isOpen = line.problem == OpenProblem::None;
        return line.isOpen ? 0 : -1;
    }
    std::int32_t sio_close(std::int32_t port) override
    {
        all.at(port).isOpen = false;
        return 0;
    }
    std::int32_t sio_baud(std::int32_t port, std::int32_t rate) override
    {
        all.at(port).rate = rate;
        return 0;
    }
    std::int32_t sio_getbaud(std::int32_t port) override { return all.at(port).rate; }
    std::int32_t sio_flush(std::int32_t port, std::int32_t) override
    {
        pass(all.at(port));
        all.at(port).waiting.clear();
        return 0;
    }
    std::int32_t sio_write(std::int32_t port, std::span<const char> bytes) override
    {
        Line& line = all.at(port);
        const std::string sent(bytes.data(), bytes.size());
        line.sent += sent;
        line.waiting += (line.echoes ? sent : "") + line.answer;
        if (line.sensor) {
            line.sensor->Receive(isAtItsRate(line) ? sent : scrambled(sent), now_s);
        }
        return static_cast<std::int32_t>(sent.size());
    }
    std::int32_t sio_iqueue(std::int32_t port) override
    {
        pass(all.at(port));
        return static_cast<std::int32_t>(all.at(port).waiting.size());
    }
    std::int32_t sio_read(std::int32_t port, std::span<char> buffer) override
    {
        Line& line = all.at(port);
        const std::size_t count = line.waiting.copy(buffer.data(), buffer.size());
        line.waiting.erase(0, count);
        return static_cast<std::int32_t>(count);
    }
    std::int32_t sio_data_status(std::int32_t) override { return 0; }
    PortState State(std::int32_t port) override
    {
        return all.at(port).isOpening ? PortState::Opening : all.at(port).isOpen ? PortState::Open : PortState::Closed;
    }
    OpenFailure LastFailure(std::int32_t port) const override
    {
        const Line& line = all.at(port);
        return line.ended.problem != OpenProblem::None ? line.ended : OpenFailure{line.problem, "/dev/tty", {}, {}};
    }
    bool HasVanished(std::int32_t port) const override { return now_s >= all.at(port).pulledAt_s; }
    bool HasRate(std::int32_t port) const override { return all.at(port).hasRate; }
    std::int32_t Delay_ms(std::int32_t port) const override
    {
        return static_cast<std::int32_t>(all.at(port).delay_s * 1000);
    }

private:
    static bool isAtItsRate(const Line& line) { return !line.hasRate || line.rate == line.sensor->LineRate(); }
    void pass(Line& line)
    {
        if (line.sensor) {
            const std::string bytes = line.sensor->Transmit(now_s - line.delay_s);
            line.waiting += isAtItsRate(line) ? bytes : scrambled(bytes);
        }
        line.waiting += line.chatter ? line.chatter(now_s) : "";
    }
};

struct Search {
    static constexpr double kStep_s = 0.05;

    Lines lines;
    std::vector<FindStep> steps;
    double longest_s = 0.0; ///< for one port
    std::unique_ptr<clsFinder> finder;

    /// Another port, with the next number.
    Line& Add(const simulator::SensorOptions* options = nullptr)
    {
        Line& line = lines.all[static_cast<std::int32_t>(lines.all.size() + 1)];
        if (options != nullptr) {
            line.sensor = std::make_unique<simulator::clsSensorModel>(*options);
        }
        return line;
    }
    Line& AddSensor(std::int32_t rate, Format format, bool measures)
    {
        const simulator::SensorOptions options{.lineRate = rate, .format = format};
        Line& line = Add(&options);
        if (measures) {
            line.sensor->Receive("M", 0.0);
        }
        return line;
    }
    void Begin(std::int32_t own = 0)
    {
        std::vector<FindCandidate> candidates;
        for (const auto& [number, line] : lines.all) {
            candidates.push_back({number, "COM " + std::to_string(number), number == own});
        }
        finder =
            std::make_unique<clsFinder>(lines, candidates, [this](const FindStep& step) { steps.push_back(step); });
    }
    bool Step()
    {
        lines.now_s += kStep_s;
        return finder->Step(lines.now_s);
    }
    /// Runs to the end; what became of each port, one character each.
    const std::vector<FoundSensor>& Run(std::int32_t own = 0)
    {
        Begin(own);
        double begun_s = 0.0;
        for (std::size_t before = 0; !Step(); before = steps.back().candidate) {
            begun_s = steps.back().candidate == before ? begun_s : lines.now_s;
            longest_s = std::max(longest_s, lines.now_s - begun_s);
        }
        return finder->Found();
    }
    FindEvent Outcome() const { return steps.back().event; }
};

TEST(Finder, FindsASensorAtEveryRateByItsDump)
{
    for (const std::int32_t rate : {9600, 19200, 38400, 4800, 2400, 1200}) {
        Search search;
        Line& line = search.AddSensor(rate, Format::Binary, false);
        const auto& found = search.Run();
        ASSERT_EQ(found.size(), 1u) << rate;
        EXPECT_EQ(found[0].rate, rate);
        EXPECT_EQ(found[0].serialNo, "004711") << rate;
        EXPECT_EQ(found[0].version, "2.07") << rate;
        EXPECT_FALSE(found[0].format) << rate;
        EXPECT_FALSE(line.isOpen) << rate;
        EXPECT_EQ(line.sent.find_first_not_of('C'), std::string::npos) << rate << ": " << line.sent;
        EXPECT_LE(search.longest_s, clsFinder::kPort_s) << rate;
        EXPECT_EQ(search.steps[1].rate, 9600) << "the usual rate comes first";
        EXPECT_EQ(modFindText::FoundText(found[0], LanguageEnglish),
                  "COM 1, " + std::to_string(rate) + " bit/s: sensor 004711, version 2.07");
    }
}

TEST(Finder, SensorThatMeasuresIsKnownByItsValuesAndGetsNoByte)
{
    struct Row {
        const char* name;
        std::int32_t depth; ///< index: 4 is a value every 0.8 s
        std::optional<double> distance_mm;
        double noEcho = 0.0;
    };
    for (const Row& row : {Row{"fast", 1, {}}, Row{"slow", 4, {}}, Row{"standing still", 2, 3333.0},
                           Row{"behind the zero", 2, -750.0}, Row{"nothing in sight", 2, {}, 1.0}}) {
        for (const std::int32_t rate : {9600, 38400, 1200}) {
            for (std::int32_t format = FormatAscii; format <= FormatBinaryCrc; ++format) {
                const std::string name = row.name + (" " + std::to_string(rate)) + ", format " + std::to_string(format);
                Search search;
                Line& line = search.AddSensor(rate, static_cast<Format>(format), true);
                line.sensor->SetParameter("301", row.depth);
                line.sensor->SetParameter("304", 0);
                line.sensor->HoldDistance(row.distance_mm);
                line.sensor->Faults().noecho = row.noEcho;
                const auto& found = search.Run();
                ASSERT_EQ(found.size(), 1u) << name;
                EXPECT_EQ(found[0].rate, rate) << name;
                const bool hasUnit = format != FormatAsciiUnit || row.noEcho == 0.0; // no unit without a number
                EXPECT_EQ(found[0].format, hasUnit ? format : FormatAscii) << name;
                EXPECT_EQ(line.sent, "") << name;
                EXPECT_TRUE(line.sensor->IsMeasuring()) << name;
                EXPECT_LE(search.longest_s, clsFinder::kPort_s) << name;
            }
        }
    }
}

TEST(Finder, LinesWithoutASensorSayWhatTheyAre)
{
    const std::string position = "$GPGGA,120000,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47\r\n";
    double told_s = -1.0;
    const auto each = [&told_s](double pause_s, std::string bytes) {
        return [&told_s, pause_s, bytes](double now_s) {
            return now_s - told_s >= pause_s ? (told_s = now_s, bytes) : std::string();
        };
    };
    struct Row {
        const char* name;
        Line line;
        FindEvent outcome;
        bool isAsked;
    };
    const auto once = [](std::string bytes) {
        return [bytes](double now_s) mutable { return now_s >= 0.5 ? std::exchange(bytes, {}) : std::string(); };
    };
    const auto asked = [](std::string answer) { return Line{.answer = std::move(answer)}; };
    Row rows[] = {{"silent", {}, FindEvent::NoAnswer, true},
                  {"silent, far away", {.delay_s = 0.9}, FindEvent::NoAnswer, true},
                  {"echo", {.echoes = true}, FindEvent::OnlyEcho, true},
                  {"another device", {.chatter = each(1.0, position)}, FindEvent::OtherBytes, false},
                  {"one that has spoken once", {.chatter = once("scale 12.3 kg")}, FindEvent::OtherBytes, false},
                  {"one that has shown a value once", {.chatter = once("1.234 m\r\n")}, FindEvent::OtherBytes, false},
                  {"a menu", asked("C\r\nlogin: "), FindEvent::OtherAnswer, true},
                  {"a web page", asked("HTTP/1.1 400\r\nContent-Type: text/html\r\n\r\n<p>the end</p>\r\n"),
                   FindEvent::OtherAnswer, true},
                  {"line noise after the question", asked("\xA5"), FindEvent::NoAnswer, true},
                  {"noise", {.chatter = each(0.1, "\xA5\x00\x3C\x11\xF0\x0D\x0A"s)}, FindEvent::OtherBytes, false},
                  {"zeros", {.chatter = each(0.05, std::string(12, '\0'))}, FindEvent::OtherBytes, false},
                  {"busy", {.problem = OpenProblem::Busy}, FindEvent::NotOpened, false},
                  {"does not open", {.isOpening = true}, FindEvent::NotOpened, false},
                  {"pulled while listening", {.pulledAt_s = 0.5}, FindEvent::Vanished, false},
                  {"pulled while asking", {.pulledAt_s = 3.0}, FindEvent::Vanished, true}};
    for (Row& row : rows) {
        told_s = -1.0;
        Search search;
        search.lines.all[1] = std::move(row.line);
        EXPECT_TRUE(search.Run().empty()) << row.name;
        EXPECT_EQ(search.Outcome(), row.outcome) << row.name << " " << static_cast<int>(search.Outcome());
        EXPECT_TRUE(modFindText::IsOutcome(search.steps.back())) << row.name;
        EXPECT_NE(modFindText::StepText(search.steps.back(), LanguageEnglish), "") << row.name;
        EXPECT_EQ(!search.lines.all[1].sent.empty(), row.isAsked) << row.name;
        EXPECT_TRUE(row.outcome != FindEvent::OtherAnswer || search.lines.all[1].sent == "C") << row.name;
        EXPECT_FALSE(search.lines.all[1].isOpen) << row.name;
        EXPECT_LE(search.longest_s, clsFinder::kPort_s) << row.name;
    }
}

/// A raw line is open before its server says that it does not want the connection.
TEST(Finder, AServerThatEndsTheConnectionIsToldWithItsReason)
{
    for (const double ended_s : {0.5, 3.0}) { // while listening, and while asking
        Search search;
        Line& line = search.Add();
        line.pulledAt_s = ended_s;
        line.ended = {OpenProblem::ClosedAtOnce, "COM 1", {}, "in use"};
        EXPECT_TRUE(search.Run().empty());
        EXPECT_EQ(search.Outcome(), FindEvent::NotOpened) << ended_s;
        EXPECT_EQ(modFindText::StepText(search.steps.back(), LanguageEnglish), // the name stands once
                  "COM 1 closed the connection at once and says: in use");
    }
}

TEST(Finder, AnnouncementDamagedDumpAndRawLineAreNoObstacle)
{
    {
        Search search;
        search.AddSensor(4800, Format::AsciiUnit, false).sensor->PowerOn(2.0);
        ASSERT_EQ(search.Run().size(), 1u) << "the announcement is at another rate than the one that is heard";
        EXPECT_EQ(search.finder->Found()[0].serialNo, "004711");
    }
    {
        Search search;
        Line& line = search.AddSensor(9600, Format::AsciiUnit, false);
        line.sensor->Faults().cutdump = 1.0;
        ASSERT_EQ(search.Run().size(), 1u) << "a dump that is never whole proves a sensor";
        EXPECT_EQ(search.finder->Found()[0].serialNo, "");
        EXPECT_EQ(line.sent, "CC");
    }
    {
        Search search;
        Line& line = search.AddSensor(19200, Format::AsciiUnit, false);
        line.hasRate = false;
        line.delay_s = 0.2;
        ASSERT_EQ(search.Run().size(), 1u);
        EXPECT_EQ(search.finder->Found()[0].rate, 0);
        EXPECT_EQ(line.sent, "C");
    }
}

TEST(Finder, GoesThroughAllPortsAndLeavesItsOwnAlone)
{
    Search search;
    search.AddSensor(9600, Format::AsciiUnit, false).sensor->SetSerialNo("1");
    search.AddSensor(9600, Format::AsciiUnit, false);
    search.Add();
    search.AddSensor(38400, Format::AsciiUnit, false).sensor->SetSerialNo("4");
    const auto& found = search.Run(2);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].serialNo, "1");
    EXPECT_EQ(found[1].serialNo, "4");
    EXPECT_EQ(found[1].port, 4);
    EXPECT_EQ(search.lines.all[2].openings, 0);
    EXPECT_EQ(std::ranges::count(search.steps, FindEvent::Own, &FindStep::event), 1);
}

TEST(Finder, TerminalsAreSearchedBeforeLinesOverTheNetwork)
{
    const FileHandle terminal(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    ASSERT_EQ(unlockpt(terminal.Descriptor()), 0);
    modPComm::PortDevices devices;
    devices.Override(5, "tcp://127.0.0.1:1");
    devices.Override(254, ptsname(terminal.Descriptor()));
    std::vector<std::int32_t> order;
    for (const FindCandidate& candidate : modCandidates::Known(devices, 0)) {
        if (candidate.port == 5 || candidate.port == 254) {
            order.push_back(candidate.port);
        }
    }
    EXPECT_EQ(order, (std::vector<std::int32_t>{254, 5}));
}

TEST(Finder, NeverOpensAPortThatAnotherProgramHas)
{
    Search search;
    search.AddSensor(9600, Format::AsciiUnit, false);
    search.AddSensor(9600, Format::AsciiUnit, false);
    const auto here = std::this_thread::get_id();
    clsFinder finder(
        search.lines, {{1, "COM 1", false, "/dev/one"}, {2, "COM 2", false, "/dev/two"}},
        [&](const FindStep& step) { search.steps.push_back(step); },
        [&](const std::string& device) {
            EXPECT_NE(std::this_thread::get_id(), here) << "the window would wait";
            return device == "/dev/one" ? std::optional(PortUser{812, "terminal"}) : std::nullopt;
        });
    while (!finder.Step(search.lines.now_s += Search::kStep_s)) {
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    EXPECT_EQ(search.lines.all[1].openings, 0);
    EXPECT_EQ(modFindText::StepText(search.steps.front(), LanguageEnglish),
              "COM 1: The device /dev/one is in use by terminal (PID 812).");
    ASSERT_EQ(finder.Found().size(), 1u);
    EXPECT_EQ(finder.Found()[0].port, 2);
}

TEST(Finder, CanBeCancelledAtEachStepAndClosesThePort)
{
    Search whole;
    whole.AddSensor(38400, Format::AsciiUnit, false);
    whole.Add();
    whole.Run();
    const int all = static_cast<int>(whole.lines.now_s / Search::kStep_s);
    for (int steps = 0; steps <= all; ++steps) {
        Search search;
        search.AddSensor(38400, Format::AsciiUnit, false);
        search.Add();
        search.Begin();
        for (int i = 0; i < steps; ++i) {
            search.Step();
        }
        search.finder->Cancel();
        EXPECT_TRUE(search.finder->IsOver()) << steps;
        EXPECT_TRUE(std::ranges::none_of(search.lines.all, [](const auto& line) { return line.second.isOpen; }))
            << steps;
        const std::size_t told = search.steps.size();
        EXPECT_TRUE(search.Step()) << steps;
        EXPECT_EQ(search.steps.size(), told) << steps;
    }
}

} // namespace
