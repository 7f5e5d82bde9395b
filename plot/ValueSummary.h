// What a stretch of values comes down to: what a column of a picture, and a table of statistics, have to know of it.
#pragma once

#include <cstdint>

/// The values of one column of a picture, or of any other stretch of time, in millimetres.
struct ValueSummary {
    std::int64_t valid = 0;                 ///< distances that are drawn: those of 0 where zeros are shown
    std::int64_t noEcho = 0, tempError = 0; ///< replies without a distance, among them hidden zeros
    std::int64_t gaps = 0;                  ///< marks of gaps
    std::int32_t minimum = 0, maximum = 0;  ///< of the distances, as are the first and the last
    std::int32_t first = 0, last = 0;
    bool joinsBefore = false; ///< nothing lies between the first one and the distance before it: a line joins them
    bool isWhole = true;      ///< nothing lies between its distances: one line goes through all of them
    /// Of some of its values only a summary is known, which lies in columns beside it, too: each of them has the lowest
    /// and highest value of all, and `valid` counts them where they begin, and as one further on.
    bool isCoarse = false;

    bool IsEmpty() const { return valid + noEcho + tempError + gaps == 0; }
};

/// What the statistics say about a stretch of time. Lengths in millimetres; meaningless without enough distances:
/// `valid` of at least 1 (minimum to mean), 2 (deviation).
struct Statistics {
    std::int64_t values = 0, valid = 0; ///< replies, and distances among them
    double minimum = 0.0, maximum = 0.0, mean = 0.0;
    double deviation = 0.0;       ///< standard deviation of the sample (n - 1)
    bool hasDrift = false;        ///< the distances are not all at one time
    double drift_perMinute = 0.0; ///< slope of the line of least squares
    double rate_perSecond = 0.0;  ///< replies; 0 while all are at one time
    bool isThinned = false;       ///< a part of it is kept as lowest and highest value a second only
};
