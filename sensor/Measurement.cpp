#include "sensor/Measurement.h"

#include "base/Numbers.h"
#include "sensor/Parameters.h"

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

std::string_view NameOf(MeasurementKind kind)
{
    switch (kind) {
    case MeasurementKind::TempError:
        return "TempError";
    case MeasurementKind::NoEcho:
        return "No Echo";
    case MeasurementKind::Distance:
        break;
    }
    return {};
}

std::string DistanceText(const Measurement& measurement, char decimalSeparator)
{
    if (const MeasurementKind kind = KindOf(measurement); kind != MeasurementKind::Distance) {
        return std::string(NameOf(kind));
    }
    const UnitDef& unit = UnitOf(measurement.unit);
    const std::string number = FixedText(measurement.value, unit.decimals, decimalSeparator);
    const std::string name(unit.name);
    return measurement.outputFormat == FormatAscii ? number + " [" + name + "]" : number + " " + name;
}
