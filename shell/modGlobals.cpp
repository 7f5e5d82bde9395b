#include "shell/modGlobals.h"

#include "config/clsIni.h"
#include "shell/Numbers.h"

#include <stdexcept>

namespace modGlobals {

namespace {

constexpr char kGeneral[] = "GENERAL";
constexpr char kChart[] = "CHART";

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

/// A line that already says the same stays as its writer wrote it.
bool keepWhole(clsIni& ini, const char* section, const char* key, std::int32_t value)
{
    return whole(ini, section, key, value == 0 ? 1 : 0) == value ||
           ini.WriteSetting(section, key, std::to_string(value));
}

bool keepReal(clsIni& ini, const char* section, const char* key, double value)
{
    return real(ini, section, key, value + 1.0) == value || ini.WriteSetting(section, key, NumberText(value));
}

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
    settings.DefaultDevice = whole(ini, kGeneral, "DefaultDevice", 0) == 0 ? "Serial" : "Profibus";
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
    bool kept = keepWhole(ini, kGeneral, "Baudrate", settings.Baudrate);
    kept &= keepWhole(ini, kGeneral, "Comport", settings.Comport);
    kept &= keepWhole(ini, kGeneral, "Language", settings.Language / LanguageEnglish);
    kept &= keepWhole(ini, kGeneral, "DefaultDevice", settings.DefaultDevice == "Serial" ? 0 : 1);
    kept &= keepWhole(ini, kChart, "AutoScale", settings.AutoScale ? 1 : 0);
    kept &= keepReal(ini, kChart, "yMax", settings.yMax);
    kept &= keepReal(ini, kChart, "yMin", settings.yMin);
    return kept;
}

} // namespace modGlobals
