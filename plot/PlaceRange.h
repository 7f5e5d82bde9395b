// A stretch of the time axis.
#pragma once

/// By places, days; see `clsTimeLine`.
struct PlaceRange {
    double begin = 0.0, end = 0.0;
    double Length() const { return end - begin; } ///< days
    bool operator==(const PlaceRange&) const = default;
};
