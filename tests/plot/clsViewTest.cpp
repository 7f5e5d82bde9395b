// The ways from one view of the time axis to another, over ten minutes of values from noon on.
#include "plot/clsView.h"

#include <functional>
#include <gtest/gtest.h>
#include <limits>

namespace {

constexpr double kNoon = 46000.5;
constexpr double kSecond = 1.0 / 86400.0;
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

clsView viewOf(bool isLive, double seconds = 600.0)
{
    clsView view;
    const double end = kNoon + seconds * kSecond;
    view.Update({.all = PlaceRange{kNoon, end}, .followed = {end - 60.0 * kSecond, end}, .isLive = isLive});
    return view;
}

PlaceRange seconds(double begin, double end)
{
    return {kNoon + begin * kSecond, kNoon + end * kSecond};
}

TEST(View, EveryWayLeadsToItsStretch)
{
    struct Row {
        const char* way;
        bool isLive;
        std::function<void(clsView&)> go;
        std::optional<PlaceRange> look; ///< seconds; none: it follows
        double span_s = 60.0;           ///< while it follows
    };
    const auto at = [](double second) { return kNoon + second * kSecond; };
    const Row rows[] = {
        {"freeze", true, [](clsView& v) { v.Freeze(); }, PlaceRange{540, 600}},
        {"freeze, follow", true, [](clsView& v) { v.Freeze(), v.Follow(); }, {}},
        {"zoom while following", true, [&](clsView& v) { v.Zoom(at(550), 0.5); }, {}, 30},
        {"zoom out while following", true, [&](clsView& v) { v.Zoom(at(550), 1e6); }, {}, 660},
        {"zoom in while frozen", true, [&](clsView& v) { v.Freeze(), v.Zoom(at(550), 0.1); }, PlaceRange{549, 555}},
        {"zoom a recording", false, [&](clsView& v) { v.Zoom(at(550), 0.1); }, PlaceRange{549, 555}},
        {"as near as can be", false, [&](clsView& v) { v.Zoom(at(550), 1e-9); }, PlaceRange{550, 550.001}},
        {"as far as can be", false, [&](clsView& v) { v.Zoom(at(600), 1e9); }, PlaceRange{-60, 600}},
        {"from an end outwards", false, [&](clsView& v) { v.Zoom(at(540), 20); }, PlaceRange{0, 660}},
        {"move back", true, [](clsView& v) { v.Move(-100 * kSecond); }, PlaceRange{440, 500}},
        {"move off the data", true, [](clsView& v) { v.Move(-1); }, PlaceRange{-54, 6}},
        {"move ahead of the data", true, [](clsView& v) { v.Move(1); }, PlaceRange{594, 654}},
        {"back to the newest", true, [](clsView& v) { v.Keep(), v.Move(-9 * kSecond), v.Move(kSecond), v.Settle(); },
         PlaceRange{532, 592}},
        {"and on", true, [](clsView& v) { v.Keep(), v.Move(-9 * kSecond), v.Move(9.5 * kSecond), v.Settle(); }, {}},
        {"nothing to follow", false, [](clsView& v) { v.Keep(), v.Move(kSecond), v.Settle(); }, PlaceRange{541, 601}},
        {"span while following", true, [](clsView& v) { v.Span(10 * kSecond); }, {}, 10},
        {"span while frozen", true, [](clsView& v) { v.Freeze(), v.Span(10 * kSecond); }, PlaceRange{590, 600}},
        {"all of a recording", false, [](clsView& v) { v.Span(0); }, PlaceRange{0, 600}},
        {"fit while following", true, [](clsView& v) { v.Fit(); }, {}, 602.4},
        {"fit while frozen", true, [](clsView& v) { v.Freeze(), v.Fit(); }, PlaceRange{0, 600}},
        {"no length", false,
         [&](clsView& v) {
             v.Show({at(5), at(5)});
         },
         PlaceRange{4.9995, 5.0005}},
        {"no stretch",
         true,
         [](clsView& v) {
             v.Show({kNan, kNan}), v.Zoom(kNan, 2), v.Zoom(kNoon, 0);
         },
         {}},
    };
    for (const Row& row : rows) {
        clsView view = viewOf(row.isLive);
        row.go(view);
        ASSERT_EQ(view.Look().has_value(), row.look.has_value()) << row.way;
        if (row.look) {
            EXPECT_NEAR((view.Look()->begin - kNoon) / kSecond, row.look->begin, 3e-4) << row.way;
            EXPECT_NEAR((view.Look()->end - kNoon) / kSecond, row.look->end, 3e-4) << row.way;
        } else {
            EXPECT_NEAR(view.FollowedSpan_ms(), row.span_s * 1000.0, 1.0) << row.way;
        }
    }
}

TEST(View, GoesBackAStepAtATime)
{
    clsView view = viewOf(true);
    view.Back();
    EXPECT_FALSE(view.CanGoBack() || view.CanGoForward() || view.Look());
    view.Keep();
    view.Move(-10 * kSecond); // a drag
    view.Move(-10 * kSecond);
    view.Keep();
    EXPECT_TRUE(view.CanGoBack());
    view.Span(10 * kSecond);
    view.Hold({2000, 4000});
    view.Keep(); // nothing follows
    view.Back();
    EXPECT_NEAR(view.Look()->begin, seconds(520, 0).begin, 1e-9);
    EXPECT_FALSE(view.Held_mm());
    view.Back();
    EXPECT_FALSE(view.Look() || view.CanGoBack());
    EXPECT_EQ(view.FollowedSpan_ms(), 60000);
    view.Forward();
    view.Forward();
    EXPECT_NEAR(view.Look()->begin, seconds(570, 0).begin, 1e-9);
    EXPECT_EQ(view.Held_mm(), (clsView::Limits{2000, 4000}));
    EXPECT_FALSE(view.CanGoForward());
    view.Back();
    view.Keep();
    view.Follow();
    EXPECT_FALSE(view.CanGoForward()) << "another way was taken";
    view.Begin();
    EXPECT_FALSE(view.CanGoBack());
}

TEST(View, AFrozenViewFallsBehindTheNewestValue)
{
    clsView view = viewOf(true);
    EXPECT_EQ(view.Behind(), 0.0);
    view.Freeze();
    EXPECT_EQ(view.Behind(), 0.0);
    view.Update({.all = seconds(0, 612), .followed = seconds(552, 612)});
    EXPECT_NEAR(view.Behind() / kSecond, 12.0, 1e-4);
    view.Move(20 * kSecond);
    EXPECT_EQ(view.Behind(), 0.0);
}

/// Otherwise every value of a session would have all scales drawn anew.
TEST(View, EverythingIsFollowedInSteps)
{
    clsView view;
    view.Fit();
    EXPECT_EQ(view.FollowedSpan_ms(), 10000) << "before the first value";
    int steps = 0;
    std::int32_t before = view.FollowedSpan_ms();
    for (int second = 1; second <= 3600; ++second) {
        view.Update({.all = seconds(0, second)});
        const std::int32_t span_ms = view.FollowedSpan_ms();
        EXPECT_GE(span_ms, second * 1000 - 1);
        EXPECT_LE(span_ms, std::max(second * 1100 + 1, 10000));
        steps += span_ms != before ? 1 : 0;
        before = span_ms;
    }
    EXPECT_LT(steps, 70);
    view.Update({.all = seconds(0, 30 * 86400.0)});
    EXPECT_EQ(view.FollowedSpan_ms(), std::numeric_limits<std::int32_t>::max()) << "a month";
}

TEST(View, ASingleValueHasASecondAroundIt)
{
    for (const bool isLive : {true, false}) {
        clsView view = viewOf(isLive, 0.0);
        view.Freeze();
        view.Fit();
        EXPECT_EQ(view.Look(), seconds(-0.5, 0.5)) << isLive;
    }
}

TEST(View, HeldLimitsAreAHeightThatCanBeDrawn)
{
    clsView view = viewOf(true);
    view.ZoomValues(1000, 0.5, {0, 4000});
    EXPECT_EQ(view.Held_mm(), (clsView::Limits{500, 2500}));
    for (const clsView::Limits& none :
         {clsView::Limits{7, 7}, clsView::Limits{kNan, 7}, clsView::Limits{-1e11, 1e11}}) {
        view.Hold(none);
        EXPECT_EQ(view.Held_mm(), (clsView::Limits{500, 2500})) << none[0];
    }
    view.Hold({9, 1});
    EXPECT_EQ(view.Held_mm(), (clsView::Limits{1, 9}));
    view.Freeze();
    view.Hold({3, 5}); // in a rectangle
    view.Follow();
    EXPECT_EQ(view.Held_mm(), (clsView::Limits{1, 9})) << "as it was while it followed";
    view.Fit();
    EXPECT_FALSE(view.Held_mm());
}

TEST(View, ASlipOfTheHandGoesOnFollowing)
{
    clsView view = viewOf(true);
    view.Fit();
    view.Hold({0, 1000});
    view.Keep();
    view.Move(-0.5 * kSecond);
    view.Hold({100, 1100});                                             // upwards
    view.Update({.all = seconds(0, 650), .followed = seconds(0, 650)}); // meanwhile
    view.Settle();
    EXPECT_FALSE(view.Look());
    EXPECT_TRUE(view.FollowsAll());
    EXPECT_EQ(view.Held_mm(), (clsView::Limits{100, 1100}));
}

} // namespace
