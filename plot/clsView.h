// What an operator looks at: the newest values, or a stretch of the time axis, and the limits that the value axis
// keeps. Here are the ways from one view to another, and the list of views to go back to. It knows neither the values
// nor the picture.
#pragma once

#include "base/Days.h"
#include "plot/PlaceRange.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

class clsView {
public:
    using Limits = std::array<double, 2>;
    static constexpr double kShortest = 1.0 / kMsPerDay;
    static constexpr std::size_t kMostKept = 100;

    /// What there is to look at; it changes with every value.
    struct Scene {
        std::optional<PlaceRange> all{}; ///< from the first to the last entry; none: nothing was measured
        PlaceRange followed{};           ///< what the chart shows while it is not looked into
        bool isLive = true;              ///< more values come, so the newest can be followed
    };

    void Update(const Scene& scene) { m_scene = scene; }
    /// Forgets all views: other values are shown from now on. The followed span stays.
    void Begin();

    /// The stretch that is looked at; none while the chart follows.
    const std::optional<PlaceRange>& Look() const { return m_view.look; }
    PlaceRange Shown() const { return m_view.look.value_or(m_scene.followed); }
    /// The span of the time axis while the chart follows, at least 1 ms. When everything is followed, it grows in
    /// steps, so that the scales stay for a while.
    std::int32_t FollowedSpan_ms() const;
    /// Whether everything is followed.
    bool FollowsAll() const { return m_view.span == 0.0; }
    /// The limits that the value axis keeps, in millimetres; none: it fits what is seen.
    const std::optional<Limits>& Held_mm() const { return m_view.held_mm; }
    /// From the right end of what is looked at to the newest value, days; 0 while the chart follows.
    double Behind() const;

    /// Puts the view on the list before it changes. All changes until the next call are one step.
    void Keep();
    bool CanGoBack() const { return canGo(m_back); }
    bool CanGoForward() const { return canGo(m_forward); }
    void Back() { go(m_back, m_forward); }
    void Forward() { go(m_forward, m_back); }

    void Freeze() { m_view.look = Shown(); }
    /// Limits that were chosen in what was looked at are not those of the newest values, and go.
    void Follow();
    /// Looks at a stretch, at least `kShortest` long and with data in sight. What is not a stretch is ignored.
    void Show(const PlaceRange& range);
    /// Multiplies the length of the time axis; `place` stays where it is. While the newest values are followed, these
    /// stay at the right end instead.
    void Zoom(double place, double factor);
    /// Moves towards later times, as far as data stay in sight.
    void Move(double days);
    /// After a movement: whoever has the newest value in sight again, follows it. A slip does not count.
    void Settle();
    /// A length of the time axis in days, 0 for everything. The right end stays.
    void Span(double days);
    /// Everything, with the value axis fitted.
    void Fit();

    void Hold(const Limits& limits_mm);
    void Release();
    /// Multiplies the height of the value axis, which now has the limits `shown_mm`; `value_mm` stays where it is.
    void ZoomValues(double value_mm, double factor, const Limits& shown_mm);

private:
    struct View {
        std::optional<PlaceRange> look;
        double span = 60.0 / kSecondsPerDay;        ///< while it follows, days; 0: everything
        std::optional<Limits> held_mm, followed_mm; ///< the latter while it follows
        bool operator==(const View&) const = default;
    };
    using Views = std::vector<View>;

    void showAll(const PlaceRange& all);
    double longest() const;
    double resized(double length, double factor) const;
    bool canGo(const Views& list) const;
    void go(Views& from, Views& to);

    Scene m_scene;
    View m_view;
    double m_newest = 0.0; ///< when the step began
    Views m_back, m_forward;
};
