#include "store/modCsvExport.h"

#include "base/IsoTime.h"
#include "store/clsRecordReader.h"

#include <string>

namespace modCsvExport {

namespace {

constexpr std::size_t kPiece = std::size_t{1} << 17;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

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

} // namespace

void AppendRow(std::string& table, const Row& row, const Format& format)
{
    appendField(table, IsoText(row.time, format.decimalSign), format.separator);
    table += format.separator;
    if (row.kind == MeasurementKind::Distance) {
        table += std::to_string(row.value_mm);
    }
    table += format.separator;
    table += row.kind == MeasurementKind::Distance ? "OK" : NameOf(row.kind);
    table += format.separator;
    appendField(table, celsius(row.temperature, format.decimalSign), format.separator);
    table += "\r\n";
}

std::string HeaderRow(std::string_view header, const Format& format)
{
    std::string row(format.byteOrderMark ? kByteOrderMark : std::string_view());
    for (const char c : header) {
        row += c == '|' ? format.separator : c;
    }
    return row + "\r\n";
}

Exported ExportCsv(const std::filesystem::path& recording, const Format& format, std::string_view header,
                   const Target& target)
{
    clsRecordReader reader(recording);
    Exported exported;
    std::string table = HeaderRow(header, format);
    RecordStep step = RecordStep::End;
    std::uint64_t reported = 0;
    while ((step = reader.Next()) != RecordStep::End) {
        if (step == RecordStep::Value) {
            const modRecordLine::RecordedValue& value = reader.Value();
            AppendRow(table, {value.time, kindOf(value), value.value_mm, value.temperature}, format);
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
