// One measurement as the display, the chart and the recorder get it, and the one place that tells a distance from an
// error marker.
#pragma once

#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

/// Values in millimetres that are not distances.
inline constexpr std::int32_t kMarkerNoEcho = 2147483647;
inline constexpr std::int32_t kMarkerTempError = 2147483632;
/// What "TempErr!" on the line gives in any unit. Deliberate: it is the number of "No Echo"; only the millimetres tell
/// them apart.
inline constexpr double kTempErrValue = 2147483647.0;

struct Measurement {
    double value = 0.0; ///< in the unit of `unit`
    std::int32_t value_mm = 0;
    std::int32_t unit = 0;         ///< index of a unit, 0..6
    std::int32_t outputFormat = 0; ///< of the sensor, 0..3
    // Not next to `value`: the compiler would load both in one wide read, which stalls on the store to `value` just
    // before it.
    double time = 0.0; ///< days since 1899-12-30, local time
};

enum class MeasurementKind : std::uint8_t { Distance, NoEcho, TempError };

/// The name of a marker in displays, recordings and tables: "No Echo", "TempError"; empty for a distance.
std::string_view NameOf(MeasurementKind kind);

/// What kind of measurement it is. Both value and millimetres are checked, because a marker in metres is not a round
/// number. A temperature error comes before a missing echo, because "TempErr!" on the line leaves one marker in each.
MeasurementKind KindOf(const Measurement& measurement);

/// Whether a measurement becomes a point of the chart: it is not a marker, lies below 99 999 999 in its unit, and is
/// not 0 unless zero values are wanted.
inline bool IsCharted(const Measurement& measurement, bool showZeroValues)
{
    constexpr double kLargestCharted = 99999999.0;
    // In any unit other than millimetres a marker is an ordinary number.
    const bool marker = measurement.value_mm == kMarkerTempError || measurement.value_mm == kMarkerNoEcho;
    return !marker && (measurement.value != 0.0 || showZeroValues) && std::fabs(measurement.value) < kLargestCharted;
}

/// The text of the value display: "12.345 m", "12.345 [m]" when the sensor sends plain ASCII, "No Echo" or "TempError".
std::string DistanceText(const Measurement& measurement, char decimalSeparator);
