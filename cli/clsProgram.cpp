#include "cli/clsProgram.h"

#include "base/Numbers.h"
#include "base/PlainText.h"
#include "base/modAPI.h"
#include "cli/modSignals.h"
#include "port/SerialPort.h"
#include "port/modPortName.h"
#include "texts/modErrorText.h"
#include "texts/modFunctions.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <unistd.h>

namespace {

constexpr double kPatience_s = 2.0; // with readers, at the end: with that of the data once the program is to end
constexpr std::size_t kMostMessages = 65536; // bytes that wait for a terminal or a pipe that takes no more

constexpr OptionDef kGlobalOptions[] = {
    {"port", 'p', "PORT", "a number, a device, a stable name, tcp://host:port or rfc2217://host:port"},
    {"baud", 'b', "RATE", "bit/s, 1200 to 115200"},
    {"folder", 0, "DIR", "settings and recordings are in DIR"},
    {"language", 0, "de|en", "language of messages and reports"},
    {"quiet", 'q', "", "say faults only"},
    {"help", 'h', "", "print help and end"},
    {"version", 'V', "", "print the version and end"},
};

/// The first of the variables that is set counts, as everywhere else.
std::int32_t languageOfUser()
{
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (const char* value = std::getenv(variable); value != nullptr && *value != '\0') {
            return std::string_view(value).starts_with("de") ? LanguageGerman : LanguageEnglish;
        }
    }
    return LanguageEnglish;
}

std::int32_t readLanguage(std::string_view code)
{
    if (code != "de" && code != "en") {
        throw UsageError("--language takes de or en");
    }
    return code == "de" ? LanguageGerman : LanguageEnglish;
}

std::int32_t readRate(std::string_view text)
{
    const std::int32_t rate = WholeNumber(text).value_or(0);
    if (std::ranges::find(kPortRates, rate) == std::end(kPortRates)) {
        throw UsageError("--baud takes 1200, 2400, 4800, 9600, 19200, 38400, 57600 or 115200");
    }
    return rate;
}

} // namespace

std::string_view ProgramVersion()
{
    return ORVEX_VERSION;
}

std::span<const OptionDef> GlobalOptions()
{
    return kGlobalOptions;
}

clsProgram::clsProgram(const clsArguments& global)
    : m_output(STDOUT_FILENO), m_messages(STDERR_FILENO, kMostMessages), m_isQuiet(global.Has("quiet")),
      m_progress(m_messages, !m_isQuiet), m_language(languageOfUser()),
      m_wantedFolder(global.Value("folder").value_or(""))
{
    if (const auto language = global.Value("language")) {
        m_language = readLanguage(*language);
    }
    if (const auto baud = global.Value("baud")) {
        m_baud = readRate(*baud);
    }
    for (const std::string_view port : global.Values("port")) {
        m_ports.emplace_back(port);
    }
}

void clsProgram::Print(std::string_view line)
{
    m_output.Print(Printable(line));
}

void clsProgram::Say(std::string_view line)
{
    m_output.Serve(); // on a terminal, data that comes first stands first
    m_progress.End();
    m_messages.Print("rvqctl: " + Printable(line));
    m_messages.Serve();
}

void clsProgram::Note(std::string_view line)
{
    if (!m_isQuiet) {
        m_output.Serve();
        m_progress.End();
        m_messages.Print(Printable(line));
        m_messages.Serve();
    }
}

void clsProgram::Serve()
{
    m_output.Serve();
    m_messages.Serve();
}

std::string clsProgram::Text(TextId id, std::initializer_list<std::string_view> parts) const
{
    return modFunctions::Filled(modFunctions::GetText(id, m_language), parts);
}

std::string clsProgram::FileError(const std::error_code& why) const
{
    return modErrorText::Of(why, m_language);
}

/// If the folder belonged to another user and others could write there, they could choose what the program reads.
const std::filesystem::path& clsProgram::Folder()
{
    if (!m_folder.empty()) {
        return m_folder;
    }
    m_folder = modAPI::ProgramFolder(m_wantedFolder);
    if (m_folder.empty()) {
        throw UsageError("you have no home folder for the files; name a folder with --folder");
    }
    if (modAPI::OthersMayChange(m_folder)) {
        throw UsageError("the folder " + m_folder.string() +
                         " belongs to another user, and others may write there; name another one with --folder");
    }
    return m_folder;
}

void clsProgram::prepare()
{
    if (std::exchange(m_isPrepared, true)) {
        return;
    }
    const std::string iniFile = Folder() / "RVQ.ini";
    m_settings = modGlobals::LoadGlobalSettings(iniFile, '.');
    if (!m_settings.UnreadFile.empty() && std::ranges::any_of(m_ports, modPortName::IsNumber)) {
        throw UsageError(iniFile + " cannot be read (" + FileError(m_settings.UnreadWhy) +
                         "), and a port number may be another device there; name the device itself with --port");
    }
    m_settings.Language = m_language;
    m_settings.Baudrate = m_baud.value_or(m_settings.Baudrate);
    m_devices.Use(
        [ports = modGlobals::ConfiguredPorts(iniFile)](std::string_view key) mutable { return ports.DeviceOf(key); });
    if (m_ports.size() == 1) { // with several, each is looked at by itself
        m_settings.Comport = NumberOf(m_ports.back(), m_devices);
    }
}

void clsProgram::NoteUnreadSettings()
{
    prepare();
    if (!m_settings.UnreadFile.empty()) {
        Note(Text(TextId::CliPortsUnread, {m_settings.UnreadFile, FileError(m_settings.UnreadWhy)}));
    }
}

modGlobals::Settings& clsProgram::Settings()
{
    prepare();
    return m_settings;
}

void clsProgram::RequirePort()
{
    prepare();
    const std::string iniFile = Folder() / "RVQ.ini";
    if (!m_ports.empty()) {
        return;
    }
    if (!m_settings.UnreadFile.empty()) {
        throw UsageError(iniFile + " cannot be read (" + FileError(m_settings.UnreadWhy) +
                         "), so no port is known; name one with --port");
    }
    if (m_settings.Comport < 1 || m_settings.Comport > modPComm::kPortCount) {
        throw UsageError("Comport in " + iniFile + " is not a number from 1 to " +
                         std::to_string(modPComm::kPortCount) + "; name a port with --port");
    }
}

modPComm::PortDevices& clsProgram::Devices()
{
    prepare();
    return m_devices;
}

std::int32_t clsProgram::NumberOf(std::string_view port, modPComm::PortDevices& devices)
{
    if (const std::string problem = modPortName::ProblemOf(port, "--port"); !problem.empty()) {
        throw UsageError(problem);
    }
    return modPortName::NumberOf(port, devices);
}

std::string clsProgram::PortName()
{
    const std::int32_t number = Settings().Comport;
    const std::string device = m_devices.DeviceOf(number);
    const bool isNamed = !m_ports.empty() && !WholeNumber(m_ports.back());
    return isNamed ? device : "COM " + std::to_string(number) + (device.empty() ? "" : " (" + device + ")");
}

int clsProgram::Finish(int code)
{
    m_progress.End();
    double end_s = 0.0;
    m_output.Finish([&] {
        m_messages.Serve();
        if (end_s == 0.0 && modSignals::EndIsWanted()) {
            end_s = modAPI::UpTime_s() + kPatience_s;
        }
        return end_s == 0.0 || modAPI::UpTime_s() < end_s;
    });
    code = codeFor(code);
    m_messages.FinishWithin(kPatience_s);
    return code;
}

int clsProgram::codeFor(int code)
{
    if (m_output.HasNoReader()) {
        return code == ExitOutputClosed ? static_cast<int>(ExitDone) : code;
    }
    if (m_output.Failure()) {
        Say(Text(TextId::OutputFailed, {FileError(m_output.Failure())}));
        return ExitFailed;
    }
    if (m_output.Dropped() > 0 || m_output.Waiting() > 0) {
        Say(Text(TextId::OutputIncomplete));
        return ExitFailed;
    }
    return code;
}
