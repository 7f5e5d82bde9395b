// An entry of a passport in words, as the window shows it.
#pragma once

#include "session/modPassportText.h"
#include "ui/widgets/QtText.h"

#include <QString>
#include <QStringList>

#include <cstdint>

namespace PassportText {

using Style = modPassportText::Style;

inline QString Time(double time)
{
    return FromUtf8(modPassportText::Time(time));
}
inline QString EventName(modPassport::Event event, std::int32_t language)
{
    return FromUtf8(modPassportText::EventName(event, language));
}
inline QString ChangeText(const modPassport::Change& change, const Style& style)
{
    return FromUtf8(modPassportText::ChangeText(change, style));
}
inline QStringList Lines(const modPassport::Entry& entry, const Style& style)
{
    QStringList lines;
    for (const std::string& line : modPassportText::Lines(entry, style)) {
        lines += FromUtf8(line);
    }
    return lines;
}
inline QString Result(const modPassport::Entry& entry, std::int32_t language)
{
    return FromUtf8(modPassportText::Result(entry, language));
}
inline QString Whole(const modPassport::Entry& entry, const Style& style)
{
    return FromUtf8(modPassportText::Whole(entry, style));
}

} // namespace PassportText
