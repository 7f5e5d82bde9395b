// The folder cli/ is rvqctl, the program without a window: a table of commands, and what they share. It uses a session
// as the windows do, and has no measuring, no file format and no dialogue of its own. Here: what every command is
// given, above all the global options and where its words go. Data goes to standard output, everything else to standard
// error.
#pragma once

#include "cli/Command.h"
#include "cli/clsOutput.h"
#include "cli/clsProgress.h"
#include "port/modPComm.h"
#include "store/modGlobals.h"
#include "texts/TextId.h"

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

/// "rvqctl" and its version, as reports and sidecars name them.
inline constexpr std::string_view kProgramName = "rvqctl";
std::string_view ProgramVersion();

/// The global options.
std::span<const OptionDef> GlobalOptions();

class clsProgram {
public:
    /// `global` has the options of `GlobalOptions`; every command takes them too. Throws UsageError.
    explicit clsProgram(const clsArguments& global);

    clsOutput& Out() { return m_output; }
    /// A line to be read by a person. As everywhere below, what cannot be printed becomes "?": no control sequence of a
    /// sensor, a file or a name reaches a terminal.
    void Print(std::string_view line);
    /// A line for programs, as it is: CSV, JSON, and the name of a file.
    void PrintData(std::string_view line) { m_output.Print(line); }
    /// A line on standard error, for faults and refusals. It waits for nobody: what does not go out follows with
    /// `Serve`.
    void Say(std::string_view line);
    /// The same for what is good to know; not with --quiet.
    void Note(std::string_view line);
    /// Writes what both outputs take without waiting. Call it in every tick.
    void Serve();
    /// Standard error, for what is no whole line.
    clsOutput& Messages() { return m_messages; }
    /// What is under way, for work that may take longer than a second.
    clsProgress& Progress() { return m_progress; }

    std::int32_t Language() const { return m_language; }
    /// A text in the operator's language, with its places %1, %2 ... filled.
    std::string Text(TextId id, std::initializer_list<std::string_view> parts = {}) const;
    /// Why the system refused a file.
    std::string FileError(const std::error_code& why) const;

    /// The program's folder: settings, recordings, backups. Throws UsageError when there is none that can be trusted.
    const std::filesystem::path& Folder();
    /// What "RVQ.ini" says, with port and rate of the options; it is read with the first call. Nothing is written back.
    /// A command may change it for its run before it makes a session. Throws UsageError for a --port that is a number
    /// when the file cannot be read: it may lead elsewhere by the file.
    modGlobals::Settings& Settings();
    /// To be called by a command that uses the port of `Settings`. Throws UsageError when nobody has named one: without
    /// --port, and with an "RVQ.ini" that cannot be read or has a number that no port has.
    void RequirePort();
    /// Notes when "RVQ.ini" cannot be read, for a command that goes through all the ports there are.
    void NoteUnreadSettings();
    /// What stands behind the port numbers.
    modPComm::PortDevices& Devices();
    /// The ports that were asked for with --port, in their order; empty: the one of the settings.
    const std::vector<std::string>& Ports() const { return m_ports; }
    /// Whether a port, and a rate, was asked for.
    std::optional<std::int32_t> Baud() const { return m_baud; }
    /// The port in use as the operator knows it: "COM 3 (/dev/ttyUSB0)", or what --port says if it is no number.
    std::string PortName();
    /// The number that leads to a port as `--port` names it, see `modPortName::NumberOf`. Throws UsageError.
    static std::int32_t NumberOf(std::string_view port, modPComm::PortDevices& devices);
    bool IsQuiet() const { return m_isQuiet; }

    /// Ends both outputs. Returns the code to end with: `code`, unless something could not be printed. A reader that
    /// has gone has what it wanted, so that `ExitOutputClosed` becomes `ExitDone`; what else has failed has failed.
    int Finish(int code);

private:
    void prepare();
    int codeFor(int code);

    clsOutput m_output, m_messages;
    bool m_isQuiet;
    clsProgress m_progress;
    std::int32_t m_language;
    std::optional<std::int32_t> m_baud;
    std::vector<std::string> m_ports;
    std::string m_wantedFolder;
    std::filesystem::path m_folder;
    bool m_isPrepared = false;
    modGlobals::Settings m_settings;
    modPComm::PortDevices m_devices;
};
