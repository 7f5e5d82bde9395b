#include "store/modCsvExport.h"

#include "base/Numbers.h"
#include "store/clsRecordReader.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <string>

namespace modCsvExport {

namespace {

using namespace std::chrono;

constexpr std::size_t kPiece = std::size_t{1} << 17;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// To the nearest millisecond: a day's fraction is more than precise enough to give back that of the recording.
std::string isoTime(double time, char decimalSign)
{
    const auto total = static_cast<std::int64_t>(std::llround(time * kMsPerDay));
    const sys_time<milliseconds> point = sys_time<milliseconds>(kDayZero) + milliseconds(total);
    const auto midnight = floor<days>(point);
    const year_month_day date{midnight};
    const hh_mm_ss clock{point - midnight};
    std::string text;
    AppendPadded(text, static_cast<int>(date.year()), 4);
    text += '-';
    AppendPadded(text, static_cast<unsigned>(date.month()), 2);
    text += '-';
    AppendPadded(text, static_cast<unsigned>(date.day()), 2);
    text += 'T';
    AppendPadded(text, clock.hours().count(), 2);
    text += ':';
    AppendPadded(text, clock.minutes().count(), 2);
    text += ':';
    AppendPadded(text, clock.seconds().count(), 2);
    text += decimalSign;
    AppendPadded(text, clock.subseconds().count(), 3);
    return text;
}

/// The number in "23.5 °C", with the given decimal sign. Anything else, in a file made by hand, is left out: it could
/// be any text.
std::string celsius(std::string_view temperature, char decimalSign)
{
    std::string number(temperature.substr(0, temperature.find(' ')));
    for (char& c : number) {
        c = c == '.' || c == ',' ? decimalSign : c;
    }
    const std::string allowed = std::string("+-0123456789") + decimalSign;
    return number.find_first_not_of(allowed) == std::string::npos ? number : std::string();
}

void appendField(std::string& row, std::string_view field, char separator)
{
    const bool quoted = field.find(separator) != std::string_view::npos;
    row += quoted ? "\"" : "";
    row += field;
    row += quoted ? "\"" : "";
}

/// In millimetres the sensor's markers are plain numbers in a line, but they are not distances.
MeasurementKind kindOf(const modRecordLine::RecordedValue& value)
{
    if (value.kind != MeasurementKind::Distance) {
        return value.kind;
    }
    return KindOf({.value = static_cast<double>(value.value_mm), .value_mm = value.value_mm});
}

void appendRow(std::string& table, const modRecordLine::RecordedValue& value, const Format& format)
{
    const MeasurementKind kind = kindOf(value);
    appendField(table, isoTime(value.time, format.decimalSign), format.separator);
    table += format.separator;
    if (kind == MeasurementKind::Distance) {
        table += std::to_string(value.value_mm);
    }
    table += format.separator;
    table += kind == MeasurementKind::Distance ? "OK" : NameOf(kind);
    table += format.separator;
    appendField(table, celsius(value.temperature, format.decimalSign), format.separator);
    table += "\r\n";
}

std::string headerRow(std::string_view header, const Format& format)
{
    std::string row(format.byteOrderMark ? kByteOrderMark : std::string_view());
    for (const char c : header) {
        row += c == '|' ? format.separator : c;
    }
    return row + "\r\n";
}

} // namespace

Exported ExportCsv(const std::filesystem::path& recording, const Format& format, std::string_view header,
                   const Target& target)
{
    clsRecordReader reader(recording);
    Exported exported;
    std::string table = headerRow(header, format);
    RecordStep step = RecordStep::End;
    std::uint64_t reported = 0;
    while ((step = reader.Next()) != RecordStep::End) {
        if (step == RecordStep::Value) {
            appendRow(table, reader.Value(), format);
            ++exported.rows;
        } else if (step == RecordStep::Unreadable) {
            ++exported.unreadable;
        }
        if (reader.Position() - reported >= kPiece) {
            reported = reader.Position();
            if (!target.write(table) || !target.goOn(reader.Fraction())) {
                return exported;
            }
            table.clear();
        }
    }
    exported.finished = target.write(table);
    return exported;
}

} // namespace modCsvExport
