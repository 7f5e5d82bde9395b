// Which sensor was on a port last, as the passports of a folder know it. They are read once, so sessions of one program
// can share what was read.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

class clsPortSensors {
public:
    /// Reads the newest identity of each passport in a folder.
    explicit clsPortSensors(const std::filesystem::path& passports);

    /// The serial number of the sensor that was on a port last, one byte per character; nothing when none was. A sensor
    /// that has moved on counts for its new port alone.
    std::optional<std::string> LastOn(std::string_view port) const;
    /// Another identity went into the passport of a sensor.
    void Note(const std::string& serialNo, const std::string& port, double time);

private:
    struct Sensor {
        std::string serialNo, port;
        double time = 0.0;
    };
    std::map<std::string, Sensor> m_sensors; ///< by the name of the passport
};
