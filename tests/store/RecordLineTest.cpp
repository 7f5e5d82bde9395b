// The lines of a recording, written and read.
#include "base/modAPI.h"
#include "sensor/Parameters.h"
#include "store/modRecordLine.h"
#include "tests/support/GermanLocale.h"

#include <cmath>
#include <gtest/gtest.h>
#include <tuple>

namespace {

using modRecordLine::clsLineParser;
using modRecordLine::RecordedValue;
using modRecordLine::RecordLine;

double timeOf(int day, int hour, int minute, int second, int ms)
{
    return modAPI::DateTimeOf({2026, 11, static_cast<unsigned>(day), hour, minute, second, ms});
}

void expectLines()
{
    const double quarter = timeOf(15, 13, 5, 7, 250);
    const std::tuple<double, double, std::int32_t, const char*, const char*> rows[] = {
        // A quarter of a second as the clock gives it, and as the next number above it.
        {quarter, 1.234, 1234, "23 C", "15.11.2026 13:05:07,249; 1234 mm; 23 \xB0\x43\r\n"},
        {std::nextafter(quarter, 1e9), 1.234, 1234, "23 C", "15.11.2026 13:05:07,250; 1234 mm; 23 \xB0\x43\r\n"},
        {46341.5, 1.234, 1234, "23 C,  OK", "15.11.2026 12:00:00,000; 1234 mm; 23 \xB0\x43\r\n"},
        {46341.0, -0.005, -5, "-3.5 \xB0\x43", "15.11.2026 00:00:00,000; -5 mm; -3.5 \xB0\x43\r\n"},
        // 46341.999999999 days are 0.0864 ms before midnight: cut off, never rounded up into the next day
        {46341.999999999, 1.0, 1000, "23 C", "15.11.2026 23:59:59,999; 1000 mm; 23 \xB0\x43\r\n"},
        {46341.5, kMarkerTempError, 7, "23 C", "15.11.2026 12:00:00,000; TempError; 23 \xB0\x43\r\n"},
        {46341.5, kMarkerNoEcho, 7, "23 C", "15.11.2026 12:00:00,000; No Echo; 23 \xB0\x43\r\n"},
        {46341.5, 0.0, 7, "23 C", "15.11.2026 12:00:00,000; No Echo; 23 \xB0\x43\r\n"},
        {46341.5, 2147483.647, kMarkerNoEcho, " C", "15.11.2026 12:00:00,000; No Echo;  \xB0\x43\r\n"},
        {46341.5, 1.0, 1000, "2\r\n;:\x7F\xB3 C", "15.11.2026 12:00:00,000; 1000 mm; 2?????\xB3 \xB0\x43\r\n"},
    };
    for (const auto& [time, value, value_mm, temperature, line] : rows) {
        const Measurement measurement{
            .value = value, .value_mm = value_mm, .unit = 1, .outputFormat = FormatAsciiUnit, .time = time};
        EXPECT_EQ(RecordLine(measurement, temperature), line);
    }
}

TEST(RecordLine, HasItsFormat)
{
    expectLines();
}

TEST_F(GermanLocale, ChangesNoRecordLine)
{
    expectLines();
}

TEST(RecordLine, NeedsATemperatureAndItsUnit)
{
    for (const char* temperature : {"", "23"}) {
        EXPECT_THROW(RecordLine({.time = 46341.5}, temperature), std::invalid_argument) << temperature;
    }
}

TEST(RecordLine, SaysWhatTheDisplaySays)
{
    Measurement measurement{.time = 46341.5};
    const auto recorded = [&] {
        const std::string line = RecordLine(measurement, "23 C");
        return line.substr(25, line.rfind(';') - 25);
    };
    for (const std::int32_t format : {FormatAscii, FormatAsciiUnit, FormatBinary, FormatBinaryCrc}) {
        for (const std::int32_t unit : {0, 1, 2, 6}) {
            measurement.outputFormat = format;
            measurement.unit = unit;
            for (const std::int32_t marker : {kMarkerNoEcho, kMarkerTempError, 0}) {
                measurement.value_mm = marker;
                measurement.value = marker / UnitOf(unit).millimetres;
                EXPECT_EQ(recorded(), DistanceText(measurement, '.')) << format << ' ' << unit;
            }
            measurement.value_mm = kMarkerTempError;
            measurement.value = kMarkerNoEcho;
            EXPECT_EQ(recorded(), format < FormatBinary ? "No Echo" : "TempError") << "in words, " << format;
        }
    }
}

/// Every millisecond comes back the same or, where cutting off made it low, as the one before.
TEST(RecordLine, ComesBackToTheMillisecondThatItKeeps)
{
    Measurement measurement;
    clsLineParser parser;
    for (int i = 0; i < 200000; ++i) {
        measurement.time = timeOf(15, 0, 0, 0, 0) + i * 431.0 / kMsPerDay;
        measurement.value = measurement.value_mm = i - 1000;
        std::string line = RecordLine(measurement, "23 C");
        line.resize(line.size() - 2);
        RecordedValue value;
        ASSERT_TRUE(parser.Parse(line, value)) << line;
        const double low_ms = (measurement.time - value.time) * kMsPerDay;
        ASSERT_GT(low_ms, -0.01) << line;
        ASSERT_LT(low_ms, 1.01) << line;
        ASSERT_EQ(value.time, modRecordLine::TimeInLine(measurement.time)) << line;
        ASSERT_EQ(value.kind, modRecordLine::KindInLine(measurement));
        ASSERT_EQ(value.kind == MeasurementKind::NoEcho, i == 1000);
        ASSERT_TRUE(i == 1000 || value.value_mm == i - 1000);
    }
}

TEST(LineParser, ReadsWhatItCanAndRefusesTheRest)
{
    constexpr auto kDistance = MeasurementKind::Distance, kNoEcho = MeasurementKind::NoEcho;
    const double noon = timeOf(15, 12, 0, 0, 0), ms = 1.0 / kMsPerDay;
    // A time of 0 marks an unreadable line.
    const std::tuple<const char*, double, MeasurementKind, std::int32_t> rows[] = {
        {"15.11.2026 12:00:00,001; 1234567890 mm; 23 C", noon + ms, kDistance, 1234567890},
        {"15.11.2026 12:00:00,002;No Echo", noon + 2 * ms, kNoEcho, 0},
        {"15.11.2026 12:00:00,002; x TempError y; 23 C", noon + 2 * ms, MeasurementKind::TempError, 0},
        {"15.11.2026   12:00:00 , 3 ;  12  mm ;", noon + 3 * ms, kDistance, 12},
        {"15.11.2026 12:00:00,000", 0, kDistance, 0},
        {"15.11.2026;12:00:00,000; 1 mm", 0, kDistance, 0},
        {"15.11.2026 12:00:00; 1 mm", 0, kDistance, 0},
        {"15.11.2026 24:00:00,000; 1 mm", 0, kDistance, 0},
        {"15.11.2026 12:00:00,000; 1mm; 23 C", 0, kDistance, 0},
        {"15.11.2026 12:00:00,000; 12345678901 mm; 23 C", 0, kDistance, 0},
        {"15.11.2026 12:00:00,000; one mm; 23 C", 0, kDistance, 0},
        {"15.11.99999 12:00:00,000; 1 mm; 23 C", 0, kDistance, 0},
        {" 15.11.2026 12:00:00,000; 1 mm; 23 C", 0, kDistance, 0},
    };
    clsLineParser parser;
    for (const auto& [line, time, kind, value_mm] : rows) {
        RecordedValue value;
        ASSERT_EQ(parser.Parse(line, value), time != 0) << line;
        if (time != 0) {
            EXPECT_NEAR(value.time, time, 0.1 * ms) << line;
            EXPECT_EQ(value.kind, kind) << line;
            EXPECT_EQ(value.value_mm, value_mm) << line;
        }
    }
    // A line that was cut off, with a whole one after it.
    const std::string line = "05.11.2026 13:05:07,250; 1234 mm; 23 \xB0\x43";
    for (std::size_t length = 1; length <= line.size(); ++length) {
        RecordedValue torn;
        EXPECT_FALSE(parser.Parse(line.substr(0, length) + line, torn)) << length;
    }
    RecordedValue value;
    ASSERT_TRUE(parser.Parse("5.13.2025 12:00,000; 1 mm", value));
    EXPECT_EQ(value.time, modAPI::DateTimeOf({2026, 1, 5, 12})) << "the 13th month is the next January";
    ASSERT_TRUE(parser.Parse("today 13:00:00,0; 1 mm", value));
    EXPECT_EQ(value.time, modAPI::DateTimeOf({2026, 1, 5, 13})) << "without a date: that of the line before";
}

} // namespace
