// A stretch of the history as a table.
#include "session/modHistoryExport.h"

#include "base/Days.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>

namespace {

constexpr double kNoon = 46346.5; // 2026-11-20

double at(double ms)
{
    return kNoon + ms / kMsPerDay;
}

/// What a table of these milliseconds after noon holds.
struct Export {
    std::string table;
    modCsvExport::Exported exported;

    Export(const clsHistory& history, double begin_ms, double end_ms, const modCsvExport::Format& format = {},
           int pieces = 1000)
    {
        const auto place = [&](double ms) { return history.Times().PlaceOf(at(ms)); };
        exported = modHistoryExport::ExportCsv(history, {place(begin_ms), place(end_ms)}, format, "t|d|s|c",
                                               {.write =
                                                    [this](std::string_view piece) {
                                                        table += piece;
                                                        return true;
                                                    },
                                                .goOn = [&](double) { return --pieces > 0; }});
    }
};

void add(clsHistory& history, double ms, std::int32_t value_mm, std::span<const Gap> ended = {})
{
    const Measurement sample{static_cast<double>(value_mm), value_mm, 0, 0, at(ms)};
    history.Add({&sample, 1}, ended);
}

TEST(HistoryExport, HasTheRowsOfItsRangeWithBothEndsAndNoRowForAGap)
{
    clsHistory history;
    add(history, 0, 1);
    add(history, 1000, 1234);
    add(history, 2000, kMarkerNoEcho);
    add(history, 3000, kMarkerTempError);
    const Gap lost{at(3000), at(9000), GapReason::LineLost};
    add(history, 9000, -5, {&lost, 1});
    add(history, 10000, 6);
    const Export english(history, 1000, 9000);
    EXPECT_EQ(english.table, "t,d,s,c\r\n"
                             "2026-11-20T12:00:01.000,1234,OK,\r\n"
                             "2026-11-20T12:00:02.000,,No Echo,\r\n"
                             "2026-11-20T12:00:03.000,,TempError,\r\n"
                             "2026-11-20T12:00:09.000,-5,OK,\r\n");
    EXPECT_TRUE(english.exported.finished);
    EXPECT_EQ(english.exported.rows, 4);
    EXPECT_EQ(Export(history, 10000, 10000, modCsvExport::kGermanSpreadsheet).table,
              "\xEF\xBB\xBFt;d;s;c\r\n2026-11-20T12:00:10,000;6;OK;\r\n");
    EXPECT_EQ(Export(history, 4000, 8000).exported.rows, 0);
}

TEST(HistoryExport, EndsWhenItIsToldTo)
{
    clsHistory history;
    for (int i = 0; i < 20000; ++i) {
        add(history, i, i);
    }
    const Export whole(history, 0, 20000);
    EXPECT_EQ(whole.exported.rows, 20000);
    EXPECT_EQ(std::ranges::count(whole.table, '\n'), 20001) << "each piece is written once";
    const Export ended(history, 0, 20000, {}, 1);
    EXPECT_FALSE(ended.exported.finished);
    EXPECT_LT(ended.exported.rows, 10000);
}

} // namespace
