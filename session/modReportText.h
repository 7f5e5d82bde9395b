// A report of a write in words, for windows, command line and files. UTF-8.
#pragma once

#include "session/WriteReport.h"

#include <cstdint>
#include <string>
#include <vector>

namespace modReportText {

/// One sentence: "Factory defaults applied, 14 values changed." or "1 value sent and verified." "Verified" only when
/// nothing differs.
std::string Summary(const WriteReport& report, std::int32_t language, char decimalSeparator);
/// One line for each parameter that is not as it should be: name, code, values with units; without the one that
/// `Summary` names. Then what was lost, and what is not stored or backed up.
std::vector<std::string> Lines(const WriteReport& report, char decimalSeparator, std::int32_t language);

/// "Offset (701)".
std::string NameAndCode(const ParameterDef& row, std::int32_t language);
/// What has failed, without a full stop: "Data Format (101) = ASCII+UNIT was refused; 3 of 25 sent, 22 not".
std::string Refusal(const TransferFailure& failure, std::int32_t language, char decimalSeparator);

} // namespace modReportText
