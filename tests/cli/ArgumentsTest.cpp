// What the words of a command line mean.
#include "cli/clsArguments.h"
#include "cli/modDuration.h"
#include "cli/modPlayedTime.h"
#include "port/modPortName.h"
#include "tests/support/TemporaryFolder.h"

#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

constexpr OptionDef kOptions[] = {{"number", 'n', "N", ""}, {"every", 'e', "", ""}, {"quiet", 'q', "", ""}};

/// Options as "name=value", then operands.
std::string read(const std::vector<std::string_view>& words)
{
    try {
        const clsArguments arguments(words, kOptions);
        std::string text;
        for (const OptionDef& option : kOptions) {
            for (const std::string_view value : arguments.Values(option.name)) {
                text += std::string(option.name) + "=" + std::string(value) + " ";
            }
        }
        for (const std::string_view operand : arguments.Operands()) {
            text += "[" + std::string(operand) + "]";
        }
        return text;
    } catch (const UsageError& wrong) {
        return std::string("! ") + wrong.what();
    }
}

TEST(Arguments, OptionsStandAnywhereInEveryUsualForm)
{
    const struct {
        std::vector<std::string_view> words;
        const char* meaning;
    } kRows[] = {
        {{"-n", "3", "a", "--every", "b"}, "number=3 every= [a][b]"},
        {{"-n3", "--number=4", "--number", "5"}, "number=3 number=4 number=5 "},
        {{"-qen7"}, "number=7 every= quiet= "},
        {{"--number=", "-"}, "number= [-]"},
        {{"--number", "--every"}, "number=--every "},
        {{"--", "-n", "--every"}, "[-n][--every]"},
        {{"-n"}, "! --number takes a value: N"},
        {{"--number"}, "! --number takes a value: N"},
        {{"--every=1"}, "! --every takes no value"},
        {{"--never"}, "! unknown option --never"},
        {{"-ex"}, "! unknown option -x"},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(read(row.words), row.meaning);
    }
}

TEST(Arguments, GlobalOptionsEndAtTheCommand)
{
    const std::vector<std::string_view> words{"-q", "-n", "1", "measure", "--unknown"};
    EXPECT_EQ(clsArguments(words, kOptions, true).Read(), 3U);
}

TEST(Durations, NeedAUnitAndARoom)
{
    const struct {
        const char* text;
        double seconds; ///< 0: none
    } kRows[] = {{"500ms", 0.5}, {"10s", 10},  {"1.5min", 90}, {"2h", 7200}, {"1d", 86400}, {"10", 0},    {"0s", 0},
                 {"-1s", 0},     {"1 s", 0},   {"1m", 0},      {"s", 0},     {"", 0},       {"inf s", 0}, {"infs", 0},
                 {"nans", 0},    {"1e99s", 0}, {"2000d", 0},   {"1,5s", 0},  {"10s5", 0}};
    for (const auto& row : kRows) {
        EXPECT_NEAR(modDuration::Seconds(row.text).value_or(0.0), row.seconds, 1e-9) << row.text;
    }
}

TEST(PlayedTimes, CountFromTheBeginningTheDayOrTheCalendar)
{
    const double first = 46000.5; // noon
    const struct {
        const char* text;
        double hours; ///< after the recording's first value; nan: no time
    } kRows[] = {{"90min", 1.5},
                 {"13:30", 1.5},
                 {"13:30:36", 1.51},
                 {"11:00", -1},
                 {"2025-12-09T13:30", 1.5},
                 {"2025-12-09 13:30:36.000", 1.51},
                 {"2025-12-10", 12},
                 {"2025-12-09T13:30:00+01:00", NAN},
                 {"25:00", NAN},
                 {"noon", NAN},
                 {"", NAN}};
    for (const auto& row : kRows) {
        const auto time = modPlayedTime::Parse(row.text);
        ASSERT_EQ(time.has_value(), !std::isnan(row.hours)) << row.text;
        if (time) {
            EXPECT_NEAR((time->TimeIn(first) - first) * 24.0, row.hours, 1e-6) << row.text;
        }
    }
}

TEST(PlayedTimes, TheEndIsBehindTheBeginning)
{
    const double first = 46000.5; // noon
    const struct {
        const char *from, *to;
        double hours;
    } kRows[] = {{"23:00", "01:00", 13}, {"13:00", "14:00", 2}, {"0.1s", "11:00", 23}, {"2h", "1h", 1}};
    for (const auto& row : kRows) {
        const double from = modPlayedTime::Parse(row.from)->TimeIn(first);
        EXPECT_NEAR((modPlayedTime::Parse(row.to)->EndIn(first, from) - first) * 24.0, row.hours, 1e-6) << row.to;
    }
}

TEST(PortNames, LeadToTheNumberThatTheDeviceHas)
{
    TemporaryFolder folder;
    const modPortName::Places places{folder.path / "id", folder.path / "path", "/dev"};
    std::filesystem::create_directory(places.byId);
    folder.Write("id/usb-maker-1", "");
    modPComm::PortDevices devices;
    devices.Override(7, folder.path / "id/usb-maker-1");
    devices.Override(8, "tcp://crane:4001");
    const struct {
        std::string typed;
        std::int32_t number;
        std::string device; ///< of port 255, where it leads there
    } kRows[] = {
        {"12", 12, ""},
        {"/dev/ttyUSB3", 36, ""},
        {"ttyACM0", 65, ""},
        {"usb-maker-1", 7, ""},
        {"tcp://crane:4001", 8, ""},
        {"/dev/pts/9", 255, "/dev/pts/9"},
        {"rfc2217://[::1]:5000", 255, "rfc2217://[::1]:5000"},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(modPortName::NumberOf(row.typed, devices, places), row.number) << row.typed;
        if (!row.device.empty()) {
            EXPECT_EQ(devices.DeviceOf(255), row.device);
        }
    }
    for (const char* wrong : {"", "0", "256", "99999999999", "tcp://crane", "rfc2217://:1"}) {
        EXPECT_THROW(modPortName::NumberOf(wrong, devices, places), std::invalid_argument) << wrong;
    }
}

} // namespace
