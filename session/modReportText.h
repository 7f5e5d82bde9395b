// A report of a write in words, for windows, command line and files. UTF-8.
#pragma once

#include "session/WriteReport.h"

#include <cstdint>
#include <string>
#include <vector>

namespace modReportText {

/// One sentence: "Factory defaults applied, 14 values changed." or "Sent and verified: 1 value." "Verified" only when
/// nothing differs.
std::string Summary(const WriteReport& report, std::int32_t language);
/// One line for each parameter that is not as it should be, or not stored yet: name, code, values with units.
std::vector<std::string> Lines(const WriteReport& report, char decimalSeparator, std::int32_t language);

} // namespace modReportText
