#include "ui/chart/ChartReader.h"

#include "base/Days.h"
#include "ui/chart/XYChart.h"

#include <cmath>

namespace {

constexpr double kGraspWidth = 5.0;            // units on both sides of a cursor
constexpr double kSnapWidth = 6.0;             // beside a gap or the ends, as far as a sample attracts the pointer
constexpr double kTolerance = 0.5 / kMsPerDay; // what lies at an end is seen, whatever its last bits are

bool isDistance(const HistoryEntry& entry)
{
    return entry.isKnown && !entry.gap && entry.kind == MeasurementKind::Distance;
}

} // namespace

void ChartReader::Forget()
{
    m_cursors = {};
    m_chosen.reset();
    m_byKeys.reset();
    m_pointed.reset();
}

const clsHistory* ChartReader::history() const
{
    return m_chart.Source() != nullptr && !m_chart.Source()->IsEmpty() ? m_chart.Source() : nullptr;
}

std::optional<ChartReader::Reading> ChartReader::read(std::optional<std::size_t> index) const
{
    if (!index) {
        return {};
    }
    const HistoryEntry entry = history()->At(*index);
    return entry.isKnown ? std::optional(Reading{.place = entry.place,
                                                 .value_mm = entry.value_mm,
                                                 .number = history()->Forgotten() + static_cast<std::int64_t>(*index)})
                         : std::nullopt;
}

std::optional<ChartReader::Reading> ChartReader::nearest(double place) const
{
    return history() != nullptr ? read(history()->NearestDistance(place)) : std::nullopt;
}

/// The sample itself, or what is nearest to it now: the history may have been thinned.
std::optional<std::size_t> ChartReader::indexOf(const Reading& sample) const
{
    const std::int64_t index = sample.number - history()->Forgotten();
    if (sample.number >= 0 && index >= 0 && index < static_cast<std::int64_t>(history()->Size())) {
        const HistoryEntry entry = history()->At(static_cast<std::size_t>(index));
        if (isDistance(entry) && entry.place == sample.place) {
            return static_cast<std::size_t>(index);
        }
    }
    return history()->NearestDistance(sample.place);
}

/// In an empty part the nearest sample may be far away; what is seen counts.
std::optional<ChartReader::Reading> ChartReader::nearestSeen(const Reading& start) const
{
    const PlaceRange shown = m_chart.ShownRange();
    const auto isSeen = [&](const std::optional<Reading>& sample) {
        return sample && sample->place >= shown.begin - kTolerance && sample->place <= shown.end + kTolerance;
    };
    const auto nearestOfAll = read(indexOf(start));
    if (isSeen(nearestOfAll)) {
        return nearestOfAll;
    }
    const std::size_t at = history()->IndexAt(std::clamp(start.place, shown.begin, shown.end));
    const auto before = read(history()->PreviousDistance(at));
    const bool isItself = at < history()->Size() && isDistance(history()->At(at));
    const auto after = read(isItself ? std::optional(at) : history()->NextDistance(at));
    return isSeen(before) ? before : isSeen(after) ? after : std::nullopt;
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
    // The samples here may be on a disk that no longer gives them; the nearest known one is hours away then.
    const bool isKnown = history()->At(std::min(history()->IndexAt(place), history()->Size() - 1)).isKnown;
    return isKnown && place >= all.begin && place <= all.end ? sample : std::nullopt;
}

void ChartReader::Point(std::optional<double> x)
{
    m_x = x;
    m_byKeys.reset();
    Update();
}

void ChartReader::Update()
{
    if (history() == nullptr) {
        m_pointed.reset();
    } else if (m_x) {
        m_pointed = readAt(*m_x);
    } else if (m_byKeys) {
        m_pointed = read(indexOf(*m_byKeys));
    } else {
        m_pointed.reset();
    }
}

/// Where a cursor is set, and where the keys begin: at the pointer, else at the newest value, or in the middle when
/// that is not in sight.
ChartReader::Reading ChartReader::startOfKeys() const
{
    if (m_pointed) {
        return *m_pointed;
    }
    const PlaceRange shown = m_chart.ShownRange();
    const bool isBehind = shown.end + kTolerance < history()->Range().end;
    return {.place = isBehind ? (shown.begin + shown.end) / 2.0 : history()->Range().end};
}

void ChartReader::setCursor(int cursor, const Reading& sample)
{
    m_cursors.at(static_cast<std::size_t>(cursor)) = sample.place;
    m_numbers.at(static_cast<std::size_t>(cursor)) = sample.number;
    m_chosen = cursor;
}

ChartReader::Reading ChartReader::atCursor(std::size_t cursor) const
{
    return {.place = m_cursors.at(cursor).value_or(0.0), .number = m_numbers.at(cursor)};
}

bool ChartReader::Toggle(int cursor)
{
    auto& place = m_cursors.at(static_cast<std::size_t>(cursor));
    if (place) {
        place.reset();
        m_chosen.reset();
        return true;
    }
    const auto sample = history() != nullptr ? nearestSeen(startOfKeys()) : std::nullopt;
    if (sample) {
        setCursor(cursor, *sample);
    }
    return sample.has_value();
}

void ChartReader::Drag(int cursor, double x)
{
    if (const auto sample = nearest(m_chart.PlaceAt(x))) {
        setCursor(cursor, *sample);
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
    const auto number = static_cast<std::size_t>(cursor);
    return m_cursors.at(number) && history() != nullptr ? read(indexOf(atCursor(number))) : std::nullopt;
}

std::optional<ChartReader::Reading> ChartReader::Step(std::int32_t samples)
{
    if (history() == nullptr) {
        return {};
    }
    const bool movesCursor = m_chosen && m_cursors.at(static_cast<std::size_t>(*m_chosen));
    auto index = indexOf(movesCursor ? atCursor(static_cast<std::size_t>(*m_chosen)) : startOfKeys());
    for (auto next = index; next && samples != 0; samples += samples < 0 ? 1 : -1) {
        next = samples < 0 ? history()->PreviousDistance(*index) : history()->NextDistance(*index);
        index = next ? next : index;
    }
    const auto sample = read(index);
    if (sample && movesCursor) {
        setCursor(*m_chosen, *sample);
    } else if (sample) {
        m_x.reset();
        m_byKeys = sample;
    }
    Update();
    return sample;
}
