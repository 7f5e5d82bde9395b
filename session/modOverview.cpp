#include "session/modOverview.h"

#include "base/Days.h"

#include <algorithm>

namespace modOverview {

namespace {

constexpr double kShortest = 1.0 / kMsPerDay;

} // namespace

Part PartAt(double x, double left, double right)
{
    const double inside = std::min(kHandle, (right - left) / 3.0);
    if (x < left - kHandle || x > right + kHandle) {
        return Part::Outside;
    }
    if (x <= left + inside) {
        return Part::Begin;
    }
    return x >= right - inside ? Part::End : Part::Inside;
}

PlaceRange Moved(const PlaceRange& range, double days, const PlaceRange& all)
{
    const double length = std::min(range.Length(), all.Length());
    const double begin = std::clamp(range.begin + days, all.begin, all.end - length);
    return {begin, begin + length};
}

PlaceRange Stretched(const PlaceRange& range, Part edge, double place, const PlaceRange& all)
{
    const double within = std::clamp(place, all.begin, all.end);
    if (edge == Part::Begin) {
        return {std::min(within, range.end - kShortest), range.end};
    }
    return {range.begin, std::max(within, range.begin + kShortest)};
}

PlaceRange Zoomed(const PlaceRange& range, double place, double factor, const PlaceRange& all)
{
    const double shortest = std::min(kShortest, all.Length());
    const double length = std::clamp(range.Length() * factor, shortest, all.Length());
    const double share = range.Length() > 0.0 ? (place - range.begin) / range.Length() : 0.5;
    return Moved({place - share * length, place - share * length + length}, 0.0, all);
}

std::vector<HistoryGap> OpenGaps(const clsHistory& history, double shortest)
{
    std::vector<HistoryGap> gaps;
    if (history.IsEmpty()) {
        return gaps;
    }
    const PlaceRange all = history.Range();
    const auto add = [&](const PlaceRange& range) {
        if (range.Length() > 0.0 && range.Length() >= shortest) {
            gaps.push_back({range, GapReason::NoEcho});
        }
    };
    const auto first = history.NearestDistance(all.begin), last = history.NearestDistance(all.end);
    if (!first || !last) {
        add(all);
        return gaps;
    }
    add({all.begin, history.At(*first).place});
    add({history.At(*last).place, all.end});
    return gaps;
}

} // namespace modOverview
