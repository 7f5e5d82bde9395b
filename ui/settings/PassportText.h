// An entry of a passport in words, for the window and for its export.
#pragma once

#include "store/modPassport.h"

#include <QString>
#include <QStringList>

#include <cstdint>

namespace PassportText {

/// What the texts depend on.
struct Style {
    char decimalSeparator = '.';
    std::int32_t language = 0;
};

/// "22.11.2026 14:03:05".
QString Time(double time);
QString EventName(modPassport::Event event, std::int32_t language);
/// "ON-Threshold Q1 (421)".
QString ParameterName(const ParameterDef& row, std::int32_t language);
/// "ON-Threshold Q1 (421): 1000 → 1200 mm", and what was read back where that is something else.
QString ChangeText(const modPassport::Change& change, const Style& style);
/// One for each change; of an identity, what the sensor says of itself.
QStringList Lines(const modPassport::Entry& entry, const Style& style);
/// "verified", "differs", "failed"; empty without a result.
QString Result(const modPassport::Entry& entry, std::int32_t language);
/// The whole entry, its first line with time, event, user, version, port and result, for text files and the reader.
QString Whole(const modPassport::Entry& entry, const Style& style);

} // namespace PassportText
