#include "shell/QtText.h"

#include <QLocale>

#include <algorithm>
#include <array>

namespace {

// Windows-1252 differs from Latin-1 in 0x80..0x9F only. The five codes that it leaves open stand for themselves, so
// that every byte survives the way there and back.
constexpr std::array<char16_t, 32> kHighControls{0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                 0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                                 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};
constexpr char16_t kFirstHigh = 0x80;

} // namespace

char DecimalSeparator()
{
    const QString point = QLocale().decimalPoint();
    const char separator = point.isEmpty() ? '\0' : point.front().toLatin1();
    return separator != '\0' ? separator : '.'; // some scripts have a sign of their own, which no text here can hold
}

QString FromBytes(std::string_view bytes)
{
    QString text = QString::fromLatin1(bytes.data(), static_cast<qsizetype>(bytes.size()));
    for (QChar& c : text) {
        const char16_t code = c.unicode();
        if (code >= kFirstHigh && code < kFirstHigh + kHighControls.size()) {
            c = QChar(kHighControls[code - kFirstHigh]);
        }
    }
    return text;
}

std::string ToBytes(const QString& text)
{
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(text.size()));
    for (const QChar c : text) {
        const char16_t code = c.unicode();
        const auto* high = std::ranges::find(kHighControls, code);
        if (high != kHighControls.end()) {
            bytes += static_cast<char>(kFirstHigh + (high - kHighControls.begin()));
        } else if (code < kFirstHigh || (code >= kFirstHigh + kHighControls.size() && code <= 0xFF)) {
            bytes += static_cast<char>(code);
        } else if (!c.isLowSurrogate()) {
            bytes += '?';
        }
    }
    return bytes;
}
