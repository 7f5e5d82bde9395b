#include "cli/clsSampleFormat.h"

#include "base/IsoTime.h"
#include "base/Numbers.h"
#include "sensor/Parameters.h"

#include <algorithm>
#include <utility>

namespace {

/// The names of kinds in tables and objects, as sidecars have them.
std::string_view keyOf(MeasurementKind kind)
{
    switch (kind) {
    case MeasurementKind::NoEcho:
        return "noEcho";
    case MeasurementKind::TempError:
        return "tempError";
    case MeasurementKind::Distance:
        break;
    }
    return "distance";
}

} // namespace

std::optional<std::int32_t> UnitOptionOf(const clsArguments& arguments)
{
    const auto name = arguments.Value(kUnitOption.name);
    if (!name) {
        return std::nullopt;
    }
    const auto found = std::ranges::find(kUnits, *name, &UnitDef::name);
    if (found == kUnits.end()) {
        throw UsageError("--unit takes mm, m, in, ft, yd, mi or nm");
    }
    return static_cast<std::int32_t>(found - kUnits.begin());
}

OutputKind OutputKindOf(const clsArguments& arguments)
{
    const std::string_view name = arguments.Value(kFormatOption.name).value_or("text");
    if (name == "text") {
        return OutputKind::Text;
    }
    if (name != "csv" && name != "json") {
        throw UsageError("--format takes text, csv or json");
    }
    return name == "csv" ? OutputKind::Csv : OutputKind::Json;
}

clsSampleFormat::clsSampleFormat(const clsArguments& arguments, Offset offset)
    : clsSampleFormat(OutputKindOf(arguments), UnitOptionOf(arguments), std::move(offset))
{}

clsSampleFormat::clsSampleFormat(OutputKind kind, std::optional<std::int32_t> unit, Offset offset)
    : m_kind(kind), m_unit(unit), m_offset(std::move(offset))
{}

std::string_view clsSampleFormat::Heading() const
{
    return m_kind == OutputKind::Csv ? "time,distance,unit,distance_mm,kind" : "";
}

const std::string& clsSampleFormat::Line(const Measurement& measurement)
{
    const MeasurementKind kind = KindOf(measurement);
    const Measurement shown = kind == MeasurementKind::Distance ? converted(measurement) : measurement;
    m_line.clear();
    if (m_kind == OutputKind::Text) {
        m_line = DistanceText(shown, '.');
    } else if (m_kind == OutputKind::Csv) {
        addTableRow(shown, kind);
    } else {
        addObject(shown, kind);
    }
    return m_line;
}

Measurement clsSampleFormat::converted(const Measurement& measurement) const
{
    Measurement shown = measurement;
    shown.unit = UnitFor(measurement.unit);
    if (shown.unit != measurement.unit) {
        shown.value *= UnitOf(measurement.unit).millimetres / UnitOf(shown.unit).millimetres;
    }
    return shown;
}

void clsSampleFormat::addTime(double time)
{
    m_line += IsoText(time);
    m_line += IsoOffset(m_offset(time));
}

void clsSampleFormat::addTableRow(const Measurement& measurement, MeasurementKind kind)
{
    addTime(measurement.time);
    m_line += ',';
    if (kind == MeasurementKind::Distance) {
        const UnitDef& unit = UnitOf(measurement.unit);
        m_line += FixedText(measurement.value, unit.decimals, '.');
        m_line += ',';
        m_line += unit.name;
        m_line += ',';
        m_line += std::to_string(measurement.value_mm);
    } else {
        m_line += ",,";
    }
    m_line += ',';
    m_line += keyOf(kind);
}

void clsSampleFormat::addObject(const Measurement& measurement, MeasurementKind kind)
{
    m_line += R"({"time":")";
    addTime(measurement.time);
    m_line += R"(","kind":")";
    m_line += keyOf(kind);
    m_line += '"';
    if (kind == MeasurementKind::Distance) {
        const UnitDef& unit = UnitOf(measurement.unit);
        m_line += R"(,"distance":)" + FixedText(measurement.value, unit.decimals, '.') + R"(,"unit":")";
        m_line += unit.name;
        m_line += R"(","mm":)" + std::to_string(measurement.value_mm);
    }
    m_line += '}';
}
