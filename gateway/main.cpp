// rvqd: serves many sensors and publishes their values through a broker.
#include "base/StandardFiles.h"
#include "base/modAPI.h"
#include "gateway/clsBroker.h"
#include "gateway/clsCommands.h"
#include "gateway/clsGateway.h"
#include "gateway/clsJournal.h"
#include "gateway/clsJsonFormat.h"
#include "gateway/clsRefusals.h"
#include "gateway/clsSparkplugFormat.h"
#include "gateway/modService.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <filesystem>
#include <malloc.h>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace {

enum ExitCode : int { ExitDone = 0, ExitFailed = 1, ExitUsage = 2 };

constexpr char kHelp[] =
    "Usage: rvqd [--config FILE] [--check]\n"
    "Serves the sensors of a configuration and publishes their values through an MQTT broker.\n"
    "\n"
    "  --config FILE  the configuration, /etc/orvex/gateway.ini by default\n"
    "  --check        say what is wrong with the configuration, as FILE:LINE: text, and end: 0 if nothing is, else 1\n"
    "  --help         print this and end\n"
    "  --version      print the version and end\n"
    "\n"
    "SIGHUP reads the configuration again: sensors that it does not change go on undisturbed, and one with problems "
    "is\n"
    "not taken over. SIGTERM and SIGINT end the program: sensors that measure are stopped and left idle, whether they\n"
    "measured before or not; a start of the program starts them again where Measure=yes.\n";

struct Options {
    std::filesystem::path config = "/etc/orvex/gateway.ini";
    bool checks = false;
};

/// "FILE:LINE", or "FILE" for what has no line.
std::string placeOf(const std::filesystem::path& file, const ConfigProblem& problem)
{
    return problem.line > 0 ? file.string() + ":" + std::to_string(problem.line) : file.string();
}

int checkOnly(const std::filesystem::path& file)
{
    const ReadGatewayConfig read = LoadGatewayConfig(file);
    for (const ConfigProblem& problem : read.problems) {
        std::printf("%s: %s\n", placeOf(file, problem).c_str(), problem.text.c_str());
    }
    return read.problems.empty() ? ExitDone : ExitFailed;
}

/// Nothing when it has problems, which go to the log.
std::optional<GatewayConfig> load(const std::filesystem::path& file)
{
    ReadGatewayConfig read = LoadGatewayConfig(file);
    for (const ConfigProblem& problem : read.problems) {
        modService::Log(LogLevel::Error, placeOf(file, problem) + ": " + problem.text);
    }
    return read.problems.empty() ? std::optional(std::move(read.config)) : std::nullopt;
}

std::unique_ptr<MessageFormat> makeFormat(const GatewayConfig& config, std::uint8_t& nextBirths)
{
    if (config.broker.format == PayloadKind::Sparkplug) {
        return std::make_unique<clsSparkplugFormat>(config.broker.prefix, config.name, ORVEX_VERSION, nextBirths,
                                                    modAPI::LocalTime);
    }
    return std::make_unique<clsJsonFormat>(config.broker.prefix, config.name, ORVEX_VERSION);
}

std::unique_ptr<BrokerLine> makeBroker(const GatewayConfig& config)
{
    return std::make_unique<clsBroker>(config.broker, config.name,
                                       [](const std::string& text) { modService::Log(LogLevel::Warning, text); });
}

/// The service manager takes the time of this call for the beginning of the reload.
void tellReloading()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const std::int64_t usec = static_cast<std::int64_t>(now.tv_sec) * 1000000 + now.tv_nsec / 1000;
    modService::Notify("RELOADING=1\nMONOTONIC_USEC=" + std::to_string(usec));
}

/// One passes the other what it has to say.
struct Service {
    clsJournal journal;
    std::uint8_t nextBirths; ///< goes on when the configuration makes another format
    std::unique_ptr<clsGateway> gateway;
    clsCommands commands;
    clsRefusals refusals;

    explicit Service(const GatewayConfig& config)
        : journal(config.folder, {config.journal_MiB << 20, config.journal_days}),
          nextBirths(static_cast<std::uint8_t>(journal.Run())),
          commands(config.allowed, modAPI::LocalTime(), [this](const CommandAnswer& answer) { tell(answer); })
    {
        const CommandHooks hooks{
            .begin = [this](std::string_view sensor, clsSession& session) { commands.Add(sensor, session); },
            .end = [this](std::string_view sensor) { commands.Remove(sensor); },
            .take = [this](const GatewayCommand& command, const BrokerReceived& message,
                           double now) { commands.Take(command, message, now); }};
        gateway = std::make_unique<clsGateway>(
            config, clsGateway::Parts{
                        .journal = journal,
                        .makeFormat = [this](const GatewayConfig& wanted) { return makeFormat(wanted, nextBirths); },
                        .makeBroker = makeBroker,
                        .log = modService::Log,
                        .version = ORVEX_VERSION,
                        .commands = hooks});
    }
    void tell(const CommandAnswer& answer)
    {
        if (answer.result == "refused") {
            if (const auto details = refusals.Take(answer, modAPI::UpTime_s())) {
                gateway->Note(answer.sensor, "refused", *details);
            }
        }
        gateway->Answer(answer);
    }
    void Reload(GatewayConfig config)
    {
        commands.Allow(config.allowed);
        gateway->Reload(std::move(config));
    }
};

void reload(Service& service, const std::filesystem::path& file)
{
    tellReloading();
    if (auto config = load(file)) {
        modService::Log(LogLevel::Info, "the configuration is read again");
        service.Reload(std::move(*config));
    } else {
        modService::Log(LogLevel::Error, "the configuration has problems, so the one before stays");
    }
    modService::Notify("READY=1");
}

/// Until a signal ends it.
void serve(Service& service, modService::Signals& signals, const std::filesystem::path& file)
{
    constexpr double kMost_s = 1.0, kTellEvery_s = 0.5;
    const auto watchdog_s = modService::WatchdogPeriod_s();
    double alive_s = 0.0, told_s = 0.0;
    std::string status;
    bool isCalled = false;
    for (int signal = 0; signal != SIGTERM && signal != SIGINT; signal = isCalled ? signals.Take() : 0) {
        if (signal == SIGHUP) {
            reload(service, file);
        }
        isCalled = service.gateway->Serve(kMost_s);
        const double now_s = modAPI::UpTime_s();
        if (watchdog_s && now_s >= alive_s) {
            alive_s = now_s + *watchdog_s;
            modService::Notify("WATCHDOG=1");
        }
        if (now_s >= told_s) {
            told_s = now_s + kTellEvery_s;
            const std::string now = service.gateway->Status();
            if (std::exchange(status, now) != now) {
                modService::Notify("STATUS=" + now);
            }
        }
    }
}

/// Nothing when another service has it, or nobody can write in it.
std::unique_ptr<modService::FolderGuard> guardFolder(const std::filesystem::path& folder)
{
    try {
        return std::make_unique<modService::FolderGuard>(folder);
    } catch (const std::system_error& failure) {
        const bool isTaken = failure.code() == std::errc::operation_would_block;
        modService::Log(LogLevel::Error, isTaken ? "another rvqd uses the folder " + folder.string()
                                                 : "the folder " + folder.string() +
                                                       " must be there and the service must be able to "
                                                       "write in it: " +
                                                       failure.code().message());
        return nullptr;
    }
}

int run(const std::filesystem::path& file)
{
    modService::Signals signals;
    const std::optional<GatewayConfig> config = load(file);
    if (!config) {
        return ExitFailed;
    }
    const auto guard = guardFolder(config->folder);
    if (!guard) {
        return ExitFailed;
    }
    Service service(*config);
    service.gateway->WakeBy(signals.Handle());
    modService::Log(LogLevel::Info, "run " + std::to_string(service.journal.Run()) + ", " +
                                        std::to_string(config->sensors.size()) + " sensors");
    modService::Notify("READY=1");
    serve(service, signals, file);
    modService::Notify("STOPPING=1\nSTATUS=sensors are stopped and recordings closed");
    service.gateway->End();
    return ExitDone;
}

/// The code to end with; none: go on.
std::optional<int> readOptions(int argc, char** argv, Options& options)
{
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        if (word == "--help") {
            std::fputs(kHelp, stdout);
            return ExitDone;
        }
        if (word == "--version") {
            std::puts("rvqd " ORVEX_VERSION);
            return ExitDone;
        }
        if (word == "--check") {
            options.checks = true;
        } else if (word == "--config" && i + 1 < argc) {
            options.config = argv[++i];
        } else if (word.starts_with("--config=")) {
            options.config = word.substr(word.find('=') + 1);
        } else {
            std::fprintf(stderr, "rvqd: what is \"%s\"? Try rvqd --help\n", argv[i]);
            return ExitUsage;
        }
    }
    return {};
}

/// Hundreds of threads that allocate now and then need not have a heap of their own each.
void keepSmall()
{
    mallopt(M_ARENA_MAX, 1);
}

} // namespace

int main(int argc, char** argv)
{
    KeepStandardFiles();
    Options options;
    if (const auto code = readOptions(argc, argv, options)) {
        return *code;
    }
    if (options.checks) {
        return checkOnly(options.config);
    }
    setenv("TZ", "UTC", 1); // values of all gateways are on one clock, which no summer time sets
    tzset();
    keepSmall();
    try {
        return run(options.config);
    } catch (const std::exception& failure) {
        modService::Log(LogLevel::Error, failure.what());
        return ExitFailed;
    }
}
