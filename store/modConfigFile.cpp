#include "store/modConfigFile.h"

#include "base/Numbers.h"
#include "sensor/Parameters.h"
#include "store/clsIni.h"

#include <vector>

namespace modConfigFile {

namespace {

constexpr char kSection[] = "RVQ";

} // namespace

void Read(clsRVQ& configuration)
{
    clsIni ini({}, '.');
    ini.Filename(configuration.FileName);
    const auto read = [&](const ParameterDef& row) {
        configuration.*row.value = std::get<std::int32_t>(ini.GetSetting(kSection, row.key, row.missingKeyValue));
    };
    configuration.Description = std::get<std::string>(ini.GetSetting(kSection, "Description", std::string()));
    for (const ParameterDef& row : Parameters()) {
        if (row.group != ParameterGroup::SerialOnly) {
            read(row);
        }
    }
    configuration.DeviceType = TypeName(IsSerial(configuration));
    for (const ParameterDef& row : Parameters()) {
        if (row.group == ParameterGroup::SerialOnly && IsSerial(configuration)) {
            read(row);
        }
    }
}

bool Write(const clsRVQ& configuration, std::error_code& why)
{
    std::vector<modIni::Entry> entries{{"Description", configuration.Description}};
    for (const ParameterDef& row : Parameters()) {
        entries.push_back({std::string(row.key), std::to_string(configuration.*row.value)});
    }
    return modIni::WriteEntries(kSection, entries, Trimmed(configuration.FileName), why);
}

bool Write(const clsRVQ& configuration)
{
    std::error_code why;
    return Write(configuration, why);
}

} // namespace modConfigFile
