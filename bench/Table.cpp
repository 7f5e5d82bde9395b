#include "bench/Table.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

double Median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

std::string NumberText(double value, int decimals)
{
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
    return text.data();
}

std::string TimeText(double seconds)
{
    constexpr std::pair<double, const char*> kUnits[] = {{1.0, "s"}, {1e-3, "ms"}, {1e-6, "us"}, {1e-9, "ns"}};
    const auto* unit = std::ranges::find_if(kUnits, [seconds](const auto& row) { return seconds >= row.first; });
    unit = unit == std::end(kUnits) ? unit - 1 : unit;
    const double value = seconds / unit->first;
    return NumberText(value, value < 10.0 ? 2 : value < 100.0 ? 1 : 0) + " " + unit->second;
}

TableRow& TableRow::RatioAtMost(double limit)
{
    return Aim("at most " + NumberText(limit, limit == std::floor(limit) ? 0 : 1), ratio <= limit);
}

TableRow& TableRow::TimesFaster(double limit)
{
    return Aim(limit == 1.0 ? "faster" : NumberText(limit, 0) + " times faster", ratio * limit <= 1.0);
}

TableRow& TableRow::Aim(const std::string& text, bool met)
{
    aim = text;
    isMet = met;
    return *this;
}

void TableRow::Print() const
{
    const char* met = !isMet ? "" : *isMet ? "yes" : "**no**";
    std::printf("| %s | %s | %s | %s | %s | %s | %s |\n", part.c_str(), what.c_str(), ours.c_str(), reference.c_str(),
                NumberText(ratio, ratio < 0.1 ? 4 : 2).c_str(), aim.c_str(), met);
    std::fflush(stdout);
}

TableRow TimeRow(const std::string& part, const std::string& what, double ours_s, const std::string& reference,
                 double reference_s)
{
    return {.part = part,
            .what = what,
            .ours = TimeText(ours_s),
            .reference = reference + ": " + TimeText(reference_s),
            .ratio = ours_s / reference_s,
            .aim = {}};
}
