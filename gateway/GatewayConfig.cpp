#include "gateway/GatewayConfig.h"

#include "base/Numbers.h"
#include "base/PlainText.h"
#include "base/modFiles.h"
#include "gateway/modBrokerHosts.h"
#include "gateway/modTopic.h"
#include "port/SerialPort.h"
#include "port/modPComm.h"
#include "port/modPortName.h"
#include "store/modIni.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <fcntl.h>
#include <iterator>
#include <map>
#include <span>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::size_t kLongestWord = 128;
constexpr double kMostEvery_s = 86400.0;
constexpr double kUsualRate = 20.0, kLineBytes = 46.0; // values a second, and what one takes
/// A sensor is not interrupted for its temperature more often than this.
constexpr std::int32_t kLeastTemperature_s = 15, kMostTemperature_s = 86400;
constexpr std::uint16_t kTlsPort = 8883;

constexpr std::pair<std::string_view, CommandKind> kCommands[] = {
    {"start", CommandKind::Start},   {"stop", CommandKind::Stop},
    {"single", CommandKind::Single}, {"temperature", CommandKind::Temperature},
    {"laser", CommandKind::Laser},   {"read", CommandKind::Read},
    {"write", CommandKind::Write}};

std::string inQuotes(std::string_view text)
{
    constexpr std::size_t kLongest = 100;
    return "\"" + PlainText(text, kLongest) + "\"";
}

// Each takes a value without blanks around it, and returns what it expects instead; empty when the value is good.

std::string takeNumber(std::string_view value, std::int32_t least, std::int32_t most, auto& number)
{
    const std::int32_t read = WholeNumber(value).value_or(least - 1);
    if (read < least || read > most) {
        return "a number from " + std::to_string(least) + " to " + std::to_string(most);
    }
    number = static_cast<std::remove_reference_t<decltype(number)>>(read);
    return {};
}

std::string takeYesNo(std::string_view value, bool& yes)
{
    yes = modIni::IsSameName(value, "yes");
    return yes || modIni::IsSameName(value, "no") ? "" : "yes or no";
}

std::string takeFolder(std::string_view value, std::filesystem::path& path)
{
    path = value;
    return path.is_absolute() ? "" : "a path that begins with /";
}

std::string takeName(std::string_view value, std::string& name)
{
    name = value;
    return modTopic::IsPart(value) ? "" : "a name that can be a part of a topic and of a path";
}

std::string takeWord(std::string_view value, std::string& word)
{
    word = value;
    return PlainText(value, kLongestWord) == value && !value.empty() ? "" : "a short text";
}

std::string takeHosts(std::string_view value, std::string& hosts)
{
    hosts = value;
    return modBrokerHosts::Read(value, 1)
               ? ""
               : "names or addresses with commas between them, each with \":\" and a port if it has one of its own";
}

std::string takeAllowed(std::string_view value, std::set<CommandKind>& allowed)
{
    while (!value.empty()) {
        const std::size_t end = std::min(value.find(','), value.size());
        const auto* const known = std::ranges::find_if(
            kCommands, [&](const auto& command) { return modIni::IsSameName(command.first, value.substr(0, end)); });
        if (known == std::end(kCommands)) {
            return "a list of start, stop, single, temperature, laser, read and write";
        }
        allowed.insert(known->second);
        value.remove_prefix(std::min(end + 1, value.size()));
    }
    return {};
}

std::string takeFormat(std::string_view value, PayloadKind& format)
{
    format = modIni::IsSameName(value, "sparkplug") ? PayloadKind::Sparkplug : PayloadKind::Json;
    return format == PayloadKind::Sparkplug || modIni::IsSameName(value, "json") ? "" : "json or sparkplug";
}

/// The levels of a topic.
std::string takePrefix(std::string_view value, std::string& prefix)
{
    prefix = value;
    for (bool isLast = false; !isLast;) {
        const std::size_t end = value.find('/');
        isLast = end == value.npos;
        if (!modTopic::IsPart(value.substr(0, end))) {
            return "the first levels of a topic, without wildcards";
        }
        value.remove_prefix(isLast ? value.size() : end + 1);
    }
    return {};
}

std::string takeRate(std::string_view value, std::int32_t& rate)
{
    rate = WholeNumber(value).value_or(0);
    return std::ranges::find(kPortRates, rate) != std::end(kPortRates)
               ? ""
               : "1200, 2400, 4800, 9600, 19200, 38400, 57600 or 115200";
}

std::string takeTemperature(std::string_view value, std::int32_t& seconds)
{
    const std::string expected = takeNumber(value, 0, kMostTemperature_s, seconds);
    const bool isGood = expected.empty() && (seconds == 0 || seconds >= kLeastTemperature_s);
    return isGood ? ""
                  : "0 or a number from " + std::to_string(kLeastTemperature_s) + " to " +
                        std::to_string(kMostTemperature_s);
}

std::string takeEvery(std::string_view value, std::optional<std::int32_t>& every_ms)
{
    const double seconds = CDbl(value, '.').value_or(0.0);
    if (!(seconds >= 0.001 && seconds <= kMostEvery_s)) {
        return "seconds from 0.001 to 86400";
    }
    every_ms = RoundHalfToEven(seconds * 1000.0);
    return {};
}

/// A key of a section that is read into a `Part`.
template <typename Part>
struct Key {
    std::string_view name;
    std::string (*take)(std::string_view value, Part& part);
};

constexpr Key<GatewayConfig> kGatewayKeys[] = {
    {"Name", [](std::string_view value, GatewayConfig& config) { return takeName(value, config.name); }},
    {"Folder", [](std::string_view value, GatewayConfig& config) { return takeFolder(value, config.folder); }},
    {"JournalSize",
     [](std::string_view value, GatewayConfig& config) { return takeNumber(value, 1, 100000000, config.journal_MiB); }},
    {"JournalDays",
     [](std::string_view value, GatewayConfig& config) { return takeNumber(value, 1, 36500, config.journal_days); }},
    {"Allow", [](std::string_view value, GatewayConfig& config) { return takeAllowed(value, config.allowed); }},
};

constexpr Key<BrokerConfig> kBrokerKeys[] = {
    {"Host", [](std::string_view value, BrokerConfig& broker) { return takeHosts(value, broker.host); }},
    {"Port", [](std::string_view value, BrokerConfig& broker) { return takeNumber(value, 1, 65535, broker.port); }},
    {"TLS", [](std::string_view value, BrokerConfig& broker) { return takeYesNo(value, broker.usesTls); }},
    {"Plain", [](std::string_view value, BrokerConfig& broker) { return takeYesNo(value, broker.mayBePlain); }},
    {"CA", [](std::string_view value, BrokerConfig& broker) { return takeFolder(value, broker.ca); }},
    {"Certificate", [](std::string_view value, BrokerConfig& broker) { return takeFolder(value, broker.certificate); }},
    {"Key", [](std::string_view value, BrokerConfig& broker) { return takeFolder(value, broker.key); }},
    {"User", [](std::string_view value, BrokerConfig& broker) { return takeWord(value, broker.user); }},
    {"PasswordFile",
     [](std::string_view value, BrokerConfig& broker) { return takeFolder(value, broker.passwordFile); }},
    {"ClientId", [](std::string_view value, BrokerConfig& broker) { return takeWord(value, broker.clientId); }},
    {"Prefix", [](std::string_view value, BrokerConfig& broker) { return takePrefix(value, broker.prefix); }},
    {"Format", [](std::string_view value, BrokerConfig& broker) { return takeFormat(value, broker.format); }},
    {"BatchTime",
     [](std::string_view value, BrokerConfig& broker) { return takeNumber(value, 0, 60000, broker.batch_ms); }},
    {"BatchValues",
     [](std::string_view value, BrokerConfig& broker) { return takeNumber(value, 1, 1000, broker.batchValues); }},
};

/// The port is looked at where its problems can be told in full.
constexpr Key<SensorConfig> kSensorKeys[] = {
    {"Port",
     [](std::string_view value, SensorConfig& sensor) {
         sensor.port = value;
         return std::string();
     }},
    {"Rate", [](std::string_view value, SensorConfig& sensor) { return takeRate(value, sensor.rate); }},
    {"Measure", [](std::string_view value, SensorConfig& sensor) { return takeYesNo(value, sensor.measures); }},
    {"Temperature",
     [](std::string_view value, SensorConfig& sensor) { return takeTemperature(value, sensor.temperature_s); }},
    {"Record", [](std::string_view value, SensorConfig& sensor) { return takeYesNo(value, sensor.records); }},
    {"Every", [](std::string_view value, SensorConfig& sensor) { return takeEvery(value, sensor.every_ms); }},
};

/// "127.example.org" is a name, and may be anywhere.
bool isAddress(std::string_view host)
{
    return host.find_first_not_of("0123456789.") == host.npos;
}

/// Whether nobody on another machine can listen.
bool isLoopback(const BrokerHost& host)
{
    return host.name == "::1" || modIni::IsSameName(host.name, "localhost") ||
           (host.name.starts_with("127.") && isAddress(host.name));
}

/// As far as it can be told without a look at the system: the same text for the same device.
std::string deviceOf(const std::string& port)
{
    if (const auto number = WholeNumber(port)) {
        const std::string usual = modPComm::UsualDevice(*number);
        return usual.empty() ? "COM " + port : usual;
    }
    return port.find('/') == port.npos ? "/dev/" + port : port;
}

/// Goes through the lines and notes what they say and what is wrong.
class clsConfigReader {
public:
    explicit clsConfigReader(std::string_view bytes) : m_bytes(bytes) {}

    ReadGatewayConfig Read();

private:
    enum class SectionKind : std::uint8_t { None, Unknown, Gateway, Broker, Sensor };

    void complain(std::int32_t line, std::string text) { m_read.problems.push_back({line, std::move(text)}); }
    void beginSection(std::string_view name);
    void beginSensor(std::string_view name);
    void takeEntry(const modIni::Line& line);
    template <typename Part>
    void take(std::span<const Key<Part>> keys, Part& part, std::string_view key, std::string_view value);
    std::int32_t lineOf(std::string_view key) const;
    void checkSensor();
    void checkBroker();
    void checkNames();
    void checkJournal();
    void noteFile(std::string_view key, const std::filesystem::path& path, bool isSecret);

    std::string_view m_bytes;
    ReadGatewayConfig m_read;
    std::int32_t m_line = 0;
    SectionKind m_section = SectionKind::None;
    std::int32_t m_sectionLine = 0, m_journalLine = 0;
    std::map<std::string, std::int32_t> m_sections;          ///< by their names in small letters, and where they begin
    std::map<std::string, std::int32_t> m_keys;              ///< of the present section, the same
    std::map<std::string, std::int32_t> m_brokerKeys;        ///< of the broker's
    std::map<std::string, std::string, std::less<>> m_ports; ///< who has a device
};

std::string inSmallLetters(std::string_view text)
{
    std::string small(Trimmed(text));
    std::ranges::transform(small, small.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return small;
}

ReadGatewayConfig clsConfigReader::Read()
{
    if (!modIni::IsPlainText(m_bytes)) {
        complain(0, "this is no text file");
        return std::move(m_read);
    }
    for (std::size_t at = 0; at < m_bytes.size();) {
        ++m_line;
        const modIni::Line line = modIni::LineAt(m_bytes, at);
        const std::string_view text = Trimmed(m_bytes.substr(at, line.next - at));
        if (line.kind == modIni::LineKind::Section) {
            checkSensor();
            beginSection(line.name);
        } else if (line.kind == modIni::LineKind::Entry) {
            takeEntry(line);
        } else if (!line.blank && !text.starts_with(';')) {
            complain(m_line,
                     inQuotes(text) + " is no section, no key with a value and no comment, which begins with \";\"");
        }
        at = line.next;
    }
    checkSensor();
    checkBroker();
    checkNames();
    checkJournal();
    std::ranges::stable_sort(m_read.problems, {}, &ConfigProblem::line);
    return std::move(m_read);
}

void clsConfigReader::beginSection(std::string_view name)
{
    constexpr std::string_view kSensor = "sensor";
    const std::string small = inSmallLetters(name);
    m_keys.clear();
    m_sectionLine = m_line;
    const std::string_view rest = std::string_view(small).substr(std::min(kSensor.size(), small.size()));
    const bool isSensor = small.starts_with(kSensor) && (rest.empty() || rest.front() == ' ' || rest.front() == '\t');
    m_section = small == "gateway"  ? SectionKind::Gateway
                : small == "broker" ? SectionKind::Broker
                : isSensor          ? SectionKind::Sensor
                                    : SectionKind::Unknown;
    if (m_section == SectionKind::Unknown) {
        complain(m_line,
                 "there is no section [" + Printable(name) + "]; expected GATEWAY, BROKER or SENSOR and a name");
        return;
    }
    const std::string known = isSensor ? std::string(kSensor) + " " + std::string(Trimmed(rest)) : small;
    if (const auto [before, isNew] = m_sections.emplace(known, m_line); !isNew) {
        complain(m_line, "the section [" + Printable(name) + "] is there twice; it begins in line " +
                             std::to_string(before->second));
    }
    if (isSensor) {
        beginSensor(Trimmed(Trimmed(name).substr(kSensor.size())));
    }
}

void clsConfigReader::beginSensor(std::string_view name)
{
    if (!modTopic::IsPart(name)) {
        complain(m_line,
                 name.empty()
                     ? "a sensor needs a name: [SENSOR name]"
                     : inQuotes(name) + " cannot be the name of a sensor: it is to be a part of a topic and of a path");
    }
    m_read.config.sensors.emplace_back().name = name;
}

void clsConfigReader::takeEntry(const modIni::Line& line)
{
    if (m_section == SectionKind::Unknown) {
        return; // one problem is enough
    }
    if (m_section == SectionKind::None) {
        complain(m_line, "the key " + inQuotes(line.name) + " stands before the first section");
        return;
    }
    if (const auto [before, isNew] = m_keys.emplace(inSmallLetters(line.name), m_line); !isNew) {
        complain(m_line,
                 "the key " + inQuotes(line.name) + " is there twice; see line " + std::to_string(before->second));
        return;
    }
    const std::string_view value = Trimmed(line.value);
    if (std::ranges::any_of(value, [](char c) { return std::iscntrl(static_cast<unsigned char>(c)) != 0; })) {
        complain(m_line, "the value of " + inQuotes(line.name) + " has a control character");
        return;
    }
    if (m_section == SectionKind::Gateway) {
        take<GatewayConfig>(kGatewayKeys, m_read.config, line.name, value);
        m_journalLine = modIni::IsSameName(line.name, "JournalSize") ? m_line : m_journalLine;
        m_read.folderLine = modIni::IsSameName(line.name, "Folder") ? m_line : m_read.folderLine;
    } else if (m_section == SectionKind::Broker) {
        take<BrokerConfig>(kBrokerKeys, m_read.config.broker, line.name, value);
        m_brokerKeys.insert(m_keys.begin(), m_keys.end());
    } else {
        take<SensorConfig>(kSensorKeys, m_read.config.sensors.back(), line.name, value);
    }
}

template <typename Part>
void clsConfigReader::take(std::span<const Key<Part>> keys, Part& part, std::string_view key, std::string_view value)
{
    const auto known = std::ranges::find_if(keys, [&](const auto& row) { return modIni::IsSameName(row.name, key); });
    if (known == keys.end()) {
        complain(m_line, "there is no key " + inQuotes(key) + " in this section");
    } else if (const std::string expected = known->take(value, part); !expected.empty()) {
        complain(m_line, std::string(known->name) + " takes " + expected + ", not " + inQuotes(value));
    }
}

/// Where a key of the broker is; 0 for one that is not there.
std::int32_t clsConfigReader::lineOf(std::string_view key) const
{
    const auto found = m_brokerKeys.find(inSmallLetters(key));
    return found == m_brokerKeys.end() ? 0 : found->second;
}

/// The sensor whose section has ended.
void clsConfigReader::checkSensor()
{
    if (std::exchange(m_section, SectionKind::None) != SectionKind::Sensor) {
        return;
    }
    const SensorConfig& sensor = m_read.config.sensors.back();
    const auto key = m_keys.find("port");
    const std::int32_t line = key == m_keys.end() ? m_sectionLine : key->second;
    m_read.portLines.push_back(line);
    if (WholeNumber(sensor.port).value_or(1) < 1) {
        complain(line, "Port takes a number from 1, not " + inQuotes(sensor.port));
    } else if (const std::string problem = modPortName::ProblemOf(sensor.port, "Port"); !problem.empty()) {
        complain(line, key == m_keys.end() ? "the sensor has no Port" : Printable(problem));
    } else if (const auto [other, isNew] = m_ports.emplace(deviceOf(sensor.port), sensor.name); !isNew) {
        complain(line, "the sensor " + inQuotes(other->second) + " has this port already");
    }
}

void clsConfigReader::checkBroker()
{
    BrokerConfig& broker = m_read.config.broker;
    if (broker.usesTls && lineOf("Port") == 0) {
        broker.port = kTlsPort;
    }
    const auto hosts = modBrokerHosts::Read(broker.host, broker.port);
    if (!broker.usesTls && !broker.mayBePlain && hosts && !std::ranges::all_of(*hosts, isLoopback)) {
        complain(lineOf("Host"),
                 "values would go to another machine where anybody on the way can read and change them; "
                 "set TLS=yes, or Plain=yes if that is meant");
    }
    for (const std::string_view key : {"CA", "Certificate", "Key"}) {
        if (!broker.usesTls && lineOf(key) != 0) {
            complain(lineOf(key), std::string(key) + " is for TLS=yes only");
        }
    }
    if (broker.certificate.empty() != broker.key.empty()) {
        complain(std::max(lineOf("Certificate"), lineOf("Key")), "Certificate and Key belong together");
    }
    if (broker.user.empty() && !broker.passwordFile.empty()) {
        complain(lineOf("PasswordFile"), "a password needs a User");
    }
    if (broker.format == PayloadKind::Sparkplug && broker.prefix.find('/') != std::string::npos) {
        complain(lineOf("Prefix"), "with Format=sparkplug the Prefix is a group, which is one level of a topic");
    }
    noteFile("CA", broker.ca, false);
    noteFile("Certificate", broker.certificate, false);
    noteFile("Key", broker.key, true);
    noteFile("PasswordFile", broker.passwordFile, true);
}

void clsConfigReader::checkNames()
{
    if (m_read.config.sensors.empty()) {
        complain(0, "there is no sensor; a section [SENSOR name] names one");
    }
}

/// Recordings go by the hour, and the one that is being written never does.
void clsConfigReader::checkJournal()
{
    constexpr double kHours = 2.0, kSecondsPerHour = 3600.0, kMiB = 1048576.0;
    double rate = 0.0;
    for (const SensorConfig& sensor : m_read.config.sensors) {
        const double wanted = sensor.every_ms ? 1000.0 / *sensor.every_ms : kUsualRate;
        rate += sensor.records ? std::min(wanted, kUsualRate) : 0.0;
    }
    const auto least_MiB = static_cast<std::int64_t>(std::ceil(rate * kLineBytes * kHours * kSecondsPerHour / kMiB));
    if (m_read.config.journal_MiB < least_MiB) {
        complain(m_journalLine, "JournalSize is to be " + std::to_string(least_MiB) +
                                    " at least for these sensors: two hours of their values, since recordings go by "
                                    "the hour");
    }
}

void clsConfigReader::noteFile(std::string_view key, const std::filesystem::path& path, bool isSecret)
{
    if (!path.empty()) {
        m_read.files.push_back({lineOf(key), std::string(key), path, isSecret});
    }
}

/// Why a file cannot be used; empty when it can.
std::string problemOf(const NamedFile& file)
{
    struct stat state {};
    if (stat(file.path.c_str(), &state) != 0 || access(file.path.c_str(), R_OK) != 0) {
        return std::generic_category().message(errno);
    }
    if (!S_ISREG(state.st_mode)) {
        return "this is no file";
    }
    std::error_code why;
    const auto bytes = file.key == "PasswordFile" ? std::nullopt : modFiles::ReadWhole(file.path, why);
    if (bytes && bytes->find("-----BEGIN ") == bytes->npos) {
        return "this is no PEM file";
    }
    return file.isSecret && (state.st_mode & S_IRWXO) != 0 ? "other users may read or change it; chmod o= helps" : "";
}

/// What is not there yet may come, but a file does not become a device or a folder.
void checkPlaces(ReadGatewayConfig& read)
{
    std::error_code unknown;
    const auto folder = std::filesystem::status(read.config.folder, unknown);
    if (std::filesystem::exists(folder) && !std::filesystem::is_directory(folder)) {
        read.problems.push_back(
            {read.folderLine, "Folder " + inQuotes(read.config.folder.string()) + ": this is no folder"});
    }
    for (std::size_t i = 0; i < read.config.sensors.size(); ++i) {
        const SensorConfig& sensor = read.config.sensors[i];
        const auto device = std::filesystem::status(sensor.port, unknown);
        if (sensor.port.starts_with('/') && std::filesystem::exists(device) &&
            !std::filesystem::is_character_file(device)) {
            read.problems.push_back({read.portLines[i], "Port " + inQuotes(sensor.port) + " of the sensor " +
                                                            inQuotes(sensor.name) + " is no device"});
        }
    }
}

} // namespace

ReadGatewayConfig ParseGatewayConfig(std::string_view bytes)
{
    return clsConfigReader(bytes).Read();
}

ReadGatewayConfig LoadGatewayConfig(const std::filesystem::path& file)
{
    std::error_code why;
    const std::optional<std::string> bytes = modFiles::ReadWhole(file, why);
    if (!bytes) {
        return {.config = {}, .problems = {{0, "the file cannot be read: " + why.message()}}, .files = {}};
    }
    ReadGatewayConfig read = ParseGatewayConfig(*bytes);
    for (const NamedFile& named : read.files) {
        if (const std::string problem = problemOf(named); !problem.empty()) {
            read.problems.push_back({named.line, named.key + " " + Printable(named.path.string()) + ": " + problem});
        }
    }
    checkPlaces(read);
    std::ranges::stable_sort(read.problems, {}, &ConfigProblem::line);
    return read;
}
