// The device object's port, port numbers, and real terminals.
#include "port/clsPosixPort.h"
#include "simulator/clsPseudoTerminal.h"
#include "tests/support/ScriptedSensor.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <thread>
#include <tuple>
#include <unistd.h>

namespace {

TEST(ComPort, CallsOfOpeningAndClosing)
{
    using Row = std::pair<std::int32_t, std::vector<std::string>>;
    for (const auto& [openResult, calls] : {Row{0, {"close 3", "open 3", "baud 19200", "close 3"}},
                                            Row{-1, {"close 3", "open 3", "close 4", "open 4"}}}) {
        clsScriptedPort port;
        port.OpenResult = openResult;
        {
            clsRVQ device(port, {});
            device.OpenComPort(0, 19200);
            device.OpenComPort(-1, 19200);
            device.OpenComPort(3, 19200);
            EXPECT_EQ(device.PortIsOpen(), openResult == 0);
            device.OpenComPort(4, 9600);
            device.CommBaudrate(14400); // not a usual rate
        }
        EXPECT_EQ(port.Calls, calls);
    }
}

TEST(ComPort, LineErrorsByName)
{
    clsScriptedPort port;
    const clsRVQ device(port, {});
    using Row = std::pair<std::int32_t, const char*>;
    for (const auto& [status, names] : {Row{0, ""}, Row{-3, ""}, Row{16, ""}, Row{5, "Parity Error|Overrun Error"},
                                        Row{15, "Parity Error|Framing Error|Overrun Error|Overflow Error"}}) {
        port.Status = status;
        EXPECT_EQ(device.PortStatusByName(), names) << status;
    }
}

TEST(PortDevices, NumberToDevice)
{
    modPComm::PortDevices devices;
    devices.Use([](std::string_view key) { return key == "COM7" ? "/dev/serial/by-id/x"s : ""s; });
    devices.Override(3, "/dev/pts/7");
    using Row = std::pair<std::int32_t, const char*>;
    for (const auto& [port, device] : {Row{1, "/dev/ttyS0"}, Row{32, "/dev/ttyS31"}, Row{33, "/dev/ttyUSB0"},
                                       Row{64, "/dev/ttyUSB31"}, Row{65, "/dev/ttyACM0"}, Row{96, "/dev/ttyACM31"},
                                       Row{97, ""}, Row{0, ""}, Row{7, "/dev/serial/by-id/x"}, Row{3, "/dev/pts/7"}}) {
        EXPECT_EQ(devices.DeviceOf(port), device) << port;
    }
}

struct PosixLine {
    simulator::clsPseudoTerminal terminal{{}, 38400};
    modPComm::PortDevices devices;
    clsPosixPort port{devices};
    PosixLine() { devices.Override(1, terminal.Path()); }
};

TEST(PosixPort, RawBytesAtTheRateSet)
{
    PosixLine line;
    std::string all, received(300, '\0');
    for (int byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
    }
    ASSERT_EQ(line.port.sio_open(1), 0);
    EXPECT_EQ(line.port.sio_baud(1, 38400), 0);
    EXPECT_EQ(line.port.sio_getbaud(1), 38400);
    ASSERT_TRUE(line.terminal.IsAttached());
    line.terminal.Write(all, 38400);
    // The kernel may deliver the bytes with a delay.
    for (int i = 0; i < 5000 && line.port.sio_iqueue(1) < 256; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(line.port.sio_iqueue(1), 256);
    EXPECT_EQ(line.port.sio_read(1, received), 256);
    EXPECT_EQ(received.substr(0, 256), all);
    EXPECT_EQ(line.port.sio_data_status(1), 0);
    const std::string sent("\n\r\xFF\0\x11", 5); // line ends are sent as they are
    for (const char byte : sent) {
        EXPECT_EQ(line.port.sio_putch(1, static_cast<std::uint8_t>(byte)), 0);
    }
    EXPECT_EQ(line.terminal.Read(38400), sent);
}

TEST(PosixPort, AFullLineTakesLessAndStaysOpen)
{
    PosixLine line;
    const std::string piece(1000, 'x');
    ASSERT_EQ(line.port.sio_open(1), 0);
    std::int32_t taken = 1000, all = 0;
    for (int i = 0; i < 10000 && taken == 1000; ++i) {
        taken = line.port.sio_write(1, piece);
        all += taken;
    }
    EXPECT_LT(taken, 1000);
    EXPECT_EQ(line.port.State(1), PortState::Open);
    all += line.port.sio_putch(1, 'x') == 0 ? 1 : 0; // the system may have made room meanwhile
    std::int32_t arrived = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (arrived < all && std::chrono::steady_clock::now() < end) { // it carries the bytes when it likes
        arrived += static_cast<std::int32_t>(line.terminal.Read(38400).size());
    }
    EXPECT_EQ(arrived, all) << "what was taken, no more and no less";
    EXPECT_EQ(line.terminal.Read(38400), "");
    EXPECT_EQ(line.port.sio_write(1, piece), 1000);
    line.terminal.Unplug();
    EXPECT_LT(line.port.sio_write(1, piece), 0);
    EXPECT_EQ(line.port.State(1), PortState::Closed);
}

TEST(PosixPort, SaysWhyItCannotOpen)
{
    const TemporaryFolder folder;
    PosixLine line;
    clsPosixPort other(line.devices);
    ASSERT_EQ(other.sio_open(1), 0);
    line.devices.Override(2, folder.Write("file", "x"));
    line.devices.Override(3, folder.path / "none");
    line.devices.Override(4, folder.path);
    line.devices.Override(5, "/dev/null");
    const std::pair<std::int32_t, OpenProblem> rows[] = {{1, OpenProblem::Busy},         {2, OpenProblem::NotATerminal},
                                                         {3, OpenProblem::NoDevice},     {4, OpenProblem::NotATerminal},
                                                         {5, OpenProblem::NotATerminal}, {97, OpenProblem::NoDevice}};
    for (const auto& [port, problem] : rows) {
        EXPECT_NE(line.port.sio_open(port), 0) << port;
        EXPECT_EQ(line.port.LastFailure(port).problem, problem) << port;
    }
    other.sio_close(1);
    EXPECT_EQ(line.port.sio_open(1), 0);
}

TEST(PosixPort, WithoutAnOpenPortNothingIsReadOrSent)
{
    PosixLine line;
    line.devices.Override(2, "/dev/null");
    EXPECT_NE(line.port.sio_open(2), 0);
    for (const std::int32_t port : {1, 2, 97}) { // never opened, not a terminal, no such number
        EXPECT_LT(line.port.sio_iqueue(port), 1) << port;
        EXPECT_NE(line.port.sio_putch(port, 'x'), 0) << port;
        EXPECT_EQ(line.port.State(port), PortState::Closed) << port;
    }
}

TEST(PosixPort, ALockedPortIsLeftAsItIs)
{
    PosixLine line;
    const int other = open(line.terminal.Path().c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(other, 0);
    termios before{}, after{};
    tcgetattr(other, &before);
    before.c_lflag |= ECHO;
    tcsetattr(other, TCSANOW, &before);
    flock(other, LOCK_EX);
    ioctl(other, TIOCEXCL);
    ASSERT_EQ(write(other, "on its way", 10), 10);
    EXPECT_NE(line.port.sio_open(1), 0);
    EXPECT_EQ(line.port.LastFailure(1).problem, OpenProblem::Busy);
    int exclusive = 0;
    ioctl(other, TIOCGEXCL, &exclusive);
    EXPECT_EQ(exclusive, 1);
    tcgetattr(other, &after);
    EXPECT_EQ(after.c_lflag, before.c_lflag);
    EXPECT_TRUE(line.terminal.IsAttached());
    EXPECT_EQ(line.terminal.Read(38400), "on its way");
    ioctl(other, TIOCNXCL);
    close(other);
    EXPECT_EQ(line.port.sio_open(1), 0);
}

TEST(PosixPort, TellsThatTheDevicesHaveChanged)
{
    const TemporaryFolder folder;
    PosixLine line;
    const auto link = folder.path / "sensor";
    line.devices.Override(2, link);
    EXPECT_NE(line.port.sio_open(2), 0);
    EXPECT_FALSE(line.port.DevicesChanged(2));
    std::filesystem::create_symlink("/dev/null", link);
    EXPECT_TRUE(line.port.DevicesChanged(2)) << "plugged in";
    EXPECT_NE(line.port.sio_open(2), 0);
    EXPECT_FALSE(line.port.DevicesChanged(2));
    std::filesystem::remove(link);
    std::filesystem::create_symlink(line.terminal.Path(), link);
    EXPECT_TRUE(line.port.DevicesChanged(2)) << "another device";
    line.port.sio_open(2);
    chmod(line.terminal.Path().c_str(), 0640);
    EXPECT_TRUE(line.port.DevicesChanged(2)) << "another permission";
}

} // namespace
