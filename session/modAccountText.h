// The figures of an account as texts, with the user's decimal separator. UTF-8.
#pragma once

#include "sensor/AccountFigures.h"

#include <cstdint>
#include <optional>
#include <string>

class clsAccount;

namespace modAccountText {

/// "59.8 /s".
std::string Rate(double perSecond, char decimalSeparator);
/// "50 ms", "14.2 s", "12.5 min", "3.0 h".
std::string Duration(double ms, char decimalSeparator);
/// All figures, since the start of measuring and lately, and the rates: a line for each, columns separated by tabs, as
/// spreadsheets paste them. The rate of a running recording is that of the recorder.
std::string Table(const clsAccount& account, std::optional<double> recordedRate, std::int32_t language,
                  char decimalSeparator);

} // namespace modAccountText
