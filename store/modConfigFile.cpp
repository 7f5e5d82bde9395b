#include "store/modConfigFile.h"

#include "base/Numbers.h"
#include "store/Configuration.h"
#include "store/clsIni.h"

#include <vector>

namespace modConfigFile {

namespace {

constexpr char kSection[] = "RVQ";

} // namespace

void Read(Configuration& configuration)
{
    clsIni ini({}, '.');
    ini.Filename(configuration.FileName);
    const auto read = [&](const ParameterDef& row) {
        configuration.Parameters.*row.value =
            std::get<std::int32_t>(ini.GetSetting(kSection, row.key, row.missingKeyValue.value_or(row.defaultValue)));
    };
    configuration.Description = std::get<std::string>(ini.GetSetting(kSection, "Description", std::string()));
    for (const ParameterDef& row : ParameterTable()) {
        if (row.group != ParameterGroup::SerialOnly) {
            read(row);
        }
    }
    configuration.Identity.DeviceType = TypeName(IsSerial(configuration.Parameters));
    for (const ParameterDef& row : ParameterTable()) {
        if (row.group == ParameterGroup::SerialOnly && IsSerial(configuration.Parameters)) {
            read(row);
        }
    }
}

bool Write(const Configuration& configuration, std::error_code& why)
{
    std::vector<modIni::Entry> entries{{"Description", configuration.Description}};
    for (const ParameterDef& row : ParameterTable()) {
        entries.push_back({std::string(row.key), std::to_string(configuration.Parameters.*row.value)});
    }
    return modIni::WriteEntries(kSection, entries, Trimmed(configuration.FileName), why);
}

bool Write(const Configuration& configuration)
{
    std::error_code why;
    return Write(configuration, why);
}

} // namespace modConfigFile
