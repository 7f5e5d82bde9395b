#include "plot/clsValueAxis.h"

#include "plot/clsFIFO.h"

#include <vector>

std::optional<std::array<double, 2>>
clsValueAxis::Fit(const clsFIFO& newest, const std::optional<clsShownValues::Split>& shown, double millimetres)
{
    std::vector<double> values_mm;
    values_mm.reserve(static_cast<std::size_t>(newest.Count()) + 2);
    for (std::int32_t i = 0; i < newest.Count(); ++i) {
        const double value = newest.Value(i);
        if (!shown || (value >= shown->spikeless[0] && value <= shown->spikeless[1])) {
            values_mm.push_back(value * millimetres);
        }
    }
    if (shown) {
        values_mm.insert(values_mm.end(), {shown->others[0] * millimetres, shown->others[1] * millimetres});
    }
    m_range_mm = modChartCommon::AutomaticRange(m_range_mm, values_mm);
    if (m_range_mm.upper > m_range_mm.lower) {
        return std::array{m_range_mm.lower / millimetres, m_range_mm.upper / millimetres};
    }
    return {};
}
