#include "plot/clsView.h"

#include "plot/modChartCommon.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double kLeastLongest = 60.0 / kSecondsPerDay; // whatever there is, so much can be seen at once
constexpr double kMargin = 0.1;                         // of everything that may be empty beside it
constexpr double kInSight = 0.1;                        // of the window that must not be empty
constexpr double kSlip = 0.02;                          // of the window, by which a hand may miss the newest value
constexpr double kLeastAll_ms = 10000.0, kGrowth = 1.1;
constexpr double kLeastHeight_mm = 1e-3, kMostHeight_mm = 1e10;

bool isStretch(const PlaceRange& range)
{
    return modChartCommon::IsDrawable(range.begin) && modChartCommon::IsDrawable(range.end) && range.begin <= range.end;
}

PlaceRange moved(const PlaceRange& range, double days)
{
    return {range.begin + days, range.end + days};
}

/// `range` in such a place that a part of it has data.
PlaceRange inSight(const PlaceRange& range, const PlaceRange& all)
{
    const double least = kInSight * range.Length();
    if (range.begin > all.end - least) {
        return moved(range, all.end - least - range.begin);
    }
    return range.end < all.begin + least ? moved(range, all.begin + least - range.end) : range;
}

} // namespace

void clsView::Begin()
{
    m_back.clear();
    m_forward.clear();
    m_view.look.reset();
    Release();
}

double clsView::longest() const
{
    return std::max(m_scene.all ? (1.0 + kMargin) * m_scene.all->Length() : 0.0, kLeastLongest);
}

/// A length that is out of bounds already may stay.
double clsView::resized(double length, double factor) const
{
    return factor < 1.0 ? std::max(length * factor, std::min(length, kShortest))
                        : std::min(length * factor, std::max(length, longest()));
}

std::int32_t clsView::FollowedSpan_ms() const
{
    double span_ms = m_view.span * kMsPerDay;
    if (FollowsAll()) {
        const double all_ms = m_scene.all ? m_scene.all->Length() * kMsPerDay : 0.0;
        const double steps = std::ceil(std::log(std::max(all_ms / kLeastAll_ms, 1.0)) / std::log(kGrowth));
        span_ms = kLeastAll_ms * std::pow(kGrowth, steps);
    }
    constexpr auto kMost = static_cast<double>(std::numeric_limits<std::int32_t>::max());
    return static_cast<std::int32_t>(std::clamp(std::round(span_ms), 1.0, kMost));
}

double clsView::Behind() const
{
    return m_view.look && m_scene.all ? std::max(m_scene.all->end - m_view.look->end, 0.0) : 0.0;
}

void clsView::Keep()
{
    m_newest = m_scene.all ? m_scene.all->end : 0.0;
    m_forward.clear();
    if (m_back.empty() || m_back.back() != m_view) {
        m_back.push_back(m_view);
    }
    if (m_back.size() > kMostKept) {
        m_back.erase(m_back.begin());
    }
}

/// A view that has been kept but not left since is no way to go.
bool clsView::canGo(const Views& list) const
{
    return std::ranges::any_of(list, [this](const View& view) { return view != m_view; });
}

void clsView::go(Views& from, Views& to)
{
    if (!canGo(from)) {
        return;
    }
    to.push_back(m_view);
    while (from.back() == m_view) {
        from.pop_back();
    }
    m_view = from.back();
    from.pop_back();
}

void clsView::Show(const PlaceRange& range)
{
    if (!isStretch(range)) {
        return;
    }
    PlaceRange look = range;
    if (look.Length() < kShortest) {
        const double middle = (look.begin + look.end) / 2.0;
        look = {middle - kShortest / 2.0, middle + kShortest / 2.0};
    }
    m_view.look = m_scene.all ? inSight(look, *m_scene.all) : look;
}

void clsView::Zoom(double place, double factor)
{
    if (!(factor > 0.0) || !modChartCommon::IsDrawable(place) || !modChartCommon::IsDrawable(factor)) {
        return;
    }
    const PlaceRange shown = Shown();
    const double length = resized(shown.Length(), factor);
    if (!m_view.look && m_scene.isLive) {
        m_view.span = length;
        return;
    }
    const double share = shown.Length() > 0.0 ? (place - shown.begin) / shown.Length() : 0.5;
    PlaceRange look{place - share * length, place + (1.0 - share) * length};
    if (m_scene.all && length >= m_scene.all->Length()) {
        const PlaceRange all = *m_scene.all;
        look = moved(look, std::clamp(look.begin, all.end - length, all.begin) - look.begin);
    }
    Show(look);
}

void clsView::Move(double days)
{
    Show(moved(Shown(), days));
}

void clsView::Follow()
{
    m_view.look.reset();
    m_view.held_mm = m_view.followed_mm;
}

/// Values have come since the step began; they do not count.
void clsView::Settle()
{
    const auto& look = m_view.look;
    if (!look || !m_scene.isLive || !m_scene.all ||
        look->end < std::min(m_scene.all->end, m_newest) - kSlip * look->Length()) {
        return;
    }
    const bool wasFollowing = !m_back.empty() && !m_back.back().look;
    m_view.span = wasFollowing ? m_back.back().span : look->Length();
    if (wasFollowing) {
        m_view.followed_mm = m_view.held_mm; // may have been moved, too
    }
    Follow();
}

void clsView::Span(double days)
{
    const PlaceRange shown = Shown();
    if (m_scene.isLive) {
        m_view.span = days;
    }
    if (!m_view.look && m_scene.isLive) {
        return;
    }
    if (days > 0.0) {
        Show({shown.end - days, shown.end});
    } else if (m_scene.all) {
        showAll(*m_scene.all);
    }
}

/// A single value, or some at the same time, have one second around them.
void clsView::showAll(const PlaceRange& all)
{
    constexpr double kAround = 0.5 / kSecondsPerDay;
    Show(all.Length() > 0.0 ? all : PlaceRange{all.begin - kAround, all.end + kAround});
}

void clsView::Fit()
{
    Release();
    if (!m_view.look && m_scene.isLive) {
        m_view.span = 0.0;
    } else if (m_scene.all) {
        showAll(*m_scene.all);
    }
}

void clsView::Hold(const Limits& limits_mm)
{
    const auto [lower, upper] = std::minmax(limits_mm[0], limits_mm[1]);
    if (modChartCommon::IsDrawable(lower) && modChartCommon::IsDrawable(upper) && upper - lower >= kLeastHeight_mm &&
        upper - lower <= kMostHeight_mm) {
        m_view.held_mm = {lower, upper};
        m_view.followed_mm = m_view.look ? m_view.followed_mm : m_view.held_mm;
    }
}

void clsView::Release()
{
    m_view.held_mm.reset();
    m_view.followed_mm.reset();
}

void clsView::ZoomValues(double value_mm, double factor, const Limits& shown_mm)
{
    Hold({value_mm - (value_mm - shown_mm[0]) * factor, value_mm + (shown_mm[1] - value_mm) * factor});
}
