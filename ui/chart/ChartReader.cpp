#include "ui/chart/ChartReader.h"

#include "ui/chart/XYChart.h"

#include <cmath>
#include <cstdlib>

namespace {

constexpr double kGraspWidth = 5.0;         // units on both sides of a cursor
constexpr double kSnapWidth = 6.0;          // beside a gap or the ends, as far as a sample attracts the pointer
constexpr std::size_t kMostPassed = 100000; // entries without a distance between two steps of the keys

bool isDistance(const HistoryEntry& entry)
{
    return entry.isKnown && !entry.gap && entry.kind == MeasurementKind::Distance;
}

} // namespace

void ChartReader::Forget()
{
    m_cursors = {};
    m_chosen.reset();
    m_place.reset();
    m_pointed.reset();
}

const clsHistory* ChartReader::history() const
{
    return m_chart.Source() != nullptr && !m_chart.Source()->IsEmpty() ? m_chart.Source() : nullptr;
}

std::optional<ChartReader::Reading> ChartReader::nearest(double place) const
{
    const auto index = history() != nullptr ? history()->NearestDistance(place) : std::nullopt;
    if (!index) {
        return {};
    }
    const HistoryEntry entry = history()->At(*index);
    return entry.isKnown ? std::optional(Reading{.place = entry.place, .value_mm = entry.value_mm}) : std::nullopt;
}

/// A gap is read as such unless the pointer is close to one of its ends.
std::optional<ChartReader::Reading> ChartReader::readAt(double x) const
{
    if (history() == nullptr || m_chart.PlotArea().isEmpty()) {
        return {};
    }
    const double place = m_chart.PlaceAt(x);
    const auto sample = nearest(place);
    if (sample && std::fabs(m_chart.XOf(sample->place) - x) <= kSnapWidth) {
        return sample;
    }
    if (const auto gap = history()->GapAt(place)) {
        return Reading{.place = place, .gap = gap->reason};
    }
    const PlaceRange all = history()->Range();
    return place >= all.begin && place <= all.end ? sample : std::nullopt;
}

void ChartReader::Point(std::optional<double> x)
{
    m_x = x;
    m_place.reset();
    Update();
}

void ChartReader::Update()
{
    if (history() == nullptr) {
        m_pointed.reset();
    } else if (m_x) {
        m_pointed = readAt(*m_x);
    } else if (m_place) {
        m_pointed = nearest(*m_place);
    } else {
        m_pointed.reset();
    }
}

/// Where a cursor is set, and where the keys begin: at the pointer, else at the newest value, or in the middle when
/// that is not in sight.
double ChartReader::startOfKeys() const
{
    if (m_pointed) {
        return m_pointed->place;
    }
    const PlaceRange shown = m_chart.ShownRange();
    const bool isBehind = shown.end < history()->Range().end;
    return isBehind ? (shown.begin + shown.end) / 2.0 : history()->Range().end;
}

void ChartReader::Toggle(int cursor)
{
    auto& place = m_cursors.at(static_cast<std::size_t>(cursor));
    if (place) {
        place.reset();
        m_chosen.reset();
    } else if (const auto sample = history() != nullptr ? nearest(startOfKeys()) : std::nullopt) {
        place = sample->place;
        m_chosen = cursor;
    }
}

void ChartReader::Drag(int cursor, double x)
{
    if (const auto sample = nearest(m_chart.PlaceAt(x))) {
        m_cursors.at(static_cast<std::size_t>(cursor)) = sample->place;
        m_chosen = cursor;
    }
}

std::optional<int> ChartReader::Near(double x) const
{
    std::optional<int> found;
    double least = kGraspWidth;
    for (int i = 0; i < kCursors; ++i) {
        const auto& place = m_cursors.at(static_cast<std::size_t>(i));
        if (const double distance = place ? std::fabs(m_chart.XOf(*place) - x) : kGraspWidth + 1.0; distance <= least) {
            least = distance;
            found = i;
        }
    }
    return found;
}

std::optional<ChartReader::Reading> ChartReader::OfCursor(int cursor) const
{
    const auto& place = m_cursors.at(static_cast<std::size_t>(cursor));
    return place ? nearest(*place) : std::nullopt;
}

std::optional<ChartReader::Reading> ChartReader::Step(std::int32_t samples)
{
    if (history() == nullptr) {
        return {};
    }
    const bool movesCursor = m_chosen && m_cursors.at(static_cast<std::size_t>(*m_chosen));
    const double start = movesCursor ? *m_cursors.at(static_cast<std::size_t>(*m_chosen)) : startOfKeys();
    auto index = history()->NearestDistance(start);
    if (!index) {
        return {};
    }
    std::size_t passed = 0;
    const std::size_t last = history()->Size() - 1;
    std::int32_t left = std::abs(samples);
    for (std::size_t next = *index; left > 0 && passed <= kMostPassed && next != (samples < 0 ? 0 : last);) {
        next = samples < 0 ? next - 1 : next + 1;
        ++passed;
        if (isDistance(history()->At(next))) {
            index = next;
            passed = 0;
            --left;
        }
    }
    const HistoryEntry entry = history()->At(*index);
    if (movesCursor) {
        m_cursors.at(static_cast<std::size_t>(*m_chosen)) = entry.place;
    } else {
        m_x.reset();
        m_place = entry.place;
    }
    Update();
    return Reading{.place = entry.place, .value_mm = entry.value_mm};
}
