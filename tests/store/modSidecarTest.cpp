// The sidecar of a recording, written and read.
#include "store/modSidecar.h"

#include "base/modAPI.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TimeZone.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <tuple>

namespace {

double timeOf(unsigned month, unsigned day, int hour, int minute, int second, int ms)
{
    return modAPI::DateTimeOf({2026, month, day, hour, minute, second, ms});
}

struct Sidecar {
    TemporaryFolder folder;
    std::filesystem::path file = folder.path / "SAVE0001.json";

    std::string Text(const RecordingInfo& info) const
    {
        EXPECT_FALSE(modSidecar::Write(file, info));
        return TemporaryFolder::Read(file);
    }
    std::optional<RecordingInfo> Read(const std::string& text) const
    {
        std::error_code why;
        const auto info = modSidecar::Read(folder.Write("SAVE0001.json", text), why);
        EXPECT_EQ(info.has_value(), !why) << text.substr(0, 80);
        return info;
    }
};

RecordingInfo fullInfo()
{
    RecordingInfo info;
    info.program = "RVQ";
    info.version = "0.1.0";
    info.port = "COM 3 (/dev/ttyÜ)";
    info.simulated = true;
    info.isSensorKnown = true;
    info.sensor.Attenuator = "E \x80\xB0";
    info.sensor.SerialNo = "004711\x01\"\\\n";
    info.sensor.SWVersion = "\x81\xFF";
    info.start = timeOf(11, 20, 14, 3, 5, 250);
    info.end = timeOf(11, 20, 15, 0, 0, 0);
    info.recordingStart = timeOf(11, 20, 13, 0, 0, 125);
    info.part = 2;
    info.bytes = 12345;
    info.offset_min = 60;
    info.everyValue = false;
    info.parameters.DistanceUnit = 3;
    info.parameters.OutputFormat = FormatBinaryCrc;
    info.parameters.Offset = -2147483647 - 1;
    info.parameters.RainFilter = 2;
    info.account = {.bytes = 1,
                    .received = 2,
                    .valid = 3,
                    .noEcho = 4,
                    .tempError = 5,
                    .damaged = 6,
                    .shown = 7,
                    .recorded = 8,
                    .passedOver = 9,
                    .unwritten = 10,
                    .lineLost = 11,
                    .clockJumps = 12,
                    .longestGap_ms = 12.5};
    for (int reason = 0; reason < 6; ++reason) {
        info.gaps.push_back(
            {timeOf(11, 20, 14, 4, reason, 0), timeOf(11, 20, 14, 5, reason, 1), static_cast<GapReason>(reason)});
    }
    info.gapsDropped = 70000;
    info.longestDroppedGap_ms = 250.125;
    info.marks = {{timeOf(11, 20, 14, 6, 0, 0), "Tür „auf“\t\x7F"}};
    return info;
}

TEST(Sidecar, ComesBackAsItWasWritten)
{
    const TimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    const Sidecar sidecar;
    const std::string text = sidecar.Text(fullInfo());
    EXPECT_EQ(sidecar.Read(text), fullInfo());
    for (const char* part :
         {"\"unit\": \"ft\"", "\"format\": \"BINARY+CRC\"", "\"start\": \"2026-11-20T14:03:05.250+01:00\"",
          "\"serial\": \"004711\\u0001\\\"\\\\\\n\"", "\"attenuator\": \"E €°\"", "\"reason\": \"temperature poll\"",
          "\"351\": 2", "\n  \"simulated\": true,\n", "\"longestGap_ms\": 12.5"}) {
        EXPECT_NE(text.find(part), std::string::npos) << part << " in " << text;
    }
    EXPECT_EQ(text.find('\r'), std::string::npos);
    EXPECT_TRUE(text.ends_with("}\n"));
}

TEST(Sidecar, HoldsOnlyTheParametersThatTheSensorHas)
{
    const Sidecar sidecar;
    RecordingInfo info;
    for (const char* key : {"sensor", "parameters", "unit", "format"}) {
        EXPECT_EQ(sidecar.Text(info).find('"' + std::string(key) + '"'), std::string::npos) << key << " of nobody";
    }
    info.isSensorKnown = true;
    EXPECT_EQ(sidecar.Text(info).find("\"351\""), std::string::npos) << "no echo filter";
    EXPECT_NE(sidecar.Text(info).find("\"504\""), std::string::npos);
    info.parameters.NodeAddress = 7;
    EXPECT_EQ(sidecar.Text(info).find("\"504\""), std::string::npos) << "Profibus";
}

TEST(Sidecar, SurvivesTextsAndNumbersThatNoFileCanHold)
{
    const Sidecar sidecar;
    RecordingInfo info = fullInfo();
    info.port = "/dev/\xFF\xC3";
    info.marks[0].text = std::string("\xED\xA0\x80\0x", 5);
    info.account.longestGap_ms = std::numeric_limits<double>::quiet_NaN();
    info.end = std::numeric_limits<double>::infinity();
    info.gaps[0].from = 1e300;
    info.parameters.OutputFormat = -7;
    info.parameters.DistanceUnit = 99;
    const auto read = sidecar.Read(sidecar.Text(info)).value();
    EXPECT_EQ(read.port, "/dev/\uFFFD\uFFFD");
    EXPECT_EQ(read.sensor, info.sensor);
    EXPECT_FALSE(read.end);
    EXPECT_EQ(read.gaps.size(), 5U);
    EXPECT_EQ(read.account.longestGap_ms, 0.0);
    EXPECT_EQ(read.parameters.OutputFormat, FormatAscii);
    EXPECT_EQ(read.parameters.DistanceUnit, 1);
}

TEST(Sidecar, WhatDoesNotFitLeavesTheDefault)
{
    const Sidecar sidecar;
    const RecordingInfo none;
    for (const char* text :
         {"{}", "\xEF\xBB\xBF{\"later\": [[{}]]}",
          R"({"program": 1, "simulated": "yes", "everyValue": 0, "sensor": [], "parameters": "x", "account": null})",
          R"({"parameters": {"111": 7, "603": -1, "701": 2147483648, "702": 18446744073709551615, "601": 2.0}})",
          R"({"account": {"received": -1, "valid": 18446744073709551615, "noEcho": 1e300, "longestGap_ms": -3}})",
          R"({"unit": "furlong", "format": 3, "start": "2026-02-30T00:00:00Z", "end": "2026-11-20 14:03:05"})",
          R"({"gaps": {"from": 1}, "marks": [1, null, [], {"text": "no time"}, {"time": "12:00"}]})",
          R"({"gaps": [{"from": "2026-11-20T14:03:05Z", "to": "2026-11-20T24:00:00Z"}, {"from": "x"}]})"}) {
        EXPECT_EQ(sidecar.Read(text), none) << text;
    }
    const auto read = sidecar.Read(R"({"unit": "in", "parameters": {"111": 0, "701": 7}, "end": "2026-11-20T14:03:05Z",
        "gaps": [{"from": "2026-11-20T14:03:05-00:30", "to": "2026-11-20T14:03:06", "reason": "of a later version"}]})");
    EXPECT_EQ(read.value().parameters.DistanceUnit, 2) << "the text outweighs the number";
    EXPECT_FALSE(read->isSensorKnown) << "without a format";
    EXPECT_EQ(read->parameters.Offset, 7);
    EXPECT_EQ(read->end, timeOf(11, 20, 14, 3, 5, 0));
    EXPECT_EQ(read->gaps.size(), 1U);
}

TEST(Sidecar, WhatIsNoSidecarIsRefused)
{
    const Sidecar sidecar;
    const std::string whole = sidecar.Text(fullInfo());
    for (std::size_t size = 0; size + 2 < whole.size(); size += 7) {
        EXPECT_FALSE(sidecar.Read(whole.substr(0, size))) << "cut after " << size;
    }
    for (const std::string& text :
         {std::string("[]"), std::string("null"), std::string("\"{}\""), std::string("{\"a\": \"\xFF\"}"),
          std::string("{\"account\": {\"received\": 1e999}}"), std::string("{\"a\": NaN}"), std::string(5, '\0'),
          "{\"a\": " + std::string(5000000, '['), "{\"a\": " + std::string(1000, '[') + std::string(1000, ']') + "}",
          std::string(modSidecar::kLargest, ' ') + "{}"}) {
        EXPECT_FALSE(sidecar.Read(text)) << text.substr(0, 40);
    }
    std::error_code why;
    EXPECT_FALSE(modSidecar::Read(sidecar.folder.path / "none.json", why));
    EXPECT_EQ(why, std::errc::no_such_file_or_directory);
    EXPECT_FALSE(modSidecar::Read(sidecar.folder.path, why));
}

TEST(Sidecar, TellsTheHourThatAutumnRepeats)
{
    const TimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    const Sidecar sidecar;
    RecordingInfo info;
    info.start = timeOf(10, 25, 2, 10, 0, 0);
    info.end = timeOf(10, 25, 2, 20, 0, 0);
    EXPECT_NE(sidecar.Text(info).find("02:20:00.000+02:00"), std::string::npos);
    info.gaps = {{timeOf(10, 25, 2, 59, 59, 0), timeOf(10, 25, 2, 0, 0, 0), GapReason::ClockChanged}};
    const std::string text = sidecar.Text(info);
    for (const char* part : {"02:10:00.000+02:00", "02:59:59.000+02:00", "02:00:00.000+01:00", "02:20:00.000+01:00"}) {
        EXPECT_NE(text.find(part), std::string::npos) << part;
    }
    info.gaps.clear();
    info.offset_min = 60;
    EXPECT_NE(sidecar.Text(info).find("02:10:00.000+01:00"), std::string::npos) << "begun in the second hour";
    info.offset_min = -300;
    EXPECT_NE(sidecar.Text(info).find("02:20:00.000-05:00"), std::string::npos) << "recorded elsewhere";
}

TEST(Sidecar, GoesWithItsRecording)
{
    const TemporaryFolder folder;
    const auto first = folder.path / "SAVE0001.rec", second = folder.path / "a.b.rec";
    EXPECT_EQ(modSidecar::SidecarOf(second), folder.path / "a.b.json");
    EXPECT_FALSE(modSidecar::Rename(first, second)) << "none";
    EXPECT_FALSE(modSidecar::Remove(first));
    folder.Write("SAVE0001.json", "{}");
    EXPECT_FALSE(modSidecar::Rename(first, second));
    EXPECT_TRUE(std::filesystem::exists(folder.path / "a.b.json"));
    EXPECT_FALSE(modSidecar::Remove(second));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path));
}

} // namespace
