// An entry of a passport in words, for windows, command line and exports. UTF-8.
#pragma once

#include "store/modPassport.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace modPassportText {

/// What the texts depend on.
struct Style {
    char decimalSeparator = '.';
    std::int32_t language = 0;
};

/// "22.11.2026 14:03:05".
std::string Time(double time);
std::string EventName(modPassport::Event event, std::int32_t language);
/// "ON-Threshold Q1 (421): 1000 → 1200 mm", and what was read back where that is something else.
std::string ChangeText(const modPassport::Change& change, const Style& style);
/// One for each change; of an identity, what the sensor says of itself.
std::vector<std::string> Lines(const modPassport::Entry& entry, const Style& style);
/// "verified", "differs", "failed"; empty without a result.
std::string Result(const modPassport::Entry& entry, std::int32_t language);
/// The whole entry: a line with time, event, user, version, port and result, then the others, indented.
std::string Whole(const modPassport::Entry& entry, const Style& style);

/// "No. 070132"; empty without a number. The number has one byte per character and may hold anything.
std::string SerialText(std::string_view serialNo, std::int32_t language);

} // namespace modPassportText
