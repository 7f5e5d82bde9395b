#include "monitor/Measurement.h"

#include "device/Parameters.h"
#include "shell/Numbers.h"

#include <cmath>

namespace {

constexpr double kLargestCharted = 99999999.0;

} // namespace

Measurement MeasurementOf(const clsRVQ& device)
{
    return {device.CurrentTime, device.MeasValue, device.MeasValue_mm, device.DistanceUnit, device.OutputFormat};
}

MeasurementKind KindOf(const Measurement& measurement)
{
    if (measurement.value == kMarkerTempError || measurement.value_mm == kMarkerTempError) {
        return MeasurementKind::TempError;
    }
    if (measurement.value == kMarkerNoEcho || measurement.value_mm == kMarkerNoEcho || measurement.value_mm == 0) {
        return MeasurementKind::NoEcho;
    }
    return MeasurementKind::Distance;
}

bool IsCharted(const Measurement& measurement, bool showZeroValues)
{
    // In another unit than millimetres a marker is an ordinary number.
    const bool marker = measurement.value_mm == kMarkerTempError || measurement.value_mm == kMarkerNoEcho;
    return !marker && (measurement.value != 0.0 || showZeroValues) && std::fabs(measurement.value) < kLargestCharted;
}

std::string DistanceText(const Measurement& measurement, char decimalSeparator)
{
    switch (KindOf(measurement)) {
    case MeasurementKind::TempError:
        return "TempError";
    case MeasurementKind::NoEcho:
        return "No Echo";
    case MeasurementKind::Distance:
        break;
    }
    const UnitDef& unit = UnitOf(measurement.unit);
    const std::string number = FixedText(measurement.value, unit.decimals, decimalSeparator);
    const std::string name(unit.name);
    return measurement.outputFormat == FormatAscii ? number + " [" + name + "]" : number + " " + name;
}
