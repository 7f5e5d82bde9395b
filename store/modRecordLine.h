// One line of a recording, written and read.
#pragma once

#include "base/Days.h"
#include "sensor/Measurement.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace modRecordLine {

/// A measurement with the temperature that was read last, as a line with its CR LF, one byte a character:
/// "15.11.2026 13:05:07,250; 1234 mm; 23 °C", or "No Echo" or "TempError" in the second field, as on the display. In a
/// disturbed temperature, control characters and the characters that separate the parts of a line become "?". Throws
/// std::invalid_argument when the temperature text has no blank (none was read yet) or when its time lies outside the
/// years 100 to 9999.
std::string RecordLine(const Measurement& measurement, std::string_view temperature);

/// What a line says of the time and the kind of a measurement; a time outside the calendar comes back as it is.
double TimeInLine(double time);
MeasurementKind KindInLine(const Measurement& measurement);

/// Whether a line can hold a temperature.
bool HasTemperature(std::string_view temperature);

/// What a line says.
struct RecordedValue {
    double time = 0.0; ///< days since 1899-12-30
    MeasurementKind kind = MeasurementKind::Distance;
    std::int32_t value_mm = 0;    ///< of a distance
    std::string_view temperature; ///< "23 °C", part of the line; empty when it has none
    bool sameTemperature = false; ///< known to be the same as in the line before
    bool sameSecond = false;      ///< known to be of the same second as the line before
};

/// Reads the lines of one recording in their order: a line without a date takes that of the line before.
class clsLineParser {
public:
    /// `date` is that of the line before the first, in days since 1899-12-30.
    explicit clsLineParser(double date = 0.0) : m_date(date) {}
    /// The date of the last line.
    double Date() const { return m_date; }

    /// Reads a line without its line end into `value`. False when it cannot be read: no second field, no blank or no
    /// comma in the first, anything but a time or a whole number where one belongs, a date outside the years 100 to
    /// 9999, or the remains of a cut-off line at the beginning.
    bool Parse(std::string_view line, RecordedValue& value);

    /// The same for a line at the head of `bytes` that is like the one before: the same date and temperature, and
    /// written as RecordLine writes a distance. Nearly every line is. Returns its length with the line end; 0, and
    /// `value` undefined, when the line is of another kind or incomplete.
    std::size_t TakeUsual(std::string_view bytes, RecordedValue& value)
    {
        if (m_head.empty() || bytes.size() < kLongestUsual + m_tail.size()) {
            return 0;
        }
        const bool sameSecond = same(bytes.data(), m_head.data(), kHeadLength);
        if (!sameSecond && !takeSecond(bytes.data())) {
            return 0;
        }
        const char* at = bytes.data() + kHeadLength;
        if (!isDigit(at[0]) || !isDigit(at[1]) || !isDigit(at[2]) || at[3] != ';' || at[4] != ' ') {
            return 0;
        }
        const int milliseconds = (at[0] - '0') * 100 + (at[1] - '0') * 10 + (at[2] - '0');
        at += kMilliseconds;
        const char* const firstDigit = at;
        std::int32_t number = 0;
        for (; isDigit(*at) && at - firstDigit < kDigits; ++at) {
            number = number * 10 + (*at - '0');
        }
        if (at == firstDigit || !same(at, m_tail.data(), m_tail.size())) {
            return 0;
        }
        value.time = m_headTime + milliseconds / kMsPerDay;
        value.kind = MeasurementKind::Distance;
        value.value_mm = number;
        value.temperature = {at + kUnit.size(), m_tail.size() - kUnit.size() - kLineEnd.size()};
        value.sameTemperature = true;
        value.sameSecond = sameSecond;
        return static_cast<std::size_t>(at - bytes.data()) + m_tail.size();
    }

private:
    static constexpr std::size_t kHeadLength = 20;  // "15.11.2026 13:05:07,"
    static constexpr std::size_t kMilliseconds = 5; // "250; "
    static constexpr int kDigits = 9;               // fit 32 bits whatever they are
    static constexpr std::size_t kLongestUsual = kHeadLength + kMilliseconds + kDigits + 1;
    static constexpr std::string_view kUnit = " mm; ", kLineEnd = "\r\n";
    static constexpr std::size_t kLongestTemperature = 24 - kUnit.size() - kLineEnd.size(); // see `same`

    /// Whether 8 to 24 bytes are equal: three comparisons, for which the compiler would call a function.
    static bool same(const char* a, const char* b, std::size_t size)
    {
        const auto differ = [a, b](std::size_t at) {
            std::uint64_t left = 0, right = 0;
            std::memcpy(&left, a + at, sizeof left);
            std::memcpy(&right, b + at, sizeof right);
            return left ^ right;
        };
        return (differ(size - 8) | differ(std::min<std::size_t>(size - 8, 8)) | differ(0)) == 0;
    }
    static bool isDigit(char c) { return c >= '0' && c <= '9'; }
    bool takeSecond(const char* head);
    bool takeTime(std::string_view field, double& time);
    void remember(std::string_view line, const RecordedValue& value);

    // Date and time of day up to the comma are read again only when their text changes.
    std::string m_head;
    double m_headTime = 0.0;
    std::string m_tail; ///< what follows the number, with the line end
    std::string m_dateText;
    double m_date;
};

} // namespace modRecordLine
