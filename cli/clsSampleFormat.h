// Measurements as lines of output: as text for people, as CSV or as JSON for programs. Numbers have a decimal point
// whatever the user's language; a time is ISO 8601 with milliseconds and offset.
#pragma once

#include "cli/clsArguments.h"
#include "sensor/Measurement.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

enum class OutputKind : std::uint8_t { Text, Csv, Json };

/// The options of commands that print measurements.
inline constexpr OptionDef kFormatOption{"format", 'f', "text|csv|json", "form of the output (text)"};
inline constexpr OptionDef kUnitOption{"unit", 'u', "UNIT", "mm, m, in, ft, yd, mi or nm (as the sensor has it)"};

/// What `--format` says. Throws UsageError.
OutputKind OutputKindOf(const clsArguments& arguments);

/// What `--unit` says, an index of `UnitOf`; empty without it. Throws UsageError.
std::optional<std::int32_t> UnitOptionOf(const clsArguments& arguments);

class clsSampleFormat {
public:
    /// How far local time is ahead of UTC at a time, in minutes.
    using Offset = std::function<std::int32_t(double time)>;

    /// Reads `--format` and `--unit`. Throws UsageError.
    clsSampleFormat(const clsArguments& arguments, Offset offset);
    clsSampleFormat(OutputKind kind, std::optional<std::int32_t> unit, Offset offset);

    OutputKind Kind() const { return m_kind; }
    /// The first line of a table; empty for other kinds.
    std::string_view Heading() const;
    /// The line of a measurement; valid until the next call.
    const std::string& Line(const Measurement& measurement);
    /// The unit to show for values in this one: both are indexes of `UnitOf`.
    std::int32_t UnitFor(std::int32_t unit) const { return m_unit.value_or(unit); }

private:
    Measurement converted(const Measurement& measurement) const;
    void addTime(double time);
    void addTableRow(const Measurement& measurement, MeasurementKind kind);
    void addObject(const Measurement& measurement, MeasurementKind kind);

    OutputKind m_kind;
    std::optional<std::int32_t> m_unit;
    Offset m_offset;
    std::string m_line;
};
