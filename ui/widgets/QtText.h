// Converts between core texts and Qt texts; nothing else does.
#pragma once

#include <QString>

#include <string>
#include <string_view>

/// Bytes of the sensor or of a file (Windows-1252, one character a byte).
QString FromBytes(std::string_view bytes);

/// The way back; a character that the code page lacks becomes "?".
std::string ToBytes(const QString& text);

/// A text for a tool tip that is shown as it is, although a sensor, a device or somebody else may have written tags
/// into it.
QString PlainToolTip(const QString& text);

/// The decimal separator of the user's locale, one byte.
char DecimalSeparator();

/// Texts of the program's own table and paths of the system (UTF-8).
inline QString FromUtf8(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}
