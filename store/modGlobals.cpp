#include "store/modGlobals.h"

#include "base/Numbers.h"
#include "port/modPComm.h"

#include <algorithm>
#include <iterator>

namespace modGlobals {

namespace {

constexpr char kGeneral[] = "GENERAL";
constexpr char kChart[] = "CHART";
constexpr char kRecorder[] = "RECORDER";
constexpr char kPorts[] = "PORTS";
constexpr char kDevices[] = "DEVICES";
constexpr std::string_view kPortKey = "COM";
constexpr std::size_t kLongestPath = 4096;
constexpr std::size_t kLongestNumber = 63; // characters

std::int32_t whole(const modIni::Content& content, const char* section, const char* key, std::int32_t fallback)
{
    const auto value = content.Value(section, key);
    return value ? modIni::WholeNumberAtHead(*value) : fallback;
}

/// One bad line must not cost the others their values.
double real(const modIni::Content& content, const char* section, const char* key, double fallback, char separator)
{
    const auto value = content.Value(section, key);
    return value ? CDbl(std::string_view(*value).substr(0, kLongestNumber), separator).value_or(fallback) : fallback;
}

/// A key of the file, what is written for it, and whether the text in the file already says the same. Such a line stays
/// as it was written.
struct KeptKey {
    const char *section, *key;
    std::string (*text)(const Settings&);
    bool isNumber; ///< a real number, else a whole one
};

constexpr KeptKey kKeptKeys[] = {
    {kGeneral, "Baudrate", [](const Settings& s) { return std::to_string(s.Baudrate); }, false},
    {kGeneral, "Comport", [](const Settings& s) { return std::to_string(s.Comport); }, false},
    {kGeneral, "Language", [](const Settings& s) { return std::to_string(s.Language / LanguageEnglish); }, false},
    {kGeneral, "DefaultDevice",
     [](const Settings& s) { return std::string(s.DefaultDevice == kSerialType ? "0" : "1"); }, false},
    {kChart, "AutoScale", [](const Settings& s) { return std::string(s.AutoScale ? "1" : "0"); }, false},
    {kChart, "yMax", [](const Settings& s) { return NumberText(s.yMax); }, true},
    {kChart, "yMin", [](const Settings& s) { return NumberText(s.yMin); }, true},
    {kChart, "TimeOfDay", [](const Settings& s) { return std::string(s.TimeOfDay ? "1" : "0"); }, false},
    {kChart, "Span", [](const Settings& s) { return std::to_string(s.Span_ms); }, false},
    {kChart, "History", [](const Settings& s) { return std::to_string(s.History_MiB); }, false},
    {kRecorder, "EveryValue", [](const Settings& s) { return std::string(s.EveryValue ? "1" : "0"); }, false},
    {kRecorder, "NewFile", [](const Settings& s) { return std::to_string(s.NewFile); }, false},
    {kRecorder, "FileSize", [](const Settings& s) { return std::to_string(s.FileSize); }, false},
};

bool saysTheSame(const KeptKey& key, std::string_view inFile, const std::string& value)
{
    if (key.isNumber) {
        const auto number = CDbl(inFile, '.');
        return number && number == CDbl(value, '.');
    }
    return std::to_string(modIni::WholeNumberAtHead(inFile)) == value;
}

std::vector<Settings::Known> knownOf(const modIni::Content& content, const Settings& settings)
{
    std::vector<Settings::Known> known;
    for (const KeptKey& key : kKeptKeys) {
        known.push_back({content.Value(key.section, key.key), key.text(settings)});
    }
    return known;
}

/// Writes one key if this program may, and updates `known`.
void keep(modIni::Content& content, const KeptKey& key, const std::string& value, Settings::Known* known)
{
    const std::optional<std::string> inFile = content.Value(key.section, key.key);
    const bool isSame = inFile && saysTheSame(key, *inFile, value);
    const bool isMine = known == nullptr || inFile == known->inFile || value != known->value;
    if (!isSame && !isMine) {
        return; // somebody else has changed or removed it, and this program has not
    }
    if (!isSame) {
        content.Put(key.section, {key.key, value});
    }
    if (known != nullptr) {
        *known = {content.Value(key.section, key.key), value};
    }
}

} // namespace

KnownDevices::KnownDevices(const modIni::Content& content)
{
    for (const modIni::Entry& entry : content.Section(kDevices)) {
        const auto number =
            entry.key.size() > kPortKey.size() ? WholeNumber(entry.key.substr(kPortKey.size())) : std::nullopt;
        const std::string_view name = Trimmed(std::string_view(entry.value).substr(0, kLongestPath));
        if (number && *number >= 1 && *number <= modPComm::kPortCount && !name.empty()) {
            m_names.emplace(*number, name); // as everywhere, the first of two lines counts
        }
    }
}

std::string KnownDevices::Of(std::int32_t port) const
{
    const auto known = m_names.find(port);
    return known == m_names.end() ? std::string() : known->second;
}

void KnownDevices::Remember(std::int32_t port, const std::string& stableName)
{
    if (Of(port) != stableName) {
        m_names[port] = stableName;
        m_changed.insert(port);
    }
}

void KnownDevices::Put(modIni::Content& content) const
{
    for (const std::int32_t port : m_changed) {
        content.Put(kDevices, {std::string(kPortKey) + std::to_string(port), Of(port)});
    }
}

Settings LoadGlobalSettings(const std::string& iniFile, char decimalSeparator)
{
    Settings settings;
    settings.IniFile = iniFile;
    const auto content = modIni::ReadContent(iniFile, settings.UnreadWhy);
    if (!content) {
        settings.UnreadFile = std::exchange(settings.IniFile, {});
        return settings;
    }
    settings.Baudrate = whole(*content, kGeneral, "Baudrate", settings.Baudrate);
    settings.Comport = whole(*content, kGeneral, "Comport", settings.Comport);
    // Deliberate: only 0 is German, anything else is English.
    settings.Language = whole(*content, kGeneral, "Language", 0) == 0 ? LanguageGerman : LanguageEnglish;
    settings.DefaultDevice = whole(*content, kGeneral, "DefaultDevice", 0) == 0 ? kSerialType : kProfibusType;
    settings.AutoScale = whole(*content, kChart, "AutoScale", 1) != 0;
    settings.yMax = real(*content, kChart, "yMax", settings.yMax, decimalSeparator);
    settings.yMin = real(*content, kChart, "yMin", settings.yMin, decimalSeparator);
    settings.TimeOfDay = whole(*content, kChart, "TimeOfDay", 0) != 0;
    settings.Span_ms = std::max(whole(*content, kChart, "Span", settings.Span_ms), 0);
    settings.History_MiB =
        std::clamp(whole(*content, kChart, "History", settings.History_MiB), kLeastHistory_MiB, kMostHistory_MiB);
    settings.EveryValue = whole(*content, kRecorder, "EveryValue", 1) != 0;
    settings.NewFile = std::clamp(whole(*content, kRecorder, "NewFile", settings.NewFile), 0, kLastNewFile);
    settings.FileSize = std::clamp(whole(*content, kRecorder, "FileSize", settings.FileSize), 1, kLargestFileSize);
    settings.Devices = KnownDevices(*content);
    settings.Keys = knownOf(*content, settings);
    return settings;
}

std::error_code SaveGlobalSettings(Settings& settings)
{
    if (settings.IniFile.empty()) {
        return {};
    }
    std::vector<Settings::Known> keys = settings.Keys;
    const auto edit = [&](modIni::Content& content) {
        for (std::size_t i = 0; i < std::size(kKeptKeys); ++i) {
            keep(content, kKeptKeys[i], kKeptKeys[i].text(settings), keys.empty() ? nullptr : &keys.at(i));
        }
        if (keys.empty()) {
            keys = knownOf(content, settings);
        }
        settings.Devices.Put(content);
    };
    std::error_code why;
    if (modIni::Change(settings.IniFile, edit, why)) {
        settings.Keys = std::move(keys);
        settings.Devices.HasBeenPut();
    }
    return why;
}

std::string ConfiguredPorts::DeviceOf(std::string_view key)
{
    std::error_code missing;
    const std::pair state(std::filesystem::last_write_time(m_iniFile, missing),
                          std::filesystem::file_size(m_iniFile, missing));
    if (state != m_state) {
        m_state = state;
        m_namesAny = !modIni::GetPrivateProfileSectionA(kPorts, kLongestPath, m_iniFile).empty();
    }
    if (!m_namesAny) {
        return {};
    }
    return std::string(Trimmed(modIni::GetPrivateProfileStringA(kPorts, key, {}, kLongestPath, m_iniFile)));
}

} // namespace modGlobals
