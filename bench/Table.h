// The rows of the table that ./benchmark prints: our value beside a reference of the same run, and the aim.
#pragma once

#include <optional>
#include <string>
#include <vector>

/// The middle value. There must be at least one.
double Median(std::vector<double> values);

/// A time with three digits and the unit that suits it.
std::string TimeText(double seconds);
/// A number with this many decimals.
std::string NumberText(double value, int decimals);

struct TableRow {
    std::string part, what;
    std::string ours, reference;
    double ratio = 0.0; ///< ours to reference
    std::string aim;    ///< empty: none
    std::optional<bool> isMet = std::nullopt;

    /// The aim is a ratio of at most `limit`.
    TableRow& RatioAtMost(double limit);
    /// The aim is to be this many times faster than the reference.
    TableRow& TimesFaster(double limit);
    /// The aim is the value itself.
    TableRow& Aim(const std::string& text, bool met);
    /// Writes it to standard output.
    void Print() const;
};

/// A row about times.
TableRow TimeRow(const std::string& part, const std::string& what, double ours_s, const std::string& reference,
                 double reference_s);
