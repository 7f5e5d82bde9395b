#include "cli/modCommands.h"

#include "base/PlainText.h"
#include "cli/Apply.h"
#include "cli/Backup.h"
#include "cli/Diff.h"
#include "cli/Find.h"
#include "cli/Get.h"
#include "cli/Info.h"
#include "cli/Laser.h"
#include "cli/Measure.h"
#include "cli/Passport.h"
#include "cli/Play.h"
#include "cli/Ports.h"
#include "cli/Record.h"
#include "cli/Set.h"
#include "cli/Temperature.h"
#include "cli/Traffic.h"
#include "cli/Watch.h"
#include "cli/clsProgram.h"
#include "cli/modSignals.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <iterator>
#include <unistd.h>
#include <vector>

namespace modCommands {

namespace {

constexpr std::size_t kColumn = 26;

constexpr std::string_view kNames =
    "NAME is a code such as 701, or a name as the settings window or a file has it, in\n"
    "German or English. rvqctl get --list names them all.";
constexpr std::string_view kWriting =
    "The values before are backed up in the folder BACKUP of the program's folder. What is in the\n"
    "sensor afterwards is read back and reported. Exit code 4: it is not what was wanted.";

/// A command is a row here and a file of its own.
constexpr Command kCommands[] = {
    {.name = "ports",
     .operands = "",
     .summary = "List the serial devices and the lines over the network",
     .options = kPortsOptions,
     .run = RunPorts},
    {.name = "find",
     .operands = "",
     .summary = "Look for sensors, on the ports named with --port or on all",
     .options = kFindOptions,
     .run = RunFind,
     .takesPorts = true,
     .more = "Listens before it asks; a sensor that measures is recognised by its values and not stopped."},
    {.name = "measure",
     .operands = "",
     .summary = "Measure and print the values",
     .options = kMeasureOptions,
     .run = RunMeasure,
     .more = kMeasureMore},
    {.name = "watch",
     .operands = "",
     .summary = "Show the measurement live on the terminal",
     .options = kWatchOptions,
     .run = RunWatch,
     .more = kWatchMore},
    {.name = "single",
     .operands = "",
     .summary = "Ask for one value and print it",
     .options = kSingleOptions,
     .run = RunSingle},
    {.name = "temperature",
     .operands = "",
     .summary = "Print the temperature of the sensor",
     .options = {},
     .run = RunTemperature},
    {.name = "laser",
     .operands = "on|off",
     .summary = "Switch the marker laser",
     .options = {},
     .mostOperands = 1,
     .run = RunLaser},
    {.name = "record",
     .operands = "[FILE|NAME]",
     .summary = "Measure and record",
     .options = kRecordOptions,
     .mostOperands = 1,
     .run = RunRecord,
     .more = kRecordMore},
    {.name = "play",
     .operands = "FILE...",
     .summary = "Print a recording or its statistics",
     .options = kPlayOptions,
     .mostOperands = kAnyNumber,
     .run = RunPlay,
     .more = kPlayMore},
    {.name = "traffic",
     .operands = "",
     .summary = "Print what goes over the line",
     .options = kTrafficOptions,
     .run = RunTraffic,
     .more = kTrafficMore},
    {.name = "info",
     .operands = "",
     .summary = "Say which sensor is connected, and how",
     .options = kInfoOptions,
     .run = RunInfo},
    {.name = "get",
     .operands = "[NAME]...",
     .summary = "Print parameters of the sensor, all or the named ones",
     .options = kGetOptions,
     .mostOperands = kAnyNumber,
     .run = RunGet,
     .more = kNames},
    {.name = "set",
     .operands = "NAME=VALUE...",
     .summary = "Change parameters of the sensor",
     .options = kSetOptions,
     .mostOperands = kAnyNumber,
     .run = RunSet,
     .more = kNames},
    {.name = "diff",
     .operands = "[FILE]",
     .summary = "Compare the sensor with a configuration, a backup or its factory defaults",
     .options = kDiffOptions,
     .mostOperands = 1,
     .run = RunDiff,
     .more = "Exit code 4: they differ."},
    {.name = "apply",
     .operands = "FILE",
     .summary = "Send what differs from a configuration",
     .options = kApplyOptions,
     .mostOperands = 1,
     .run = RunApply,
     .more = kWriting},
    {.name = "backup",
     .operands = "[FILE]",
     .summary = "Save the values of the sensor, in FILE or in the folder BACKUP",
     .options = kBackupOptions,
     .mostOperands = 1,
     .run = RunBackup},
    {.name = "restore",
     .operands = "[FILE]",
     .summary = "Send what differs from a backup, the last one of this sensor or FILE",
     .options = kApplyOptions,
     .mostOperands = 1,
     .run = RunRestore,
     .more = kWriting},
    {.name = "passport",
     .operands = "",
     .summary = "Print what was written to a sensor, newest first",
     .options = kPassportOptions,
     .run = RunPassport},
};

void addRow(std::string& text, std::string first, std::string_view second)
{
    first.insert(0, "  ");
    first.resize(std::max(first.size() + 2, kColumn), ' ');
    text += first;
    text += second;
    text += '\n';
}

std::string nameOf(const OptionDef& option)
{
    std::string name = option.letter == 0 ? "    " : std::string{'-', option.letter, ',', ' '};
    name += "--" + std::string(option.name);
    if (!option.value.empty()) {
        name += ' ' + std::string(option.value);
    }
    return name;
}

void addOptions(std::string& text, std::span<const OptionDef> options)
{
    for (const OptionDef& option : options) {
        addRow(text, nameOf(option), option.help);
    }
}

const Command* commandOf(std::string_view name)
{
    const auto found = std::ranges::find(Table(), name, &Command::name);
    return found == Table().end() ? nullptr : &*found;
}

std::vector<OptionDef> allOptionsOf(const Command& command)
{
    std::vector<OptionDef> options(command.options.begin(), command.options.end());
    options.insert(options.end(), GlobalOptions().begin(), GlobalOptions().end());
    return options;
}

int print(std::string_view text)
{
    const bool isDone = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    return isDone ? ExitDone : ExitFailed;
}

/// Without a program, as for wrong usage. A pipe that takes no more is not waited for.
void say(std::string_view text)
{
    constexpr double kPatience_s = 2.0;
    clsOutput messages(STDERR_FILENO);
    messages.Write(text);
    messages.FinishWithin(kPatience_s);
}

int refuse(std::string_view why, const Command* command)
{
    const std::string name = command == nullptr ? std::string() : std::string(command->name) + ' ';
    say("rvqctl: " + Printable(why) + "\nTry rvqctl " + name + "--help.\n");
    return ExitUsage;
}

/// What is done before any command: with `--help` and `--version` there is none.
std::optional<int> answerAtOnce(const clsArguments& arguments, const Command* command)
{
    if (arguments.Has("help")) {
        return print(command == nullptr ? Help() : Help(*command));
    }
    if (arguments.Has("version")) {
        return print(std::string(kProgramName) + " " + std::string(ProgramVersion()) + "\n");
    }
    return std::nullopt;
}

int run(const Command& command, const clsArguments& arguments)
{
    if (arguments.Operands().size() > command.mostOperands) {
        throw UsageError("what is \"" + std::string(arguments.Operands()[command.mostOperands]) + "\"?");
    }
    if (!command.takesPorts && arguments.Values("port").size() > 1) {
        throw UsageError("one --port only");
    }
    modSignals::Watch();
    clsProgram program(arguments);
    int code = ExitFailed;
    try {
        code = command.run(program, arguments);
    } catch (const UsageError&) {
        throw;
    } catch (const std::exception& fault) {
        program.Say(fault.what());
    }
    return program.Finish(code);
}

} // namespace

std::span<const Command> Table()
{
    return kCommands;
}

std::string Help()
{
    std::string text = "Usage: rvqctl [OPTION]... COMMAND [ARGUMENT]...\n"
                       "Measures with laser distance sensors and reads and changes their settings, without a window.\n"
                       "\nCommands:\n";
    for (const Command& command : Table()) {
        addRow(text, std::string(command.name), command.summary);
    }
    text += "\nOptions of every command:\n";
    addOptions(text, GlobalOptions());
    text += "\nWithout --port and --baud, the port and the rate of RVQ.ini in the program's folder are used.\n"
            "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 no connection, 4 refused or differs.\n";
    return text;
}

std::string Help(const Command& command)
{
    std::string text = "Usage: rvqctl " + std::string(command.name) + " [OPTION]...";
    if (!command.operands.empty()) {
        text += ' ' + std::string(command.operands);
    }
    text += '\n' + std::string(command.summary) + ".\n";
    if (!command.options.empty()) {
        text += '\n';
        addOptions(text, command.options);
    }
    text += "\nOptions of every command:\n";
    addOptions(text, GlobalOptions());
    if (!command.more.empty()) {
        text += '\n' + std::string(command.more) + '\n';
    }
    return text;
}

int Run(std::span<const std::string_view> words)
{
    const Command* command = nullptr;
    try {
        const clsArguments global(words, GlobalOptions(), true);
        if (const auto code = answerAtOnce(global, nullptr)) {
            return *code;
        }
        if (global.Read() == words.size()) {
            throw UsageError("a command is missing");
        }
        const std::string_view name = words[global.Read()];
        command = commandOf(name);
        if (command == nullptr) {
            throw UsageError("there is no command \"" + std::string(name) + "\"");
        }
        // The options may stand on both sides of the command.
        std::vector<std::string_view> others(words.begin(), words.end());
        others.erase(others.begin() + static_cast<std::ptrdiff_t>(global.Read()));
        const clsArguments arguments(others, allOptionsOf(*command));
        const auto code = answerAtOnce(arguments, command);
        return code ? *code : run(*command, arguments);
    } catch (const UsageError& wrong) {
        return refuse(wrong.what(), command);
    } catch (const std::exception& fault) {
        say("rvqctl: " + Printable(fault.what()) + '\n');
        return ExitFailed;
    }
}

} // namespace modCommands
