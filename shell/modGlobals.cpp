#include "shell/modGlobals.h"

#include "config/clsIni.h"
#include "shell/Numbers.h"

#include <stdexcept>
#include <vector>

namespace modGlobals {

namespace {

constexpr char kGeneral[] = "GENERAL";
constexpr char kChart[] = "CHART";
constexpr char kPorts[] = "PORTS";
constexpr std::size_t kLongestPath = 4096;

std::int32_t whole(const clsIni& ini, const char* section, const char* key, std::int32_t fallback)
{
    return std::get<std::int32_t>(ini.GetSetting(section, key, fallback));
}

double real(const clsIni& ini, const char* section, const char* key, double fallback)
{
    try {
        return std::get<double>(ini.GetSetting(section, key, fallback));
    } catch (const std::invalid_argument&) {
        return fallback; // one bad line must not cost the others
    }
}

/// What has to change in a section, written in one step. A line that already says the same stays as its writer wrote
/// it.
class Changes {
public:
    Changes(const clsIni& ini, const char* section) : m_ini(ini), m_section(section) {}

    void Keep(const char* key, std::int32_t value)
    {
        if (whole(m_ini, m_section, key, value == 0 ? 1 : 0) != value) {
            m_entries.push_back({key, std::to_string(value)});
        }
    }
    void Keep(const char* key, double value)
    {
        if (real(m_ini, m_section, key, value + 1.0) != value) {
            m_entries.push_back({key, NumberText(value)});
        }
    }
    bool Write() const { return m_entries.empty() || m_ini.WriteSettings(m_section, m_entries); }

private:
    const clsIni& m_ini;
    const char* m_section;
    std::vector<modIni::Entry> m_entries;
};

} // namespace

Settings LoadGlobalSettings(const std::string& iniFile, char decimalSeparator)
{
    clsIni ini({}, decimalSeparator);
    ini.Filename(iniFile);
    Settings settings;
    settings.IniFile = iniFile;
    settings.Baudrate = whole(ini, kGeneral, "Baudrate", settings.Baudrate);
    settings.Comport = whole(ini, kGeneral, "Comport", settings.Comport);
    // Deliberate: only 0 is German, anything else is English.
    settings.Language = whole(ini, kGeneral, "Language", 0) == 0 ? LanguageGerman : LanguageEnglish;
    settings.DefaultDevice = whole(ini, kGeneral, "DefaultDevice", 0) == 0 ? kSerialType : kProfibusType;
    settings.AutoScale = whole(ini, kChart, "AutoScale", 1) != 0;
    settings.yMax = real(ini, kChart, "yMax", settings.yMax);
    settings.yMin = real(ini, kChart, "yMin", settings.yMin);
    return settings;
}

bool SaveGlobalSettings(const Settings& settings)
{
    if (settings.IniFile.empty()) {
        return false;
    }
    clsIni ini({}, '.');
    ini.Filename(settings.IniFile);
    Changes general(ini, kGeneral);
    general.Keep("Baudrate", settings.Baudrate);
    general.Keep("Comport", settings.Comport);
    general.Keep("Language", settings.Language / LanguageEnglish);
    general.Keep("DefaultDevice", settings.DefaultDevice == kSerialType ? 0 : 1);
    Changes chart(ini, kChart);
    chart.Keep("AutoScale", settings.AutoScale ? 1 : 0);
    chart.Keep("yMax", settings.yMax);
    chart.Keep("yMin", settings.yMin);
    const bool kept = general.Write();
    return chart.Write() && kept;
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
