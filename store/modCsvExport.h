// A recording as a table for spreadsheets and scripts.
#pragma once

#include "sensor/Measurement.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace modCsvExport {

struct Format {
    char separator = ',';
    char decimalSign = '.';
    bool byteOrderMark = false; ///< without it some spreadsheets do not see that the text is UTF-8
};

/// Tables that open with a double click in a German and in an English spreadsheet.
inline constexpr Format kGermanSpreadsheet{';', ',', true};
inline constexpr Format kEnglishSpreadsheet{',', '.', true};

/// What an export needs from its caller.
struct Target {
    /// Takes the next piece of the table, UTF-8; false ends the export.
    std::function<bool(std::string_view piece)> write;
    /// Called now and then with how much has been read, 0..1; false ends the export.
    std::function<bool(double fraction)> goOn;
};

struct Exported {
    bool finished = false; ///< everything was written
    std::int64_t rows = 0;
    std::int64_t unreadable = 0; ///< lines left out
};

/// Writes a recording as a table: the four names of `header` (UTF-8, separated by "|"), then a row for each line that
/// can be read: local time as in "2026-11-15T13:05:07.250", millimetres (empty without a distance), "OK", "No Echo" or
/// "TempError", degrees Celsius. Rows end with CR LF; a field that holds the separator is quoted. Throws
/// std::system_error when the recording cannot be read.
Exported ExportCsv(const std::filesystem::path& recording, const Format& format, std::string_view header,
                   const Target& target);

// The parts of such a table, for values that come from elsewhere.
struct Row {
    double time = 0.0;
    MeasurementKind kind = MeasurementKind::Distance;
    std::int32_t value_mm = 0;
    std::string_view temperature = {}; ///< as the sensor sends it
};
std::string HeaderRow(std::string_view header, const Format& format);
void AppendRow(std::string& table, const Row& row, const Format& format);

} // namespace modCsvExport
