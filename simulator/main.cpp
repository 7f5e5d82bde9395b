// rvqsim: a simulated sensor on a pseudo-terminal, for any program that talks to a serial port.
#include "simulator/clsSimulatedFleet.h"
#include "simulator/clsSimulatedSensor.h"
#include "simulator/modReplayRun.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <exception>
#include <getopt.h>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <optional>
#include <signal.h>
#include <string>
#include <string_view>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace {

using namespace simulator;

constexpr int kBadArguments = 2;

struct Arguments {
    SensorOptions sensor;
    std::string link, log, replay;
    std::int32_t many = 0, faulty = 0; ///< see FleetOptions; 0: not given
    bool isOfSensor = false;           ///< an option of the simulated sensor was given
};

constexpr double kLowestRate = 0.1;   // values per second
constexpr double kHighestRate = 1000; // the line carries 960 binary ones

enum Choice : int {
    Link = 1,
    Type,
    Fault,
    Attenuator,
    LegacyDump,
    ShortAck,
    Rate,
    Seed,
    OutputFormat,
    Values,
    Count,
    Log,
    Replay,
    Many,
    Faulty,
    Help,
    Version
};

constexpr option kOptions[] = {{"link", required_argument, nullptr, Link},
                               {"type", required_argument, nullptr, Type},
                               {"fault", required_argument, nullptr, Fault},
                               {"attenuator", required_argument, nullptr, Attenuator},
                               {"legacy-dump", no_argument, nullptr, LegacyDump},
                               {"short-ack", no_argument, nullptr, ShortAck},
                               {"rate", required_argument, nullptr, Rate},
                               {"seed", required_argument, nullptr, Seed},
                               {"format", required_argument, nullptr, OutputFormat},
                               {"values", required_argument, nullptr, Values},
                               {"count", no_argument, nullptr, Count},
                               {"log", required_argument, nullptr, Log},
                               {"replay", required_argument, nullptr, Replay},
                               {"many", required_argument, nullptr, Many},
                               {"faulty", required_argument, nullptr, Faulty},
                               {"help", no_argument, nullptr, Help},
                               {"version", no_argument, nullptr, Version},
                               {nullptr, 0, nullptr, 0}};

void printHelp()
{
    std::cout << "Usage: rvqsim [OPTION]...\n"
                 "Plays a laser distance sensor on a pseudo-terminal, prints its path and runs until stopped.\n\n"
                 "  --link PATH          put a symbolic link to the terminal at PATH\n"
                 "  --type serial|profibus\n"
                 "  --fault NAME=RATE    switch a fault on (0..1, below); may be repeated\n"
                 "  --attenuator TEXT    echo parameters exist when it contains an E (default E)\n"
                 "  --legacy-dump        write \"3 06:\" for \"306:\" in the configuration dump\n"
                 "  --short-ack          acknowledge with \"OK\" alone\n"
                 "  --rate BIT_S         1200, 2400, 4800, 9600 (default), 19200 or 38400\n"
                 "  --seed N             another scene and other chances\n"
                 "  --format NAME        ASCII, ASCII+UNIT (default), BINARY or BINARY+CRC\n"
                 "  --values HZ          values per second (0.1..1000), whatever the averaging depth\n"
                 "  --count              the distance counts the values, 1 mm each, and shows no scene\n"
                 "  --log FILE           write every value with its number and the time of its last byte\n"
                 "  --replay FILE        say what a file of recorded line traffic has; only --link goes with it\n"
                 "  --many N             N sensors (1..500); PATH of --link and FILE of --log are folders then, with\n"
                 "                       s001, s002, ... and s001.log, s002.log, ...\n"
                 "  --faulty N           of many, only the Nth has the faults\n"
                 "  --help, --version\n\nSIGUSR1 switches the sensor off and on: it then works with what it has "
                 "stored.\n\nFaults:\n";
    for (const FaultRow& row : kFaultRows) {
        std::cout << "  " << std::left << std::setw(10) << row.name << " " << row.help << "\n";
    }
    std::cout << "\nFaults of one parameter, given as NAME=CODE:\n";
    for (const CodeFaultRow& row : kCodeFaultRows) {
        std::cout << "  " << std::left << std::setw(10) << row.name << " " << row.help << "\n";
    }
}

template <typename Number>
std::optional<Number> wholeNumber(std::string_view text)
{
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

std::optional<Format> formatOf(std::string_view name)
{
    const auto text = std::ranges::find(kFormatTexts, name);
    if (text == std::end(kFormatTexts)) {
        return std::nullopt;
    }
    return static_cast<Format>(text - std::begin(kFormatTexts));
}

/// A rate of values; 0 for a text that is none.
double valuesOf(std::string_view text)
{
    double rate = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), rate);
    const bool isNumber = error == std::errc{} && end == text.data() + text.size();
    return isNumber && rate >= kLowestRate && rate <= kHighestRate ? rate : 0;
}

/// 0 for a text that is none of 1 to 500.
std::int32_t numberOfSensor(std::string_view text)
{
    const std::int32_t number = wholeNumber<std::int32_t>(text).value_or(0);
    return number >= 1 && number <= clsSimulatedFleet::kMostSensors ? number : 0;
}

bool isOneLineWithoutEnd(std::string_view text)
{
    for (const char character : text) {
        if (static_cast<unsigned char>(character) < ' ') {
            return false;
        }
    }
    return text.find("end") == text.npos;
}

/// Puts one option into the arguments; returns what is wrong with it, empty when nothing is.
std::string takeOption(int choice, const std::string& text, Arguments& arguments)
{
    SensorOptions& sensor = arguments.sensor;
    switch (choice) {
    case Link:
        arguments.link = text;
        return text.empty() ? "the link needs a path" : "";
    case Type:
        sensor.kind = text == "profibus" ? DeviceKind::Profibus : DeviceKind::Serial;
        return text == "profibus" || text == "serial" ? "" : "the type is serial or profibus, not \"" + text + "\"";
    case Fault:
        return ParseFault(text, sensor.faults);
    case Attenuator:
        sensor.attenuator = text;
        return isOneLineWithoutEnd(text) ? "" : "the attenuator is one line of text without the word \"end\"";
    case LegacyDump:
        sensor.isLegacyDump = true;
        return {};
    case ShortAck:
        sensor.isShortAcknowledge = true;
        return {};
    case Rate:
        sensor.lineRate = wholeNumber<std::int32_t>(text).value_or(0);
        return RateIndex(sensor.lineRate) ? "" : "the sensor has no rate of \"" + text + "\"";
    case OutputFormat:
        sensor.format = formatOf(text).value_or(Format::AsciiUnit);
        return formatOf(text) ? "" : "the sensor has no format \"" + text + "\"";
    case Values:
        sensor.values_Hz = valuesOf(text);
        return *sensor.values_Hz > 0 ? "" : "the values per second are 0.1 to 1000, not \"" + text + "\"";
    case Count:
        sensor.counts = true;
        return {};
    case Log:
        arguments.log = text;
        return text.empty() ? "the log needs a path" : "";
    case Replay:
        arguments.replay = text;
        return text.empty() ? "the recording needs a path" : "";
    case Many:
        arguments.many = numberOfSensor(text);
        return arguments.many > 0 ? "" : "the sensors are 1 to 500, not \"" + text + "\"";
    case Faulty:
        arguments.faulty = numberOfSensor(text);
        return arguments.faulty > 0 ? "" : "the faulty sensor is one of 1 to 500, not \"" + text + "\"";
    default: // Seed
        sensor.seed = wholeNumber<std::uint64_t>(text).value_or(0);
        return wholeNumber<std::uint64_t>(text) ? "" : "the seed is a whole number, not \"" + text + "\"";
    }
}

/// Fills the arguments. Returns the exit status when there is nothing to run.
std::optional<int> readArguments(int argc, char* argv[], Arguments& arguments)
{
    for (int choice = 0; (choice = getopt_long(argc, argv, "", kOptions, nullptr)) != -1;) {
        if (choice == Help) {
            printHelp();
            return 0;
        }
        if (choice == Version) {
            std::cout << "rvqsim " ORVEX_VERSION "\n";
            return 0;
        }
        if (choice == '?') {
            return kBadArguments; // getopt has said why
        }
        arguments.isOfSensor = arguments.isOfSensor || (choice != Link && choice != Replay);
        const std::string wrong = takeOption(choice, optarg != nullptr ? optarg : "", arguments);
        if (!wrong.empty()) {
            std::cerr << "rvqsim: " << wrong << "\n";
            return kBadArguments;
        }
    }
    if (!arguments.replay.empty() && arguments.isOfSensor) {
        std::cerr << "rvqsim: only --link goes with --replay\n";
        return kBadArguments;
    }
    if (arguments.faulty > arguments.many) {
        std::cerr << "rvqsim: there is no sensor " << arguments.faulty << " (--many)\n";
        return kBadArguments;
    }
    if (optind < argc) {
        std::cerr << "rvqsim: what is \"" << argv[optind] << "\"? (--help)\n";
        return kBadArguments;
    }
    return std::nullopt;
}

/// Many sensors, until a signal other than SIGUSR1 comes.
void playFleet(const Arguments& arguments, const sigset_t& signals)
{
    clsSimulatedFleet fleet({arguments.sensor, arguments.many, arguments.faulty, arguments.link, arguments.log});
    for (const std::string& path : fleet.Paths()) {
        std::cout << path << "\n";
    }
    std::cout << std::flush;
    const int descriptor = signalfd(-1, &signals, SFD_CLOEXEC);
    signalfd_siginfo received{};
    for (;;) {
        fleet.RunUntilReadable(descriptor);
        if (read(descriptor, &received, sizeof received) != sizeof received || received.ssi_signo != SIGUSR1) {
            break;
        }
        fleet.Restart();
    }
    close(descriptor);
}

} // namespace

int main(int argc, char* argv[])
{
    Arguments arguments;
    if (const auto status = readArguments(argc, argv, arguments)) {
        return *status;
    }
    // Blocked before the sensor's thread exists, so that the signals wait for sigwait here and interrupt nothing.
    sigset_t endSignals;
    sigemptyset(&endSignals);
    sigaddset(&endSignals, SIGHUP);
    sigaddset(&endSignals, SIGINT);
    sigaddset(&endSignals, SIGTERM);
    sigset_t signals = endSignals;
    sigaddset(&signals, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    try {
        if (!arguments.replay.empty()) {
            return PlayRecording(arguments.replay, arguments.link, endSignals);
        }
        if (arguments.many > 0) {
            playFleet(arguments, signals);
            return 0;
        }
        clsSimulatedSensor sensor(arguments.sensor, arguments.link, arguments.log);
        std::cout << sensor.Path() << std::endl;
        int received = 0;
        while (sigwait(&signals, &received) == 0 && received == SIGUSR1) {
            sensor.Restart();
        }
    } catch (const std::exception& error) {
        std::cerr << "rvqsim: " << error.what() << "\n";
        return 1;
    }
    return 0;
}
