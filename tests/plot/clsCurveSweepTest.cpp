#include "plot/clsCurveSweep.h"

#include "plot/clsCurvePainter.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

constexpr std::int32_t kWidth = 90, kHeight = 70, kMargin = 3;
constexpr double kFirst = 40000; // a day is a pixel
const CurvePen kPen{1.5, 0xFF2050C0};

class Picture {
public:
    explicit Picture(bool mirrored) : m_mirrored(mirrored) {}
    Raster Plot()
    {
        const std::int32_t first = kMargin + (m_mirrored ? kWidth - 1 : 0);
        return {m_pixels.data() + kMargin * kStep + first, m_mirrored ? -1 : 1, kStep, kWidth, kHeight};
    }
    void Prepare(const PlotGround& ground)
    {
        const Raster plot = Plot();
        for (std::int32_t row = 0; row < kHeight; ++row) {
            for (std::int32_t column = 0; column < kWidth; ++column) {
                const bool isGrid =
                    std::ranges::count(ground.rows, row) + std::ranges::count(ground.columns, column) > 0;
                plot.pixels[row * plot.rowStep + column * plot.columnStep] = isGrid ? ground.grid : ground.back;
            }
        }
    }
    /// The largest difference of a colour anywhere, margins included.
    int Difference(const Picture& other) const
    {
        int most = 0;
        for (std::size_t i = 0; i < m_pixels.size(); ++i) {
            for (const unsigned shift : {0U, 8U, 16U}) {
                const auto of = [shift](std::uint32_t pixel) { return static_cast<int>(pixel >> shift & 0xFFU); };
                most = std::max(most, std::abs(of(m_pixels[i]) - of(other.m_pixels[i])));
            }
        }
        return most;
    }

private:
    static constexpr std::int32_t kStep = kWidth + 2 * kMargin;
    bool m_mirrored;
    std::vector<std::uint32_t> m_pixels =
        std::vector<std::uint32_t>(std::size_t{kStep} * (kHeight + 2 * kMargin), 0xFF00FF00);
};

class Curve {
public:
    /// So many points a pixel, some of them far outside.
    Curve(std::mt19937& random, double perPixel, bool hasGaps, double swing)
    {
        std::normal_distribution<double> values(kHeight / 2.0, swing);
        std::uniform_int_distribution<int> kinds(0, 29);
        m_series.InitChartData(9999);
        for (double place = 0.05; place < kWidth; place += 1.0 / perPixel) {
            const int kind = kinds(random);
            m_series.AddChartPoint(kFirst + place, kind == 0 && hasGaps ? std::nan("")
                                                   : kind == 1          ? 1e9
                                                                        : values(random));
        }
        m_columns.Update(m_series, {kFirst * kFine, kFine, kWidth * clsPenTrace::kFineColumns}, true);
    }
    const clsCurveColumns& Columns() const { return m_columns; }

private:
    static constexpr double kFine = clsPenTrace::kFineColumns;
    clsChartData m_series;
    clsCurveColumns m_columns;
};

PlotGround groundOf(std::mt19937& random)
{
    std::uniform_int_distribution<std::int32_t> rows(-1, kHeight), columns(-1, kWidth);
    return {0xFFFFFFFF, 0xFFC8C8C8, {rows(random), rows(random)}, {columns(random), columns(random), columns(random)}};
}

/// Frame after frame into the same picture, so that nothing of the last one may be left.
TEST(CurveSweep, EachFrameIsWhatThePainterOfTheGrowingCurveDraws)
{
    struct Kind {
        double perPixel;
        bool hasGaps;
        int tolerance; // of 255
    };
    // Where several runs go through a pixel, one adds up what they cover and the other lays it over each other.
    constexpr Kind kKinds[] = {{20.0, false, 3}, {0.3, true, 3}, {20.0, true, 64}};
    std::mt19937 random(7);
    for (const bool mirrored : {false, true}) {
        clsCurveSweep sweep;
        Picture swept(mirrored);
        for (int frame = 0; frame < 60; ++frame) {
            const double swing = frame % 4 == 3 ? 1000.0 : 1.0 + frame % 20;
            const Kind& kind = kKinds[frame % 3];
            const Curve curve(random, kind.perPixel, kind.hasGaps, swing);
            const PlotGround ground = groundOf(random);
            const RowScale scale{0.25, 1.0};
            sweep.Draw(swept.Plot(), ground, curve.Columns(), scale, kPen);
            Picture painted(mirrored);
            painted.Prepare(ground);
            clsCurvePainter painter;
            painter.DrawLines(painted.Plot(), curve.Columns(), scale, kPen);
            EXPECT_LE(swept.Difference(painted), kind.tolerance) << "frame " << frame << (mirrored ? ", mirrored" : "");
        }
    }
}

TEST(CurveSweep, APictureInSeveralStepsIsTheSame)
{
    std::mt19937 random(9);
    clsCurveSweep once, inSteps;
    Picture atOnce(false), stepwise(false);
    for (int frame = 0; frame < 20; ++frame) {
        const Curve curve(random, 1.0, true, 20.0);
        const PlotGround ground = groundOf(random);
        once.Draw(atOnce.Plot(), ground, curve.Columns(), {}, kPen);
        inSteps.Begin(stepwise.Plot(), ground, curve.Columns(), {}, kPen);
        for (std::int32_t behind = -5; behind < kHeight + 17; behind += 17) { // from above the plot to below it
            inSteps.DrawTo(stepwise.Plot(), behind);
        }
        ASSERT_EQ(stepwise.Difference(atOnce), 0) << "frame " << frame;
    }
}

TEST(CurveSweep, ErasesAllOfItAndThenDrawsOnNewPixels)
{
    std::mt19937 random(8);
    const Curve curve(random, 1.0, true, 10.0);
    const PlotGround ground = groundOf(random), empty{ground.back, ground.grid, {}, {}};
    clsCurveSweep sweep;
    Picture swept(false), blank(false), again(false);
    blank.Prepare(empty);
    sweep.Draw(swept.Plot(), ground, curve.Columns(), {}, kPen);
    Picture before = swept;
    sweep.Erase(swept.Plot(), ground.back);
    EXPECT_EQ(swept.Difference(blank), 0);
    sweep.Draw(again.Plot(), ground, curve.Columns(), {}, kPen);
    EXPECT_EQ(again.Difference(before), 0);
}

} // namespace
