#include "plot/clsChartData.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

void clsChartData::refuseWithoutRing()
{
    throw std::domain_error("clsChartData: division by zero, there is no ring yet");
}

void clsChartData::InitChartData(std::int32_t maximumIndex)
{
    if (maximumIndex < 0 || maximumIndex == std::numeric_limits<std::int32_t>::max()) {
        throw std::out_of_range("clsChartData: no ring of that size");
    }
    m_points.assign(static_cast<std::size_t>(maximumIndex) + 1, ChartPoint{});
    m_size = maximumIndex + 1;
    m_added = 0;
    m_hasLost = false;
    ++m_generation;
    StartIndex = 0;
    StopIndex = 0;
}

void clsChartData::Grow(std::int32_t size)
{
    if (size <= m_size) {
        return;
    }
    if (XValue(StopIndex) != 0.0) { // full
        m_hasLost = m_hasLost || m_added > static_cast<std::uint64_t>(m_size);
        std::rotate(m_points.begin(), m_points.begin() + StopIndex, m_points.end());
        StopIndex = m_size;
    }
    m_points.resize(static_cast<std::size_t>(size));
    m_size = size;
    StartIndex = 0;
    ++m_generation;
}

void clsChartData::ResetReadPointer()
{
    if (StartIndex == StopIndex) {
        return;
    }
    const bool wrapped = StartIndex > StopIndex || XValue(StopIndex) != 0.0;
    // Deliberate: after a wrap the oldest point, in slot `StopIndex`, is skipped, so a full ring shows one point less
    // than it holds.
    StartIndex = wrapped ? next(StopIndex) : 0;
}

std::array<std::span<const ChartPoint>, 2> clsChartData::Readable() const
{
    const std::span<const ChartPoint> slots(m_points);
    if (StartIndex < 0 || StartIndex >= m_size || StopIndex < 0 || StopIndex >= m_size) {
        return {};
    }
    const auto start = static_cast<std::size_t>(StartIndex);
    const auto stop = static_cast<std::size_t>(StopIndex);
    if (start <= stop) {
        return {slots.subspan(start, stop - start), {}};
    }
    return {slots.subspan(start), slots.first(stop)};
}

double clsChartData::XValue(std::int32_t index) const
{
    return m_points.at(static_cast<std::size_t>(index)).x;
}

double clsChartData::YValue(std::int32_t index) const
{
    return m_points.at(static_cast<std::size_t>(index)).y;
}
