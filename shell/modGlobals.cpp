#include "shell/modGlobals.h"

#include "config/clsIni.h"
#include "shell/Numbers.h"

#include <filesystem>
#include <stdexcept>
#include <unistd.h>

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

bool CanKeepSettings(const Settings& settings)
{
    // The file is replaced as a whole, so it is the folder that counts.
    const std::string folder = std::filesystem::path(settings.IniFile).parent_path();
    return access(folder.empty() ? "." : folder.c_str(), W_OK | X_OK) == 0;
}

bool SaveGlobalSettings(const Settings& settings)
{
    if (settings.IniFile.empty()) {
        return false;
    }
    clsIni ini({}, '.');
    ini.Filename(settings.IniFile);
    bool kept = ini.WriteSetting(kGeneral, "Baudrate", std::to_string(settings.Baudrate));
    kept &= ini.WriteSetting(kGeneral, "Comport", std::to_string(settings.Comport));
    kept &= ini.WriteSetting(kGeneral, "Language", std::to_string(settings.Language / LanguageEnglish));
    kept &= ini.WriteSetting(kGeneral, "DefaultDevice", settings.DefaultDevice == "Serial" ? "0" : "1");
    kept &= ini.WriteSetting(kChart, "AutoScale", settings.AutoScale ? "1" : "0");
    kept &= ini.WriteSetting(kChart, "yMax", NumberText(settings.yMax));
    kept &= ini.WriteSetting(kChart, "yMin", NumberText(settings.yMin));
    return kept;
}

} // namespace modGlobals
