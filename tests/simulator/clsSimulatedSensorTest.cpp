// The simulated sensor on a real pseudo-terminal, as another program sees it.
#include "simulator/clsSimulatedSensor.h"

#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <vector>

namespace simulator {

namespace {

namespace fs = std::filesystem;

/// A program at the other end of the line.
struct Client {
    const int port;

    explicit Client(const std::string& path) : port(open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK)) {}
    ~Client() { close(port); }
    Client(const Client&) = delete;

    /// Reads until `count` bytes are there, the line hangs up or is silent for five seconds.
    std::string Read(std::size_t count) const
    {
        std::string bytes;
        pollfd input{port, POLLIN, 0};
        while (bytes.size() < count && poll(&input, 1, 5000) == 1) {
            char byte = 0;
            if (read(port, &byte, 1) != 1) {
                break;
            }
            bytes.push_back(byte);
        }
        return bytes;
    }
};

} // namespace

TEST(SimulatedSensor, WhatOneClientLeftUnreadDoesNotReachTheNext)
{
    clsPseudoTerminal terminal({}, 9600);
    terminal.Write("nobody", 9600);
    {
        const Client first(terminal.Path());
        ASSERT_TRUE(terminal.IsAttached());
        terminal.Write("first", 9600);
        EXPECT_EQ(first.Read(5), "first");
        terminal.Write("unread", 9600);
    }
    ASSERT_FALSE(terminal.IsAttached());
    const Client second(terminal.Path());
    terminal.Write("new", 9600);
    EXPECT_EQ(second.Read(3), "new");
}

TEST(SimulatedSensor, LinkIsReplacedWhenStaleAndTakenAwayAtTheEnd)
{
    const TemporaryFolder folder;
    const fs::path link = folder.path / "port";
    fs::create_symlink("/nowhere/at/all", link);
    {
        const clsSimulatedSensor sensor({}, link);
        EXPECT_EQ(sensor.Path(), link);
        const Client client(link);
        ASSERT_EQ(write(client.port, "X", 1), 1);
        EXPECT_EQ(client.Read(14), "Sensor ready\r\n");
    }
    EXPECT_TRUE(fs::is_empty(folder.path)) << "neither the link nor its temporary name is left";
}

TEST(SimulatedSensor, LinkIsRefusedWhereAFileLivesOrAFolderIsMissing)
{
    const TemporaryFolder folder;
    const fs::path file = folder.Write("notes", "mine");
    EXPECT_THROW(clsSimulatedSensor({}, file), std::runtime_error);
    EXPECT_THROW(clsSimulatedSensor({}, folder.path / "missing" / "port"), std::runtime_error);
    EXPECT_EQ(fs::file_size(file), 4U);
}

TEST(SimulatedSensor, LinkIsLeftAloneWhenItPointsElsewhere)
{
    const TemporaryFolder folder;
    const fs::path link = folder.path / "port";
    {
        const clsSimulatedSensor first({}, link);
        fs::remove(link);
        fs::create_symlink("/nowhere", link);
    }
    EXPECT_TRUE(fs::is_symlink(link));
}

TEST(SimulatedSensor, LogSaysWhatWasSentAndWhetherAnybodyHeardIt)
{
    const TemporaryFolder folder;
    const fs::path log = folder.path / "log";
    {
        clsSimulatedSensor sensor({.lineRate = 38400, .format = Format::Ascii, .values_Hz = 100, .counts = true}, {},
                                  log);
        {
            const Client client(sensor.Path());
            ASSERT_EQ(write(client.port, "M", 1), 1);
            EXPECT_EQ(client.Read(42), "       1.004\r\n       1.005\r\n       1.006\r\n");
        }
        // The program has gone, and the sensor goes on, however many it has sent by now.
        for (std::int64_t first = 0, last = 0; first == 0 || last < first + 30;) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10)); // each look takes the sensor's lock
            sensor.With([&](const clsSensorModel& model) {
                last = model.JustSent().empty() ? last : model.JustSent().back().number;
                first = first == 0 ? last : first;
            });
        }
    }
    std::ifstream file(log);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        constexpr std::string_view kTime = "22.11.2026 13:05:07,250;123";
        const std::size_t time = line.find(';') + 1;
        lines.push_back(lines.empty() ? line : line.replace(time, kTime.size(), "TIME"));
    }
    ASSERT_GT(lines.size(), 6U);
    EXPECT_EQ(lines[0], "number;time;us;value;fault");
    EXPECT_EQ(lines[1], ";TIME;command M;");
    EXPECT_EQ(lines[2], "1;TIME;1004 mm;");
    EXPECT_EQ(lines[4], "3;TIME;1006 mm;");
    EXPECT_TRUE(lines.back().ends_with("unheard")) << lines.back();
    EXPECT_THROW(clsSimulatedSensor({}, {}, folder.path / "missing" / "log"), std::runtime_error);
}

} // namespace simulator
