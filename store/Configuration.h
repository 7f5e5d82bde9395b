// One configuration in memory: a parameter set with what is known of its sensor and where it is kept.
#pragma once

#include "sensor/Parameters.h"

#include <string>

struct Configuration {
    ParameterSet Parameters;
    SensorIdentity Identity;
    std::string Description;
    std::string Name;     ///< "Device" for the entry that stands for the sensor; empty for any other
    std::string FileName; ///< full path of its file, spelt as the system has it
};
