// Many simulated sensors in one thread, as a gateway sees them: real terminals behind links.
#include "simulator/clsSimulatedFleet.h"

#include "tests/support/TemporaryFolder.h"

#include <array>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>
#include <string>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>

namespace simulator {

namespace {

constexpr std::size_t kMostBytes = 4096;

/// A fleet that runs until the end of the test.
struct RunningFleet {
    explicit RunningFleet(const FleetOptions& options) : fleet(options)
    {
        thread = std::thread([this] { fleet.RunUntilReadable(end); });
    }
    ~RunningFleet()
    {
        eventfd_write(end, 1);
        thread.join();
        close(end);
    }
    RunningFleet(const RunningFleet&) = delete;

    clsSimulatedFleet fleet;
    int end = eventfd(0, EFD_CLOEXEC);
    std::thread thread;
};

/// Opens the line, sends, and reads until the answer holds the text, is too long, or is silent for five seconds.
std::string answerOf(const std::string& path, const std::string& command, const std::string& text)
{
    const int port = open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (port < 0 || write(port, command.data(), command.size()) != static_cast<ssize_t>(command.size())) {
        return "no line";
    }
    std::string bytes;
    pollfd input{port, POLLIN, 0};
    while (bytes.find(text) == bytes.npos && bytes.size() < kMostBytes && poll(&input, 1, 5000) == 1) {
        std::array<char, 512> piece{};
        const ssize_t count = read(port, piece.data(), piece.size());
        if (count <= 0) {
            break;
        }
        bytes.append(piece.data(), static_cast<std::size_t>(count));
    }
    close(port);
    return bytes;
}

} // namespace

TEST(SimulatedFleet, EachSensorIsAnotherOneAndOnlyTheFaultyOneHasTheFaults)
{
    const TemporaryFolder folder;
    FleetOptions options;
    options.sensor.faults.omitted = "701";
    options.count = 3;
    options.faulty = 2;
    options.links = folder.path / "links";
    const RunningFleet running(options);
    for (int i = 1; i <= 3; ++i) {
        const std::string dump = answerOf(folder.path / "links" / ("s00" + std::to_string(i)), "C", "end\r\n");
        EXPECT_NE(dump.find("Serial-No: 10000" + std::to_string(i)), dump.npos) << dump;
        EXPECT_EQ(dump.find("701:") == dump.npos, i == 2) << dump;
    }
}

TEST(SimulatedFleet, ALineThatIsOpenedAgainIsServedAgain)
{
    const TemporaryFolder folder;
    FleetOptions options;
    options.count = 2;
    options.links = folder.path;
    const RunningFleet running(options);
    for (int i = 0; i < 3; ++i) {
        for (const char* name : {"s001", "s002"}) {
            EXPECT_EQ(answerOf(folder.path / name, "X", "ready\r\n"), "Sensor ready\r\n") << name << ", time " << i;
        }
    }
}

TEST(SimulatedFleet, ValuesKeepTheirRateAndStandInTheLog)
{
    const TemporaryFolder folder;
    FleetOptions options;
    options.sensor.counts = true;
    options.sensor.values_Hz = 50;
    options.count = 2;
    options.links = folder.path;
    options.logs = folder.path / "logs";
    std::string received;
    {
        const RunningFleet running(options);
        const double start_s = SteadySeconds();
        received = answerOf(folder.path / "s002", "M", "1.023 m\r\n"); // the twentieth
        EXPECT_NEAR(SteadySeconds() - start_s, 0.4, 0.3);
    }
    EXPECT_NE(received.find("1.004 m\r\n"), std::string::npos) << received;
    std::ifstream log(folder.path / "logs/s002.log");
    const std::string text{std::istreambuf_iterator<char>(log), {}};
    EXPECT_NE(text.find(";command M;"), std::string::npos) << text;
    EXPECT_NE(text.find("\n20;"), std::string::npos) << text;
    EXPECT_NE(text.find(";1023 mm;\n"), std::string::npos) << text;
}

} // namespace simulator
