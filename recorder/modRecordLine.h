// The folder recorder/ keeps what was measured in files and shows such files again: recording, playback and export.
// What a measurement looks like on the screen is the monitor's business. Here: one line of a recording, written and
// read.
#pragma once

#include "monitor/Measurement.h"

#include <cstdint>
#include <string>
#include <string_view>

class clsRVQ;

namespace modRecordLine {

/// The device's last measurement as a line with its CR LF, one byte a character:
/// "15.11.2026 13:05:07,250; 1234 mm; 23 °C", or "No Echo" or "TempError" in the second field.
/// Throws std::invalid_argument when the temperature text has no blank (none was read yet) or when `CurrentTime` lies
/// outside the years 100 to 9999.
std::string RecordLine(const clsRVQ& device);

/// Whether the device has a temperature that a line can hold.
bool HasTemperature(const clsRVQ& device);

/// What a line says.
struct RecordedValue {
    double time = 0.0; ///< days since 1899-12-30
    MeasurementKind kind = MeasurementKind::Distance;
    std::int32_t value_mm = 0;    ///< of a distance
    std::string_view temperature; ///< "23 °C", part of the line; empty when it has none
};

/// Reads the lines of one recording in their order: a line without a date keeps that of the line before.
class clsLineParser {
public:
    /// Reads a line without its line end into `value`. False when it cannot be read: no second field, no blank or no
    /// comma in the first, something else than a time or a whole number where one belongs, a date outside the years 100
    /// to 9999.
    bool Parse(std::string_view line, RecordedValue& value);

private:
    bool takeUsual(std::string_view line, RecordedValue& value) const;
    bool takeAny(std::string_view line, RecordedValue& value);
    bool takeTime(std::string_view field, double& time);

    // Date and time of day up to the comma are read again only when their text changes.
    static constexpr std::size_t kHeadLength = 20; // "15.11.2026 13:05:07,"
    std::string m_head;
    double m_headTime = 0.0;
    double m_date = 0.0;
};

} // namespace modRecordLine
