// Measurements as lines, and the view of rvqctl watch.
#include "base/modAPI.h"
#include "cli/clsSampleFormat.h"
#include "cli/clsSensorRun.h"
#include "cli/clsWatchView.h"
#include "cli/modSparkline.h"
#include "sensor/Parameters.h"
#include "sensor/Request.h"
#include "texts/modFunctions.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

constexpr std::int32_t kMetres = 1, kFeet = 3;

Measurement measured(double value, std::int32_t value_mm)
{
    return {.value = value,
            .value_mm = value_mm,
            .unit = kMetres,
            .outputFormat = 1,
            .time = modAPI::DateTimeOf({2026, 3, 9, 14, 3, 5, 250})};
}

TEST(SampleFormat, EveryKindHasItsLineInEveryForm)
{
    const Measurement distance = measured(1.5, 1500), noEcho = measured(kMarkerNoEcho, kMarkerNoEcho),
                      tempError = measured(kTempErrValue, kMarkerTempError);
    const struct {
        OutputKind kind;
        std::optional<std::int32_t> unit;
        const Measurement& sample;
        const char* line;
    } kRows[] = {
        {OutputKind::Text, {}, distance, "1.500 m"},
        {OutputKind::Text, kFeet, distance, "4.9213 ft"},
        {OutputKind::Text, kFeet, noEcho, "No Echo"},
        {OutputKind::Csv, {}, distance, "2026-03-09T14:03:05.250+01:30,1.500,m,1500,distance"},
        {OutputKind::Csv, kFeet, distance, "2026-03-09T14:03:05.250+01:30,4.9213,ft,1500,distance"},
        {OutputKind::Csv, {}, noEcho, "2026-03-09T14:03:05.250+01:30,,,,noEcho"},
        {OutputKind::Csv, {}, tempError, "2026-03-09T14:03:05.250+01:30,,,,tempError"},
        {OutputKind::Json,
         {},
         distance,
         R"({"time":"2026-03-09T14:03:05.250+01:30","kind":"distance","distance":1.500,"unit":"m","mm":1500})"},
        {OutputKind::Json, kFeet, tempError, R"({"time":"2026-03-09T14:03:05.250+01:30","kind":"tempError"})"},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(clsSampleFormat(row.kind, row.unit, [](double) { return 90; }).Line(row.sample), row.line);
    }
    // A table has as many fields in its heading as in its lines.
    clsSampleFormat table(OutputKind::Csv, {}, [](double) { return 0; });
    for (const Measurement* sample : {&distance, &noEcho}) {
        EXPECT_EQ(std::ranges::count(table.Heading(), ','), std::ranges::count(table.Line(*sample), ','));
    }
}

TEST(SensorRun, JoinsOnlyAMeasurementThatTheDialogueTakesAsItIs)
{
    for (const char* heard : {"       1.234 m\r\n       1.235 m\r\n",
                              ".234 m\r\n       1.234 m\r\n       1.235 m\r\n   ", "No Echo\r\n      1.234 m\r\n"}) {
        EXPECT_TRUE(CanBeJoined(heard)) << heard;
    }
    for (const char* heard : {"", "       1.234 m\r\n", "       1.234\r\n       1.235\r\n",
                              "   1.234 m\r\n   1.235 m\r\n", "       1.234 km\r\n       1.235 km\r\n",
                              "311: 0\r\n351: 0\r\n401: 1000\r\n", "23 C,  OK\r\n23 C,  OK\r\n"}) {
        EXPECT_FALSE(CanBeJoined(heard)) << heard;
    }
}

TEST(Sparkline, SpansTheRangeOfItsValues)
{
    using Values = std::vector<std::optional<double>>;
    EXPECT_EQ(modSparkline::Of(Values{0, 1, 2, 3, 4, 5, 6, 7}, false), "▁▂▃▄▅▆▇█");
    EXPECT_EQ(modSparkline::Of(Values{-5, {}, 5}, true), "_ #") << "nothing is drawn where there is nothing";
    EXPECT_EQ(modSparkline::Of(Values{3, 3}, true), "==") << "no range";
    EXPECT_EQ(modSparkline::Of(Values{{}, {}}, true), "  ");
    EXPECT_EQ(modSparkline::Bar(2, {0, 4}, 4, true), "##--");
    EXPECT_EQ(modSparkline::Bar(9, {0, 4}, 4, true), "####") << "beyond the range";
    EXPECT_EQ(modSparkline::Bar(1, {1, 1}, 4, true), "##--");
    EXPECT_EQ(modSparkline::Bar(1, {0, 4}, 0, false), "");
}

TEST(WatchView, FitsTerminalsOfAnySizeAndAgesItsNumber)
{
    clsWatchView view({.language = LanguageGerman, .isAscii = false});
    WatchState state{.port = "COM 3 (/dev/ttyUSB0)", .sensor = "SN 4711", .dialogue = DialogueMeasuring};
    for (int i = 0; i < 400; ++i) {
        view.Add(measured(1.0 + i / 1000.0, 1000 + i), i * 0.05);
    }
    for (const std::size_t columns : {1U, 7U, 20U, 80U, 5000U}) {
        for (const std::size_t rows : {1U, 3U, 24U}) {
            const auto lines = view.Lines(state, {rows, columns}, 20.0);
            EXPECT_LE(lines.size(), rows);
            for (const std::string& line : lines) {
                EXPECT_LE(modTerminal::Columns(line), columns) << line;
            }
        }
    }
    EXPECT_EQ(view.Lines(state, {24, 80}, 20.0).front(), "  1.399 m");
    EXPECT_EQ(view.Lines(state, {24, 80}, 25.0).front(), "  Seit 5 s kein Messwert") << "an old value is none";
    // A day later nothing of it is left, and the time in between costs nothing.
    EXPECT_EQ(view.Lines(state, {24, 40}, 86400.0).size(), 3U);
}

} // namespace
