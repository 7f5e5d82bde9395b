// The lowest and highest of the values that a chart shows, and the few among them that an automatic axis leaves out: a
// single spike must not flatten the curve.
#pragma once

#include "plot/clsChartData.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

class clsShownValues {
public:
    static constexpr std::size_t kMostSpikes = 5;
    static constexpr std::int64_t kFewestOthers = 20;
    static constexpr std::int64_t kOthersPerSpike = 10;
    static constexpr double kFarAway = 10.0;     ///< ranges of the others
    static constexpr double kLeastRange = 0.002; ///< of their largest magnitude, so that equal values have a range

    void Add(const ChartPoint& point)
    {
        ++m_count;
        if (point.y < m_lowest.back().y) {
            insert(m_lowest, point, [](double a, double b) { return a < b; });
        }
        if (point.y > m_highest.back().y) {
            insert(m_highest, point, [](double a, double b) { return a > b; });
        }
    }

    /// The lowest and highest value; empty without one.
    std::optional<std::array<double, 2>> Range() const;

    /// What is left when the spikes are taken out: values more than ten times the range of all others away from them.
    /// There are at most five, one for ten others: more of them are a new level, which the axis follows. Below twenty
    /// others nothing is a spike.
    struct Split {
        std::array<double, 2> others{};
        std::array<double, 2> spikeless{}; ///< a value outside these limits would be a spike, too
        std::vector<ChartPoint> spikes{};
        /// The lowest and highest value, spikes included.
        std::array<double, 2> Ends() const;
        /// The same with nothing left out.
        Split WithSpikes() const { return {Ends(), {-kNone, kNone}}; }
    };
    /// Empty without a value.
    std::optional<Split> WithoutSpikes() const;

private:
    /// The outermost values, outermost first; one more than there are spikes.
    using Outermost = std::array<ChartPoint, kMostSpikes + 1>;
    static constexpr double kNone = std::numeric_limits<double>::infinity();

    template <typename Further>
    static void insert(Outermost& kept, const ChartPoint& point, Further further)
    {
        std::size_t i = kept.size() - 1;
        for (; i > 0 && further(point.y, kept[i - 1].y); --i) {
            kept[i] = kept[i - 1];
        }
        kept[i] = point;
    }
    static Outermost filled(double value)
    {
        Outermost none;
        none.fill({0.0, value});
        return none;
    }

    std::int64_t m_count = 0;
    Outermost m_lowest = filled(kNone), m_highest = filled(-kNone);
};
