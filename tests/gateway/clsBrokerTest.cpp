#include "gateway/clsBroker.h"

#include "base/FileHandle.h"
#include "gateway/clsMqttConnection.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <variant>
#include <vector>

namespace {

using namespace std::chrono_literals;

constexpr BrokerTiming kQuick{.firstPause = 100ms, .longestPause = 400ms, .answer = 1500ms};

bool has(const char* program)
{
    return std::system((std::string("PATH=$PATH:/usr/sbin command -v ") + program + " >/dev/null").c_str()) == 0;
}

bool until(const std::function<bool()>& condition, std::chrono::milliseconds most = 10s)
{
    for (const auto end = std::chrono::steady_clock::now() + most; std::chrono::steady_clock::now() < end;) {
        if (condition()) {
            return true;
        }
        std::this_thread::sleep_for(5ms);
    }
    return condition();
}

sockaddr_in loopback(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int freePort()
{
    const FileHandle socket(::socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    bind(socket.Descriptor(), reinterpret_cast<sockaddr*>(&address), size);
    getsockname(socket.Descriptor(), reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

bool listens(int port)
{
    const FileHandle socket(::socket(AF_INET, SOCK_STREAM, 0));
    const sockaddr_in address = loopback(port);
    return connect(socket.Descriptor(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

/// Brokers that the files of docs/fleet configure, and clients that do not know us.
struct Site {
    TemporaryFolder folder;
    int port = freePort();

    RunningProgram Start(const char* kind = "mosquitto", int member = 0,
                         const std::vector<std::string>& environment = {}) const
    {
        RunningProgram broker(
            {ORVEX_SOURCE_DIR "/tests/gateway/start-broker", kind, folder.path.string(), std::to_string(port + member)},
            folder.path / (std::string(kind) + ".log"), environment);
        until([&] { return listens(port + member) || !broker.IsRunning(); }, 20s);
        return broker;
    }
    BrokerConfig Config(const char* user = "hall-1") const
    {
        BrokerConfig config;
        config.host = "localhost";
        config.port = static_cast<std::uint16_t>(port);
        config.usesTls = true;
        config.ca = folder.path / "certs/ca.crt";
        config.user = user;
        config.passwordFile = folder.path / (std::string(user) + ".password");
        return config;
    }
    RunningProgram Client(const char* program, const std::string& user, std::vector<std::string> words,
                          int member = 0) const
    {
        const std::vector<std::string> common{program,
                                              "-h",
                                              "localhost",
                                              "-p",
                                              std::to_string(port + member),
                                              "--cafile",
                                              (folder.path / "certs/ca.crt").string(),
                                              "-u",
                                              user,
                                              "-P",
                                              "secret of " + user,
                                              "-q",
                                              "1"};
        words.insert(words.begin(), common.begin(), common.end());
        return {words, folder.path / program};
    }
    /// Comes back when it is subscribed: then it hears what is retained.
    RunningProgram Subscriber(int member = 0) const
    {
        Client("mosquitto_pub", "hall-1", {"-r", "-t", "orvex/hall-1/retained", "-m", "x"}, member).Wait();
        RunningProgram client = Client("mosquitto_sub", "viewer", {"-i", "listener", "-v", "-t", "orvex/#"}, member);
        EXPECT_TRUE(until([this] { return HeardTimes("retained x") > 0; }));
        return client;
    }
    std::string Heard() const { return TemporaryFolder::Read(folder.path / "mosquitto_sub"); }
    std::ptrdiff_t HeardTimes(const std::string& line) const
    {
        const std::string heard = Heard();
        std::ptrdiff_t count = 0;
        for (auto at = heard.find(line); at != std::string::npos; at = heard.find(line, at + 1)) {
            ++count;
        }
        return count;
    }
};

/// A caller as the gateway is one: what is not acknowledged is sent again.
struct Caller {
    std::vector<std::string> warnings{};
    std::vector<std::uint64_t> acknowledged{};
    std::vector<BrokerReceived> received{};
    std::string why{};
    int connections = 0, losses = 0;
    bool isUp = false;
    clsBroker broker;

    explicit Caller(const BrokerConfig& config, const BrokerTiming& timing = kQuick)
        : broker(
              config, "hall-1", [this](const std::string& text) { warnings.push_back(text); }, timing)
    {}
    void Serve()
    {
        for (BrokerEvent& event : broker.TakeEvents()) {
            if (std::holds_alternative<BrokerConnected>(event)) {
                EXPECT_FALSE(isUp);
                isUp = true;
                ++connections;
            } else if (const auto* lost = std::get_if<BrokerDisconnected>(&event)) {
                isUp = false;
                ++losses;
                why = lost->why;
            } else if (const auto* taken = std::get_if<BrokerAcknowledged>(&event)) {
                EXPECT_TRUE(isUp);
                acknowledged.push_back(taken->token);
            } else {
                received.push_back(std::get<BrokerReceived>(std::move(event)));
            }
        }
    }
    bool Until(const std::function<bool()>& condition, std::chrono::milliseconds most = 10s)
    {
        return until([&] { return Serve(), condition(); }, most);
    }
    bool Connect()
    {
        return Until([this] { return isUp; });
    }
    void Send(std::uint64_t token)
    {
        broker.Send({{"orvex/hall-1/silo/value", "<" + std::to_string(token) + ">", false, token}});
    }
    /// Sends numbers one after another, each until it is acknowledged.
    bool SendAll(std::uint64_t first, std::uint64_t last)
    {
        int sentOn = -1;
        std::uint64_t done = first - 1;
        return Until(
            [&] {
                for (; !acknowledged.empty(); acknowledged.erase(acknowledged.begin())) {
                    EXPECT_EQ(acknowledged.front(), ++done);
                }
                if (isUp && sentOn != connections) {
                    sentOn = connections;
                    for (std::uint64_t token = done + 1; token <= last; ++token) {
                        Send(token);
                    }
                }
                return done == last;
            },
            40s);
    }
};

class Broker : public testing::Test {
protected:
    void SetUp() override
    {
        for (const char* program : {"mosquitto", "mosquitto_sub", "openssl"}) {
            if (!has(program)) {
                GTEST_SKIP() << program << " is not installed";
            }
        }
    }
    Site site;
};

} // namespace

TEST_F(Broker, TakesAndAcknowledgesInOrderAndBringsCommands)
{
    const RunningProgram mosquitto = site.Start();
    const RunningProgram listener = site.Subscriber();
    Caller caller(site.Config());
    caller.broker.Subscribe({"orvex/hall-1/+/command"});
    caller.Send(99); // before the connection: nothing
    ASSERT_TRUE(caller.Connect()) << caller.why;
    constexpr std::uint64_t kMany = 3000;
    ASSERT_TRUE(caller.SendAll(1, kMany));
    EXPECT_EQ(caller.broker.InFlight(), 0U);
    ASSERT_TRUE(until([this] { return site.HeardTimes("value <3000>") == 1; }));
    EXPECT_EQ(site.HeardTimes("silo/value <"), std::ptrdiff_t{kMany});
    EXPECT_EQ(site.HeardTimes("value <99>"), 1);
    EXPECT_THROW(caller.broker.Send({{"orvex/+/value", "", false, 1}}), std::invalid_argument);

    site.Client("mosquitto_pub", "viewer", {"-t", "orvex/hall-1/silo/command", "-m", "not allowed"}).Wait();
    const std::string large(clsMqttConnection::kLargestPayload + 1, 'x');
    const auto file = site.folder.Write("large", large);
    site.Client("mosquitto_pub", "commander", {"-t", "orvex/hall-1/silo/command", "-f", file.string()}).Wait();
    site.Client("mosquitto_pub", "commander", {"-t", "orvex/hall-1/silo/command", "-m", "start"}).Wait();
    ASSERT_TRUE(caller.Until([&] { return !caller.received.empty(); }));
    EXPECT_EQ(caller.received.front().topic, "orvex/hall-1/silo/command");
    EXPECT_EQ(caller.received.front().payload, "start");
    EXPECT_EQ(caller.warnings.size(), 1U);
}

TEST_F(Broker, OffersWebSocketsWithTlsToThePage)
{
    const RunningProgram mosquitto = site.Start();
    EXPECT_TRUE(until([this] { return listens(site.port + 20); }));
    const std::string request = "GET /mqtt HTTP/1.1\\r\\nHost: localhost\\r\\nUpgrade: websocket\\r\\n"
                                "Connection: Upgrade\\r\\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\\r\\n"
                                "Sec-WebSocket-Version: 13\\r\\nSec-WebSocket-Protocol: mqtt\\r\\n\\r\\n";
    const std::string connect =
        "openssl s_client -quiet -verify_return_error -CAfile certs/ca.crt -connect localhost:" +
        std::to_string(site.port + 20);
    RunningProgram client(
        {"/bin/sh", "-c",
         "cd '" + site.folder.path.string() + "'; { printf '" + request + "'; sleep 1; } | timeout 5 " + connect},
        site.folder.path / "page");
    client.Wait();
    const std::string answer = TemporaryFolder::Read(site.folder.path / "page");
    EXPECT_NE(answer.find("101 Switching Protocols"), std::string::npos) << answer;
}

TEST_F(Broker, PublishesTheWillOfAGatewayThatVanishesOnly)
{
    const RunningProgram mosquitto = site.Start();
    const RunningProgram listener = site.Subscriber();
    for (const bool isKilled : {false, true}) {
        const pid_t child = fork();
        if (child == 0) {
            {
                Caller caller(site.Config());
                caller.broker.SetWill({"orvex/hall-1/status", isKilled ? "killed" : "ended", true});
                caller.Connect();
                caller.broker.Send({{"orvex/hall-1/status", "last word", true, 1}});
                if (isKilled) {
                    raise(SIGKILL);
                }
            }
            _exit(0);
        }
        waitpid(child, nullptr, 0);
    }
    EXPECT_TRUE(until([this] { return site.HeardTimes("status killed") == 1; }));
    EXPECT_GE(site.HeardTimes("status last word"), 1);
    EXPECT_EQ(site.HeardTimes("status ended"), 0);
}

TEST_F(Broker, SaysWhyThereIsNoConnection)
{
    struct Row {
        const char* why;
        std::function<void(BrokerConfig&)> change;
        const char* certificate = "";
    };
    const auto nothing = [](BrokerConfig&) {};
    const auto password = [this](const char* text, std::filesystem::perms mode) {
        const auto file = site.folder.Write("password", text);
        permissions(file, mode);
        return file;
    };
    constexpr auto kOwner = std::filesystem::perms::owner_read;
    const Row rows[] = {
        {"refuses user \"hall-1\" or the password", [&](auto& c) { c.passwordFile = password("wrong\n", kOwner); }},
        {"others can read the password file",
         [&](auto& c) { c.passwordFile = password("x\n", kOwner | std::filesystem::perms::others_read); }},
        {"no password in its first line", [&](auto& c) { c.passwordFile = password("\nx", kOwner); }},
        {"password\" cannot be read: No such file",
         [&](auto& c) { c.passwordFile = site.folder.path / "no password"; }},
        {"asks for a user", [](auto& c) { c.user.clear(); }},
        {"does it want TLS?", [](auto& c) { c.usesTls = false; }},
        {"host \"nowhere.invalid\" is not found: ", [](auto& c) { c.host = "nowhere.invalid"; }},
        {"Connection refused", [](auto& c) { c.port = 1; }},
        {"not accepted: self-signed certificate in certificate chain", [](auto& c) { c.ca.clear(); }},
        {"ca\" cannot be read: No such file", [&](auto& c) { c.ca = site.folder.path / "ca"; }},
        {"has no key without a password",
         [this](auto& c) {
             c.certificate = site.folder.path / "certs/hall-1.crt";
             c.key = site.folder.path / "certs/ca.key";
         }},
        {"not accepted: certificate has expired", nothing, "expired"},
        {"certificate is not for \"localhost\"", nothing, "elsewhere"},
    };
    std::string running = "none";
    RunningProgram mosquitto;
    for (const Row& row : rows) {
        if (running != row.certificate) {
            running = row.certificate;
            mosquitto.Kill();
            site.port = freePort();
            mosquitto = running.empty()
                            ? site.Start()
                            : site.Start("mosquitto", 0,
                                         {"CERTIFICATE=" + running, running == "expired" ? "DAYS=-1" : "DAYS=1",
                                          running == "expired" ? "HOSTS=localhost" : "HOSTS=elsewhere"});
        }
        BrokerConfig config = site.Config();
        row.change(config);
        Caller caller(config);
        EXPECT_TRUE(caller.Until([&] { return caller.losses > 0 || caller.isUp; })) << row.why;
        EXPECT_NE(caller.why.find(row.why), std::string::npos) << row.why << "\nbut it said: " << caller.why;
    }
}

TEST_F(Broker, ThatIsKilledGetsTheRestAfterwards)
{
    RunningProgram mosquitto = site.Start();
    Caller caller(site.Config());
    ASSERT_TRUE(caller.Connect()) << caller.why;
    ASSERT_TRUE(caller.SendAll(1, 10));
    mosquitto.Kill();
    for (std::uint64_t token = 11; token <= 15; ++token) {
        caller.Send(token); // on its way into nothing
    }
    ASSERT_TRUE(caller.Until([&] { return !caller.isUp; }));
    EXPECT_EQ(caller.broker.InFlight(), 0U);
    caller.Send(99); // forgotten
    mosquitto = site.Start();
    const RunningProgram listener = site.Subscriber();
    ASSERT_TRUE(caller.SendAll(11, 500));
    EXPECT_TRUE(until([this] { return site.HeardTimes("value <500>") == 1; }));
    EXPECT_EQ(site.HeardTimes("silo/value <"), 490);
    EXPECT_EQ(caller.connections, 2);
}

TEST_F(Broker, ThatHangsIsNoticedAndKeepsNobodyWaiting)
{
    const RunningProgram mosquitto = site.Start();
    {
        Caller caller(site.Config());
        ASSERT_TRUE(caller.Connect()) << caller.why;
        mosquitto.Signal(SIGSTOP);
        caller.Send(1);
        EXPECT_TRUE(caller.Until([&] { return !caller.isUp; }, 4s));
        EXPECT_NE(caller.why.find("does not acknowledge"), std::string::npos) << caller.why;
        EXPECT_TRUE(caller.Until([&] { return caller.why == "the broker does not answer"; }, 5s)) << caller.why;
        mosquitto.Signal(SIGCONT);
        ASSERT_TRUE(caller.SendAll(1, 1));
        mosquitto.Signal(SIGSTOP);
        std::vector<MqttMessage> much(4000, {"orvex/hall-1/silo/value", std::string(10000, 'x')});
        caller.broker.Send(std::move(much));
    }
    const auto start = std::chrono::steady_clock::now();
    {
        Caller caller(site.Config(), {}); // in the middle of the handshake
        caller.Serve();
        std::this_thread::sleep_for(100ms);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, 2500ms);
    mosquitto.Signal(SIGCONT);
}

TEST_F(Broker, ThatDropsPacketsKeepsTheNextOneWaitingForABoundedTime)
{
    const RunningProgram mosquitto = site.Start();
    const FileHandle full(::socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    bind(full.Descriptor(), reinterpret_cast<sockaddr*>(&address), size);
    listen(full.Descriptor(), 0);
    getsockname(full.Descriptor(), reinterpret_cast<sockaddr*>(&address), &size);
    std::vector<FileHandle> waiting; // the system drops what comes while the queue is full
    for (int i = 0; i < 4; ++i) {
        waiting.emplace_back(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0));
        connect(waiting.back().Descriptor(), reinterpret_cast<const sockaddr*>(&address), size);
    }
    BrokerConfig config = site.Config();
    config.host = "127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + ", localhost";
    Caller caller(config);
    EXPECT_TRUE(caller.Until([&] { return caller.losses > 0; }, 5s));
    EXPECT_EQ(caller.why, "no connection to the broker: Connection timed out");
    EXPECT_TRUE(caller.Until([&] { return caller.isUp; }, 5s)) << caller.why;
}

TEST_F(Broker, OfThreeInAClusterMayGo)
{
    if (!has("nats-server")) {
        GTEST_SKIP() << "nats-server is not installed";
    }
    constexpr const char* kNames[] = {"", "nats-1", "nats-2", "nats-3"};
    RunningProgram members[4];
    members[1] = site.Start(kNames[1], 1); // makes the certificates
    members[2] = site.Start(kNames[2], 2);
    members[3] = site.Start(kNames[3], 3);
    BrokerConfig config = site.Config();
    const std::string first = std::to_string(site.port + 1);
    config.port = static_cast<std::uint16_t>(site.port + 2);
    config.host = "localhost:" + first + ", localhost";
    Caller caller(config, {.firstPause = 100ms, .longestPause = 400ms, .answer = 5s});
    ASSERT_TRUE(caller.Until([&] { return caller.isUp; }, 90s)) << caller.why;
    const RunningProgram listener = site.Subscriber(3);
    ASSERT_TRUE(caller.SendAll(1, 200)) << caller.why;
    members[1].Kill();
    ASSERT_TRUE(caller.SendAll(201, 400)) << caller.why;
    EXPECT_TRUE(until([this] { return site.HeardTimes("value <400>") > 0; }, 60s));
    for (int i = 1; i <= 400; ++i) {
        EXPECT_GE(site.HeardTimes("value <" + std::to_string(i) + ">"), 1) << i;
    }
}
