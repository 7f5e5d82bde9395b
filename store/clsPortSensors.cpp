#include "store/clsPortSensors.h"

#include "store/modPassport.h"

clsPortSensors::clsPortSensors(const std::filesystem::path& passports)
{
    for (const std::filesystem::path& file : modPassport::List(passports)) {
        if (const auto newest = modPassport::Newest(file, modPassport::Event::Identity)) {
            m_sensors[file.filename().native()] = {newest->identity.SerialNo, newest->port, newest->time};
        }
    }
}

std::optional<std::string> clsPortSensors::LastOn(std::string_view port) const
{
    double time = 0.0;
    std::optional<std::string> last;
    for (const auto& [name, sensor] : m_sensors) {
        if (sensor.port == port && sensor.time >= time) {
            time = sensor.time;
            last = sensor.serialNo;
        }
    }
    return last;
}

void clsPortSensors::Note(const std::string& serialNo, const std::string& port, double time)
{
    m_sensors[modPassport::FileOf({}, serialNo).native()] = {serialNo, port, time};
}
