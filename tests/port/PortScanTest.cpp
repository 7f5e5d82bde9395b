// What the system says about serial devices, read from a file system of the test's own.
#include "port/modPortEntries.h"
#include "port/modPortScan.h"
#include "session/modPortMemory.h"
#include "tests/support/FakeSystem.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <tuple>
#include <unistd.h>

namespace {

using namespace std::string_literals;
using modPortEntries::Fit;
using modPortEntries::PortPart;

const FakeSystem::Words kFirst{"Maker", "UART", "A1"}, kSecond{"Maker", "UART", "B2"}, kBare{"Other", "Cable", ""};

TEST(PortScan, TellsWhatIsPluggedInWhereAndUnderWhichNames)
{
    const FakeSystem system;
    system.AddUsb("ttyUSB10", 3, kBare);
    system.AddUsb("ttyUSB2", 2, kFirst);
    system.AddUsb("ttyACM0", 4, {});
    system.AddNode("ttyS0", "pnp0/00:05");
    std::filesystem::create_symlink("../../../../bus/pnp", system.root / "sys/devices/pnp0/00:05/subsystem");
    system.AddNode("ttyS1", "platform/serial8250");
    system.Write("sys/class/tty/ttyS1/type", "0\n"); // reserved by the driver, without hardware
    std::filesystem::create_directories(system.root / "sys/class/tty/tty1");
    system.Write("dev/tty1", "");

    using Row = std::tuple<std::string, std::string, std::string, std::string, std::string>;
    std::vector<Row> found;
    for (const auto& device : modPortScan::Scan(system.root)) {
        found.emplace_back(device.device, modPortScan::ModelOf(device), device.serialNumber, device.position,
                           device.StableName());
    }
    const std::string byPath = "/dev/serial/by-path/pci-0000:00:14.0-usb-0:";
    EXPECT_EQ(found, (std::vector<Row>{
                         {"/dev/ttyACM0", "1a86:7523", "", "1-4", byPath + "4:1.0-port0"},
                         {"/dev/ttyS0", "", "", "pnp 00:05", "/dev/ttyS0"},
                         {"/dev/ttyUSB2", "Maker UART", "A1", "1-2", "/dev/serial/by-id/usb-Maker_UART_A1-if00-port0"},
                         {"/dev/ttyUSB10", "Other Cable", "", "1-3", byPath + "3:1.0-port0"},
                     }));
    const auto byLink = modPortScan::DeviceAt("/dev/serial/by-id/usb-Maker_UART_A1-if00-port0", system.root);
    ASSERT_TRUE(byLink);
    EXPECT_EQ(byLink->device, "/dev/ttyUSB2");
    EXPECT_FALSE(modPortScan::DeviceAt("/dev/ttyS1", system.root)) << "only reserved";
    EXPECT_FALSE(modPortScan::DeviceAt("/dev/ttyUSB7", system.root));

    chmod((system.root / "dev/ttyUSB2").c_str(), 0660);
    chmod((system.root / "dev/ttyACM0").c_str(), 0606);
    const auto may = [&](const char* name) {
        const auto device = modPortScan::DeviceAt(name, system.root).value();
        return std::tuple(device.groupMay, device.othersMay, device.mayUse);
    };
    EXPECT_EQ(may("/dev/ttyUSB2"), std::tuple(true, false, true));
    EXPECT_EQ(may("/dev/ttyACM0"), std::tuple(false, true, true));
}

TEST(PortScan, NonsenseCostsNoMoreThanItsEntry)
{
    const FakeSystem system;
    const std::string words = "sys/devices/usb1/1-2/";
    const auto dev = system.root / "dev", plug = system.root / words;
    system.AddUsb("ttyUSB0", 2, kFirst);
    system.Write(words + "manufacturer", "\x1B[31mRed\x07");
    system.Write(words + "product", std::string(100000, 'x'));
    system.Write(words + "serial", "\xC0\xAF\xED\xA0\x80 Gr\xC3\xBC\xC3\x9F");
    system.Link("dev/serial/by-id/usb-x", "ttyUSB0"); // sorts before any other
    std::filesystem::remove(plug / "idVendor");
    mkfifo((plug / "idVendor").c_str(), 0600); // reading it would block
    std::filesystem::create_symlink("loop", dev / "serial/by-id/loop");
    std::filesystem::create_symlink("../../away", dev / "serial/by-id/away");
    std::filesystem::create_directories(dev / "ttyUSB1");
    std::filesystem::create_symlink("/nowhere", system.root / "sys/class/tty/ttyUSB1");
    std::filesystem::create_directories(system.root / "sys/class/tty/ttyUSB2");
    std::filesystem::create_symlink("device", system.root / "sys/class/tty/ttyUSB2/device");
    system.AddUsb("ttyUSB3", 3, kFirst);
    std::filesystem::remove(dev / "ttyUSB3"); // vanishes while it is read

    const auto devices = modPortScan::Scan(system.root);
    ASSERT_EQ(devices.size(), 1U);
    EXPECT_EQ(devices[0].maker, "?[31mRed?");
    EXPECT_EQ(devices[0].product.size(), 256U);
    EXPECT_EQ(devices[0].serialNumber, "??? Gr\xC3\xBC\xC3\x9F");
    EXPECT_FALSE(modPortScan::DeviceAt("/dev/serial/by-id/loop", system.root));
    EXPECT_TRUE(modPortScan::Scan(system.root / "no such folder").empty());
    for (const char* locks : {"", "1: FLOCK\n-> \xFF\n", "1: FLOCK  ADVISORY  WRITE 99999999999 zz:1:2 0 EOF\n"}) {
        system.Write("proc/locks", locks);
        system.Write("proc/12x/fd", "no folder");
        EXPECT_TRUE(modPortScan::UsersOf({"/dev/ttyUSB0", "/dev/ttyUSB3", "x"}, system.root).empty()) << locks;
    }
}

TEST(PortScan, TellsWhoHasADevice)
{
    const FakeSystem system;
    for (int i = 0; i < 5; ++i) {
        system.AddUsb("ttyUSB" + std::to_string(i), i + 1, kFirst);
    }
    for (const auto& [process, name] : {std::pair(71, "other RVQ"), std::pair(72, "terminal"), std::pair(73, "probe"),
                                        std::pair(getpid(), "this test")}) {
        system.AddProcess(process, name);
    }
    system.Write("proc/locks", system.LockLine(71, "ttyUSB0") + system.LockLine(getpid(), "ttyUSB3"));
    system.Write("var/lock/LCK..ttyUSB1", "        72\n");
    system.Write("var/lock/LCK..ttyUSB4", "        74\n"); // that process has ended
    system.OpenFile(73, 4, "/dev/null");
    system.OpenFile(73, 5, "/dev/ttyUSB2");
    system.OpenFile(getpid(), 5, "/dev/ttyUSB3");
    std::vector<std::string> users;
    for (const auto& [device, user] : modPortScan::UsersOf(
             {"/dev/ttyUSB0", "/dev/ttyUSB1", "/dev/ttyUSB2", "/dev/ttyUSB3", "/dev/ttyUSB4"}, system.root)) {
        users.push_back(device + " " + modPortScan::InWords(user));
    }
    EXPECT_EQ(users, (std::vector{"/dev/ttyUSB0 other RVQ (PID 71)"s, "/dev/ttyUSB1 terminal (PID 72)"s,
                                  "/dev/ttyUSB2 probe (PID 73)"s}));
    using Row = std::pair<const char*, std::int32_t>;
    for (const auto& [device, process] : {Row{"/dev/ttyUSB0", 71}, Row{"/dev/ttyUSB1", 72}, Row{"/dev/ttyUSB2", 0},
                                          Row{"/dev/ttyUSB3", 0}, Row{"/dev/ttyUSB9", 0}}) {
        EXPECT_EQ(modPortScan::LockerOf(device, system.root).value_or(PortUser()).process, process) << device;
    }
}

struct Ports {
    FakeSystem system;
    modPComm::PortDevices devices;
    std::map<std::string, std::string, std::less<>> configured;

    Ports()
    {
        devices.Use([this](std::string_view key) {
            const auto found = configured.find(key);
            return found == configured.end() ? std::string() : found->second;
        });
    }
};

TEST(PortEntries, ExistingDevicesComeFirstAndAreFound)
{
    Ports ports;
    ports.system.AddUsb("ttyUSB1", 2, kFirst);
    ports.system.AddUsb("ttyACM0", 3, kSecond);
    ports.system.AddUsb("ttyXR0", 4, kBare); // no number leads there
    ports.configured["COM7"] = "rfc2217://crane:4001";
    ports.configured["COM200"] = "/dev/serial/by-id/usb-Maker_UART_A1-if00-port0";
    const auto entries = modPortEntries::Entries(ports.devices, ports.system.root);
    ASSERT_EQ(entries.size(), 256U);
    std::vector<std::int32_t> first;
    for (std::size_t i = 0; i < 7; ++i) {
        first.push_back(entries[i].port);
    }
    EXPECT_EQ(first, (std::vector{34, 65, 200, 0, 7, 1, 2}));
    EXPECT_EQ(entries[2].device.device, "/dev/ttyUSB1") << "by its stable name";

    const auto fits = [&](const char* typed) {
        std::vector<std::pair<std::int32_t, Fit>> found;
        for (const auto& entry : entries) {
            const Fit fit = modPortEntries::FitOf(entry, typed);
            if (fit != Fit::None && found.size() < 4) {
                found.emplace_back(entry.port, fit);
            }
        }
        return found;
    };
    using Found = std::vector<std::pair<std::int32_t, Fit>>;
    const auto words = Fit::Words, begins = Fit::NumberBegins, number = Fit::Number;
    EXPECT_EQ(fits("COM 34"), (Found{{34, number}}));
    EXPECT_EQ(fits("com20"), (Found{{200, begins}, {20, number}, {201, begins}, {202, begins}}));
    EXPECT_EQ(fits("uart b2"), (Found{{65, words}})) << "not /dev/ttyUSB2";
    EXPECT_EQ(fits("MAKER a1"), (Found{{34, words}, {200, words}}));
    EXPECT_EQ(fits("crane"), (Found{{7, words}}));
    EXPECT_EQ(fits("cable"), (Found{{0, words}}));
    EXPECT_EQ(fits("UARTA1"), Found()) << "no match goes from one text to the next";
}

TEST(PortMemory, SaysWhenANumberLeadsToAnotherDevice)
{
    Ports ports;
    modGlobals::KnownDevices known;
    const auto warning = [&](std::int32_t port) {
        return modPortMemory::Warning(port, ports.devices, known, LanguageEnglish, ports.system.root);
    };
    const auto remember = [&](std::int32_t port) {
        modPortMemory::Remember(port, ports.devices, known, ports.system.root);
    };
    ports.system.AddUsb("ttyUSB0", 1, kFirst);
    EXPECT_EQ(warning(33), "") << "not known yet";
    remember(33);
    EXPECT_EQ(warning(33), "");
    ports.system.Unplug("ttyUSB0");
    EXPECT_EQ(warning(33), "") << "no device is no other device";
    remember(33);

    ports.system.AddUsb("ttyUSB0", 1, kSecond);
    EXPECT_EQ(warning(33), "COM 33 now leads to another device: Maker UART, B2. Last time it was Maker UART A1.");
    modPortMemory::Learn(33, ports.devices, known, ports.system.root);
    EXPECT_NE(warning(33), "") << "only the operator's choice changes what is known";
    ports.system.AddUsb("ttyUSB1", 2, kFirst);
    EXPECT_EQ(warning(33), "COM 33 now leads to another device: Maker UART, B2. Last time it was Maker UART, A1, "
                           "which is COM 34 now.");
    remember(33);
    EXPECT_EQ(warning(33), "");

    // Without a serial number the socket stands for the device.
    ports.system.AddUsb("ttyUSB2", 5, kBare);
    remember(35);
    ports.system.Link("dev/serial/by-id/usb-Other_Cable-if00-port0", "ttyUSB2");
    EXPECT_EQ(warning(35), "") << "any of its names will do";
    ports.system.Unplug("ttyUSB2");
    ports.system.AddUsb("ttyUSB2", 6, kBare);
    EXPECT_NE(warning(35), "");

    ports.configured["COM33"] = "tcp://crane:4001";
    EXPECT_NE(warning(33).find("another device: tcp://crane:4001. Last"), std::string::npos);
    ports.devices.Override(33, "/dev/ttyUSB1");
    EXPECT_EQ(warning(33), "") << "set for this run by the operator";
}

} // namespace
