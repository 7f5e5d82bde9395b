// The search for a sensor in words, for windows and command line. UTF-8.
#pragma once

#include "session/clsFinder.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace modFindText {

/// Whether a step is what became of a port, not what is tried there. Of a device that is only a name, nothing became.
bool IsOutcome(const FindStep& step);

/// "COM 1 (/dev/ttyS0), 9600 bit/s: listening". Empty for `Found`, which `FoundText` describes.
std::string StepText(const FindStep& step, std::int32_t language);

/// "COM 1 (/dev/ttyS0), 9600 bit/s: sensor 004711, version 2.07".
std::string FoundText(const FoundSensor& sensor, std::int32_t language);

/// What there is to say once the search is over or was stopped.
std::string ResultText(std::size_t found, bool isStopped, std::int32_t language);

} // namespace modFindText
