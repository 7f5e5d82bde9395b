// Lines over the network against servers that behave and servers that do not, all on the loopback interface.
#include "port/clsNetPort.h"
#include "port/clsPorts.h"
#include "port/clsTelnet.h"
#include "port/modLineUrl.h"
#include "port/modOpenFailure.h"
#include "sensor/clsRVQ.h"
#include "tests/support/clsLoopbackServer.h"
#include "tests/support/clsScriptedPort.h"
#include "texts/modFunctions.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>

using namespace std::string_literals;

namespace {

TEST(LineUrl, TakesAddressesInFullAndRefusesAllElse)
{
    struct Row {
        const char *text, *host, *port; ///< without a host: refused
    };
    const std::string tooLong = "tcp://" + std::string(254, 'a') + ":1";
    for (const Row& row : {Row{"tcp://crane7.plant-2.example:4001", "crane7.plant-2.example", "4001"},
                           Row{"TCP://10.0.0.7:1/", "10.0.0.7", "1"},
                           Row{"rfc2217://[::1]:65535", "::1", "65535"},
                           Row{"tcp://[fe80::1%eth0]:4001", "fe80::1%eth0", "4001"},
                           Row{"tcp://host", "", ""},
                           Row{"tcp://host:", "", ""},
                           Row{"tcp://:4001", "", ""},
                           Row{"tcp://host:0", "", ""},
                           Row{"tcp://host:65536", "", ""},
                           Row{"tcp://host:+1", "", ""},
                           Row{"tcp://host:4001x", "", ""},
                           Row{"tcp://me@host:4001", "", ""},
                           Row{"tcp://ho st:4001", "", ""},
                           Row{"tcp://host:4001/x", "", ""},
                           Row{"tcp://::1:4001", "", ""},
                           Row{"tcp://[::1:4001", "", ""},
                           Row{"tcp://[]:4001", "", ""},
                           Row{"tcp://[host]:4001", "", ""},
                           Row{"http://host:80", "", ""},
                           Row{"://host:80", "", ""},
                           Row{"host:80", "", ""},
                           Row{"tcp://", "", ""},
                           Row{tooLong.c_str(), "", ""}}) {
        const auto url = modLineUrl::Parse(row.text);
        EXPECT_EQ(url ? url->host : "", row.host) << row.text;
        EXPECT_EQ(url ? url->port : "", row.port) << row.text;
    }
}

/// Options of telnet and of the line, as they are on the wire.
const std::string kDoLine = "\xFF\xFD\x2C", kDontLine = "\xFF\xFE\x2C", kPage = "HTTP/1.1 400 Bad Request\r\n\r\n";
std::string setting(const std::string& body)
{
    return "\xFF\xFA\x2C" + body + "\xFF\xF0";
}

TEST(Telnet, TakesTheLineOutOfWhatTheServerSends)
{
    struct Row {
        const char* name;
        std::string received, data, said;
        std::int32_t errors;
    };
    const Row kRows[] = {
        {"binary value", "\xFF\xFF\x01\xFF\xFF"s, "\xFF\x01\xFF"s, "", 0},
        {"option never asked for, twice",
         "a\xFF\xFD\x18\xFF\xFD\x18"s
         "b",
         "ab", "\xFF\xFC\x18", 0},
        {"line that the server offers, twice", "\xFF\xFB\x2C\xFF\xFB\x2C", "", "\xFF\xFD\x2C", 0},
        {"echo and a terminal that nobody has", "\xFF\xFB\x01\xFF\xFD\x1F", "", "\xFF\xFE\x01\xFF\xFC\x1F", 0},
        {"what was asked for", "\xFF\xFB\x00\xFF\xFD\x00\xFF\xFB\x03"s, "", "", 0},
        {"commands without meaning",
         "1\xFF\xF1\xFF\xF9"s
         "2",
         "12", "", 0},
        {"line errors", setting("\x6A\x06"), "", "", LineErrorOverrun | LineErrorParity},
        {"framing error, break", setting("\x6A\x18"), "", "", LineErrorFraming},
        {"state of a modem", setting("\x6B\x0E"), "", "", 0},
        {"setting of another option",
         "\xFF\xFA\x18\x01\xFF\xF0"s
         "x",
         "x", "", 0},
        {"setting without a value", setting("\x6A") + "x", "x", "", 0},
        {"endless setting", setting("\x65" + std::string(100000, 'a')) + "x", "x", "", 0},
        {"setting that does not end",
         "\xFF\xFA\x2C\x6A\xFF\xFD\x18"s
         "x",
         "x", "\xFF\xFC\x18", 0}};
    for (const Row& row : kRows) {
        for (const std::size_t piece : {std::size_t{1}, row.received.size()}) {
            clsTelnet telnet;
            telnet.Begin();
            telnet.Outgoing().clear();
            std::string data;
            for (std::size_t at = 0; at < row.received.size(); at += piece) {
                telnet.Receive(std::string_view(row.received).substr(at, piece), data);
            }
            EXPECT_EQ(data, row.data) << row.name;
            EXPECT_EQ(telnet.Outgoing(), row.said) << row.name;
            EXPECT_EQ(telnet.TakeLineErrors(), row.errors) << row.name;
        }
    }
}

TEST(Telnet, ARefusalIsFinalAndAServerCannotKeepItTalking)
{
    clsTelnet telnet;
    std::string data, storm;
    for (int i = 0; i < 1000; ++i) {
        storm += kDoLine + kDontLine + "\xFF\xFB\x2C\xFF\xFC\x2C";
    }
    telnet.Receive(kDontLine + kDoLine, data);
    EXPECT_EQ(telnet.Agreed(), clsTelnet::Agreement::Refused);
    telnet = {};
    telnet.Receive(storm, data);
    EXPECT_EQ(telnet.Agreed(), clsTelnet::Agreement::Refused);
    EXPECT_LT(telnet.Outgoing().size(), 100U);
}

TEST(Telnet, BelievesTheServerAboutTheLastRateOnly)
{
    clsTelnet telnet;
    std::string data;
    telnet.SetRate(19200);
    telnet.SetRate(38400);
    telnet.Receive(setting("\x65\x00\x00\x4B\x00"s), data); // the answer to the first
    EXPECT_EQ(telnet.Rate(), 38400);
    telnet.Receive(setting("\x65\x00\x00\x25\x80"s), data);
    EXPECT_EQ(telnet.Rate(), 9600);
    telnet.Receive(setting("\x65\x00\x00\x4B\x00"s), data); // nobody has asked
    EXPECT_EQ(telnet.Rate(), 9600);
}

/// Port 1, with a clock that only the test moves.
struct NetLine {
    double now_s = 100.0;
    modPComm::PortDevices devices;
    clsNetPort port;

    explicit NetLine(const std::string& address, clsNameLookup::Resolve resolve = clsNameLookup::AskSystem)
        : port(devices, std::move(resolve), [this] { return now_s; })
    {
        devices.Override(1, address);
    }

    /// Looks until the condition holds, for at most so long.
    static bool Until(const std::function<bool()>& condition)
    {
        using namespace std::chrono_literals;
        for (int look = 0; look < 10000; ++look) {
            if (condition()) {
                return true;
            }
            std::this_thread::sleep_for(1ms);
        }
        return false;
    }
    bool Reaches(PortState state)
    {
        return Until([&] { return port.State(1) == state; });
    }
    std::string Read(std::size_t count)
    {
        std::string bytes(count, '?');
        const bool came = Until([&] { return port.sio_iqueue(1) >= static_cast<std::int32_t>(count); });
        return came && port.sio_read(1, bytes) == static_cast<std::int32_t>(count) ? bytes : "nothing";
    }
};

TEST(NetPort, CarriesBytesAsTheyAreAndTellsTheEnd)
{
    using Row = std::pair<int, const char*>;
    for (const auto& [family, host] : {Row{AF_INET, "127.0.0.1"}, Row{AF_INET, "localhost"}, Row{AF_INET6, "[::1]"}}) {
        for (const bool isReset : {false, true}) {
            clsLoopbackServer server(family);
            NetLine line("tcp://"s + host + ":" + server.Port());
            ASSERT_EQ(line.port.sio_open(1), 0) << host;
            ASSERT_TRUE(line.Reaches(PortState::Open)) << host;
            server.Accept();
            EXPECT_EQ(line.port.sio_baud(1, 19200), 0);
            EXPECT_EQ(line.port.sio_getbaud(1), 19200);
            EXPECT_EQ(line.port.sio_write(1, "C\xFF\x00"s), 3);
            EXPECT_EQ(server.Hear(3), "C\xFF\x00"s);
            server.Say("\xFF\x00\r"s);
            EXPECT_TRUE(modAPI::WaitForArrival(line.port.ArrivalHandle(1), 20.0));
            EXPECT_EQ(line.Read(3), "\xFF\x00\r"s);
            server.Say("last");
            ASSERT_TRUE(NetLine::Until([&] { return line.port.sio_iqueue(1) == 4; }));
            line.now_s += clsNetLine::kAtOnce_s + 1;
            isReset ? server.Reset() : server.HangUp();
            EXPECT_TRUE(NetLine::Until([&] { return line.port.sio_iqueue(1), line.port.ArrivalHandle(1) < 0; }));
            EXPECT_FALSE(line.port.HasVanished(1)) << "before all was read";
            EXPECT_EQ(line.Read(4), "last");
            EXPECT_TRUE(line.port.HasVanished(1));
            EXPECT_LT(line.port.sio_write(1, "C"s), 0);
            line.port.sio_close(1);
            EXPECT_FALSE(line.port.HasVanished(1));
            EXPECT_EQ(line.port.LastFailure(1).problem, OpenProblem::ConnectionLost);
        }
    }
}

TEST(NetPort, SaysWhyItCannotOpen)
{
    struct Row {
        const char* scheme;
        const char* name;
        void (*act)(clsLoopbackServer&);
        double passes_s;
        OpenProblem problem;
    };
    const Row kRows[] = {{"rfc2217", "says nothing", [](clsLoopbackServer&) {}, 6, OpenProblem::NoRfc2217},
                         {"rfc2217", "sends a web page", [](clsLoopbackServer& server) { server.Say(kPage); }, 6,
                          OpenProblem::NoRfc2217},
                         {"rfc2217", "speaks telnet, but not of lines",
                          [](clsLoopbackServer& server) { server.Say(kDontLine); }, 0, OpenProblem::NoRfc2217},
                         {"rfc2217", "closes in the middle",
                          [](clsLoopbackServer& server) { server.Say("\xFF\xFD"), server.HangUp(); }, 0,
                          OpenProblem::ClosedAtOnce},
                         {"rfc2217", "is switched off", [](clsLoopbackServer& server) { server.Reset(); }, 3,
                          OpenProblem::ConnectionLost}};
    for (const Row& row : kRows) {
        clsLoopbackServer server;
        NetLine line(row.scheme + "://127.0.0.1:"s + server.Port());
        ASSERT_EQ(line.port.sio_open(1), 0);
        ASSERT_EQ(line.port.State(1), PortState::Opening) << row.name;
        server.Accept();
        row.act(server);
        line.now_s += row.passes_s;
        EXPECT_TRUE(NetLine::Until([&] {
            EXPECT_LE(line.port.sio_iqueue(1), 0) << row.name; // nothing comes of a line that is not open yet
            return line.port.State(1) == PortState::Closed;
        })) << row.name;
        EXPECT_EQ(line.port.LastFailure(1).problem, row.problem) << row.name;
        EXPECT_FALSE(line.port.HasVanished(1)) << row.name;
        line.port.sio_open(1);
        server.Accept();
        server.Say("web page" + kDoLine); // what was before the line is not part of it
        EXPECT_TRUE(line.Reaches(PortState::Open)) << row.name;
        EXPECT_EQ(line.port.LastFailure(1).problem, OpenProblem::None) << row.name;
        EXPECT_EQ(line.port.sio_iqueue(1), 0) << row.name;
    }
}

TEST(NetPort, AServerThatClosesAtOnceIsQuoted)
{
    struct Row {
        const char* scheme;
        std::string said;
        double passes_s;
        const char* text; ///< the end of it
    };
    for (const Row& row :
         {Row{"tcp", "Port already in use\r\n", 0, "closed the connection at once and says: Port already in use"},
          Row{"rfc2217", "Port already in use\r\n", 1, "says: Port already in use"},
          Row{"tcp", "\x1B[2J" + std::string(100, 'x'), 0,
              "says: ?[2Jxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx…"},
          Row{"tcp", "\r\n", 0, "closed the connection at once."}, Row{"tcp", "   1.234 m\r\n", 3, "was lost."},
          Row{"tcp", std::string(300, 'x'), 0, "was lost."}}) {
        clsLoopbackServer server;
        NetLine line(row.scheme + "://127.0.0.1:"s + server.Port());
        line.port.sio_open(1);
        line.port.State(1);
        server.Accept();
        server.Say(row.said);
        server.HangUp();
        line.now_s += row.passes_s;
        EXPECT_TRUE(NetLine::Until([&] {
            return line.port.State(1) == PortState::Closed || (line.port.sio_iqueue(1), line.port.ArrivalHandle(1) < 0);
        }));
        const std::string text = modOpenFailure::Text(line.port.LastFailure(1), LanguageEnglish);
        EXPECT_TRUE(text.ends_with(row.text)) << text;
    }
}

TEST(NetPort, SaysWhyThereIsNoServer)
{
    NetLine nonsense("tcp://nonsense");
    EXPECT_NE(nonsense.port.sio_open(1), 0);
    EXPECT_EQ(nonsense.port.LastFailure(1).problem, OpenProblem::NoAddress);
    EXPECT_EQ(nonsense.port.State(1), PortState::Closed);
    EXPECT_FALSE(nonsense.port.DevicesChanged(1));
    std::string port;
    {
        clsLoopbackServer gone;
        port = gone.Port();
    }
    nonsense.devices.Override(1, "tcp://127.0.0.1:" + port);
    EXPECT_TRUE(nonsense.port.DevicesChanged(1));
    EXPECT_EQ(nonsense.port.sio_open(1), 0);
    EXPECT_TRUE(nonsense.Reaches(PortState::Closed));
    EXPECT_EQ(nonsense.port.LastFailure(1).problem, OpenProblem::Refused);

    using Lookup = std::pair<clsNameLookup::Resolve, OpenProblem>;
    const Lookup kLookups[] = {
        {[](const std::string&, const std::string&) { return HostAnswer(); }, OpenProblem::NoHost},
        {[](const std::string&, const std::string&) { return HostAnswer{.problem = OpenProblem::NameUnresolved}; },
         OpenProblem::NameUnresolved},
        {[](const std::string&, const std::string&) -> HostAnswer { throw std::runtime_error("no memory"); },
         OpenProblem::Other}};
    for (const auto& [resolve, problem] : kLookups) {
        NetLine line("tcp://no.such.host:1", resolve);
        line.port.sio_open(1);
        EXPECT_TRUE(line.Reaches(PortState::Closed));
        EXPECT_EQ(line.port.LastFailure(1).problem, problem);
        EXPECT_NE(modOpenFailure::Text(line.port.LastFailure(1), LanguageGerman), "");
    }
}

TEST(NetPort, ANameThatResolvesSlowlyKeepsNobody)
{
    struct Server {
        std::atomic<int> questions = 0;
        std::atomic<bool> answers = false, hasAnswered = false;
    };
    const auto server = std::make_shared<Server>();
    {
        NetLine line("tcp://slow.example:1", [server](const std::string&, const std::string&) {
            ++server->questions;
            NetLine::Until([&] { return server->answers.load(); });
            server->hasAnswered = true;
            return HostAnswer();
        });
        for (int attempt = 0; attempt < 3; ++attempt) {
            EXPECT_EQ(line.port.sio_open(1), 0);
            EXPECT_EQ(line.port.State(1), PortState::Opening);
            line.now_s += clsNetLine::kOpening_s + 1;
            EXPECT_EQ(line.port.State(1), PortState::Closed);
            EXPECT_EQ(line.port.LastFailure(1).problem, OpenProblem::TimedOut);
        }
        EXPECT_TRUE(NetLine::Until([&] { return server->questions == 1; })) << "an open question is not asked again";
        EXPECT_EQ(line.port.sio_open(1), 0);
    } // the port goes while the question is open
    EXPECT_FALSE(server->hasAnswered);
    server->answers = true;
    EXPECT_TRUE(NetLine::Until([&] { return server->hasAnswered.load(); }));
    EXPECT_EQ(server->questions, 1);
}

TEST(NetPort, AnAnswerBetweenTwoAttemptsServesTheNextUnlessItIsOld)
{
    using Row = std::pair<double, int>;
    for (const auto& [pause_s, questions] : {Row{5.0, 1}, Row{3600.0, 2}}) {
        clsLoopbackServer server;
        std::atomic<int> asked = 0, answered = 0;
        NetLine line("tcp://slow.example:1", [&](const std::string&, const std::string&) {
            const bool isFirst = ++asked == 1;
            NetLine::Until([&] { return !isFirst || answered > 0; });
            ++answered;
            return clsNameLookup::AskSystem("127.0.0.1", server.Port());
        });
        line.port.sio_open(1);
        line.now_s += clsNetLine::kOpening_s + 1;
        EXPECT_EQ(line.port.State(1), PortState::Closed);
        line.port.sio_close(1);
        answered = 1;
        EXPECT_TRUE(NetLine::Until([&] { return answered == 2; }));
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // from the resolver's end to its answer
        line.now_s += pause_s;
        line.port.sio_open(1);
        EXPECT_TRUE(line.Reaches(PortState::Open)) << pause_s;
        EXPECT_EQ(asked, questions) << pause_s;
    }
}

TEST(NetPort, TriesEachAddressOfAHost)
{
    clsLoopbackServer server;
    const auto resolve = [&](const std::string&, const std::string&) {
        HostAnswer answer = clsNameLookup::AskSystem("::1", server.Port()); // nothing listens there
        answer.addresses.push_back(clsNameLookup::AskSystem("127.0.0.1", server.Port()).addresses.front());
        return answer;
    };
    NetLine line("tcp://two.example:1", resolve);
    line.port.sio_open(1);
    EXPECT_TRUE(line.Reaches(PortState::Open));
    EXPECT_EQ(line.port.LastFailure(1).problem, OpenProblem::None);
}

TEST(NetPort, BuffersAreBoundedInBothDirections)
{
    clsLoopbackServer server;
    NetLine line("tcp://127.0.0.1:" + server.Port());
    line.port.sio_open(1);
    ASSERT_TRUE(line.Reaches(PortState::Open));
    server.Accept();
    const std::string much(100000, 'x');
    std::size_t said = server.SayWhatGoes(much) + server.SayWhatGoes(much);
    EXPECT_TRUE(NetLine::Until([&] { return line.port.sio_iqueue(1) == 65536; }));
    EXPECT_EQ(line.port.sio_iqueue(1), 65536);
    std::size_t read = 0;
    std::string piece(5000, ' ');
    NetLine::Until([&] {
        const std::int32_t count = line.port.sio_read(1, piece);
        read += count > 0 ? static_cast<std::size_t>(count) : 0;
        return read == said;
    });
    EXPECT_EQ(read, said);

    std::size_t taken = 0;
    std::int32_t now = 1;
    for (int i = 0; i < 100000 && now > 0; ++i) { // the server does not read
        now = line.port.sio_write(1, much);
        taken += now > 0 ? static_cast<std::size_t>(now) : 0;
    }
    EXPECT_EQ(now, 0);
    EXPECT_EQ(line.port.State(1), PortState::Open);
    EXPECT_EQ(server.Hear(taken - 4096).size() > 0, true);
    EXPECT_TRUE(NetLine::Until([&] { return line.port.sio_write(1, "C"s) == 1; }));
}

TEST(NetPort, AFloodIsReadNoFasterThanALineCouldBring)
{
    clsLoopbackServer server;
    NetLine line("tcp://127.0.0.1:" + server.Port());
    line.port.sio_open(1);
    ASSERT_TRUE(line.Reaches(PortState::Open));
    server.Accept();
    const std::string much(100000, 'x');
    std::string piece(65536, ' ');
    std::size_t said = 0, read = 0;
    const auto takes = [&] { // in no time
        const std::size_t before = read;
        NetLine::Until([&] {
            const bool waits = line.port.sio_iqueue(1) > 0;
            read += waits ? static_cast<std::size_t>(line.port.sio_read(1, piece)) : 0;
            return read == said || line.port.ArrivalHandle(1) < 0;
        });
        return read - before;
    };
    constexpr std::size_t kMore = 100 * clsNetLine::kMostAtOnce; // than the system keeps
    for (std::size_t now = 1; said < kMore && (now > 0 || said < 2 * clsNetLine::kMostAtOnce);) {
        now = server.SayWhatGoes(much);
        said += now;
        takes();
    }
    ASSERT_EQ(read, clsNetLine::kMostAtOnce) << "what a stall has held back comes in one piece";
    EXPECT_EQ(line.port.LastFailure(1).problem, OpenProblem::TooMuch);
    line.now_s += 1.0 / 64;
    EXPECT_EQ(takes(), 0U) << "else the pause would end with every byte";
    line.now_s += 63.0 / 64;
    EXPECT_EQ(takes(), clsNetLine::kMostBytesPerSecond);
    EXPECT_LT(line.port.ArrivalHandle(1), 0);
    for (int second = 0; second < 1000 && read < said; ++second) {
        line.now_s += 1;
        takes();
    }
    EXPECT_EQ(read, said) << "nothing is lost";
    line.now_s += 10;
    EXPECT_EQ(line.port.sio_iqueue(1), 0);
    EXPECT_GE(line.port.ArrivalHandle(1), 0);
    EXPECT_EQ(line.port.LastFailure(1).problem, OpenProblem::None);
}

TEST(NetPort, SetsTheLineWithRfc2217)
{
    clsLoopbackServer server;
    NetLine line("rfc2217://127.0.0.1:" + server.Port());
    line.port.sio_open(1);
    ASSERT_EQ(line.port.State(1), PortState::Opening);
    server.Accept();
    const std::string opening = "\xFF\xFB\x2C\xFF\xFB\x00\xFF\xFD\x00\xFF\xFB\x03\xFF\xFD\x03"s;
    EXPECT_EQ(server.Hear(opening.size()), opening);
    server.Say(kDoLine);
    ASSERT_TRUE(line.Reaches(PortState::Open));
    line.port.sio_iqueue(1);
    const std::string format = setting("\x02\x08") + setting("\x03\x01") + setting("\x04\x01") + setting("\x05\x01") +
                               setting("\x05\x0E") + setting("\x0A\x0E") + setting("\x0B\x00"s);
    EXPECT_EQ(server.Hear(format.size()), format);
    EXPECT_EQ(line.port.sio_baud(1, 19200), 0);
    EXPECT_EQ(line.port.sio_baud(1, 14400), -1);
    EXPECT_EQ(line.port.sio_getbaud(1), 19200);
    line.port.sio_flush(1, 0);
    line.port.sio_write(1, "1\xFF"s);
    const std::string sent = setting("\x01\x00\x00\x4B\x00"s) + setting("\x0C\x01") + "1\xFF\xFF";
    EXPECT_EQ(server.Hear(sent.size()), sent);
    server.Say(setting("\x65\x00\x00\x25\x80"s) + "\xFF\xFF" + setting("\x6A\x08"));
    EXPECT_EQ(line.Read(1), "\xFF");
    EXPECT_EQ(line.port.sio_getbaud(1), 9600) << "as the server has set it";
    EXPECT_EQ(line.port.sio_data_status(1), LineErrorFraming);
    EXPECT_EQ(line.port.sio_data_status(1), 0);
    server.Say(kDontLine);
    EXPECT_TRUE(NetLine::Until([&] { return line.port.sio_iqueue(1), line.port.HasVanished(1); }));
    EXPECT_EQ(line.port.LastFailure(1).problem, OpenProblem::NoRfc2217);
}

TEST(Ports, ANumberLeadsToWhatStandsBehindIt)
{
    clsLoopbackServer server;
    modPComm::PortDevices devices;
    devices.Override(1, "tcp://127.0.0.1:" + server.Port());
    clsPorts ports(devices);
    EXPECT_FALSE(ports.HasRate(1)) << "before it was ever opened";
    EXPECT_TRUE(ports.HasRate(2));
    EXPECT_EQ(ports.sio_open(1), 0);
    EXPECT_TRUE(NetLine::Until([&] { return ports.State(1) == PortState::Open; }));
    devices.Override(1, "/dev/null");
    server.Accept();
    EXPECT_EQ(ports.sio_write(1, "C"s), 1) << "until it is opened again";
    EXPECT_TRUE(ports.DevicesChanged(1));
    EXPECT_EQ(ports.sio_open(1), -1);
    EXPECT_EQ(ports.LastFailure(1).problem, OpenProblem::NotATerminal);
    EXPECT_EQ(server.Hear(2), "C") << "and then the line before is closed";
}

TEST(Deadline, IsLaterByTheDelayOfTheLineUpToABound)
{
    struct SlowPort : clsScriptedPort {
        std::int32_t delay_ms = 0;
        std::int32_t Delay_ms(std::int32_t) const override { return delay_ms; }
    };
    using Row = std::pair<std::int32_t, double>;
    for (const auto& [delay_ms, stretch_ms] : {Row{0, 0}, Row{400, 400}, Row{60000, 2000}, Row{-1, 0}}) {
        SlowPort port;
        port.delay_ms = delay_ms;
        clsRVQ device(port, {});
        device.OpenComPort(1, 9600);
        device.CurrentTime(1000.0);
        device.SendCommand("T");
        EXPECT_NEAR((device.FailTime() - 1000.0) * kMsPerDay, 1500.0 + stretch_ms, 0.1) << delay_ms;
    }
}

} // namespace
