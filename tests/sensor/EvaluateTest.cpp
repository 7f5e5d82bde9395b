// The evaluation of replies: which event and which follow-up command the bytes cause in each state.
#include "sensor/Parameters.h"
#include "sensor/modReplySteps.h"
#include "tests/support/ScriptedSensor.h"

#include <gtest/gtest.h>
#include <random>
#include <tuple>

namespace {

constexpr double kPast_ms = 2001;

/// A device in a given state of the dialogue, with a deadline 2000 ms after the start.
struct Expecting : ScriptedSensor {
    Expecting(std::int32_t commStatus, std::string_view lastCommand, std::int32_t format = FormatAsciiUnit)
    {
        device.Parameters().OutputFormat = format;
        Expect(commStatus, lastCommand);
    }
};

TEST(Evaluate, SilencePastTheDeadline)
{
    const std::tuple<std::int32_t, const char*, std::int32_t, const char*, const char*> rows[] = {
        {DialogueNone, "", EventNone, "X", "X"},         {DialogueNone, "X", EventNoAnswer, "", ""},
        {DialogueNone, "m", EventNoAnswer, "", ""},      {DialogueMeasuring, "m", EventNoAnswer, "", "m"},
        {DialogueIdle, "M", EventNoAnswer, "S", "S"}, // the follow-up must not hide the event
        {DialogueMeasuring, "M", EventNoAnswer, "", ""}, {DialogueIdle, "O", EventNone, "", ""},
        {DialogueIdle, "P", EventNone, "", ""},          {DialogueMeasuring, "S", EventNone, "T", "T"},
        {DialogueIdle, "S", EventNone, "", ""},          {DialogueMeasuring, "T", EventNoAnswer, "", ""},
        {DialogueIdle, "", EventNone, "T", "T"},         {DialogueIdle, "G", EventNone, "", "G"},
        {DialogueIdle, "C", EventNoAnswer, "", "C"},     {DialogueIdle, "302 50\r", EventNoAnswer, "", "302 50\r"},
    };
    for (const auto& [status, command, event, sent, commandAfter] : rows) {
        SCOPED_TRACE(std::to_string(status) + ' ' + command);
        Expecting sensor(status, command);
        sensor.At(2000);
        EXPECT_EQ(sensor.Arrive(""), EventNone) << "at the deadline";
        EXPECT_EQ(sensor.port.TakeSent(), "");
        sensor.At(kPast_ms);
        EXPECT_EQ(sensor.Arrive(""), event);
        EXPECT_EQ(sensor.port.Sent, sent);
        EXPECT_EQ(sensor.device.LastCommand(), commandAfter);
    }
}

/// One reply in one state, before the deadline and after it.
struct ReplyRow {
    std::int32_t status;
    std::string command, bytes;
    std::int32_t early, late; // the events
    std::string lateSent;
    bool lateEmptied; // whether the evaluation past the deadline empties the buffer
};

void checkReplies(const std::vector<ReplyRow>& rows, std::int32_t format = FormatAsciiUnit)
{
    for (const ReplyRow& row : rows) {
        const std::string name = std::to_string(row.status) + " \"" + row.command + "\" <- \"" + row.bytes + '"';
        Expecting sensor(row.status, row.command, format);
        EXPECT_EQ(sensor.Arrive(row.bytes), row.early) << name;
        if (row.early == EventNone || row.early == EventAcknowledged || row.early == EventRefused) {
            sensor.At(kPast_ms);
            EXPECT_EQ(sensor.Arrive(""), row.late) << name << ", late";
            EXPECT_EQ(sensor.device.InBuffer().empty(), row.lateEmptied) << name << ", late";
        }
        EXPECT_EQ(sensor.port.Sent, row.lateSent) << name;
    }
}

TEST(Evaluate, RepliesWithoutDialogue)
{
    checkReplies({
        {DialogueNone, "X", "noise\r\nSensor ready\r\n", EventNone, EventNoAnswer, "C", true},
        {DialogueNone, "X", "RVQ ready", EventNone, EventNoAnswer, "C", true},
        {DialogueNone, "X", "  1.234 m\r\n", EventNone, EventNone, "X", true},
        {DialogueNone, "C", "Type: Serial\r\n101: 1\r\n", EventNone, EventNoAnswer, "", true},
        {DialogueNone, "", "23 C,  OK\r\n", EventTemperature, 0, "", true},
    });
}

TEST(Evaluate, RepliesWhenIdle)
{
    const std::string frame = "302 50\r";
    checkReplies({
        // An acknowledgement of up to five bytes counts only once the deadline has passed.
        {DialogueIdle, frame, "OK 302\r\n", EventAcknowledged, EventAcknowledged, "", true},
        {DialogueIdle, frame, "OK\r\n", EventNone, EventAcknowledged, "", true},
        {DialogueIdle, frame, "Error 302\r\n", EventRefused, EventRefused, "", true},
        {DialogueIdle, "", "OK 302\r\n", EventAcknowledged, EventAcknowledged, "", true},
        {DialogueIdle, "C", "OK of a dump's head", EventAcknowledged, EventNoAnswer, "", true},
        {DialogueIdle, "S", "No Echo\r\n", EventRefused, EventNone, "C", true},
        {DialogueIdle, "S", "  1.234 m\r\n", EventNone, EventNone, "C", true},
        {DialogueIdle, "C", "Type: OE\r\nend", EventConfiguration, 0, "", true},
        {DialogueIdle, "T", "-5 C, NOK\r\n", EventTemperature, 0, "", true},
        {DialogueIdle, "T", " C,  ok\r\n", EventNone, EventNoAnswer, "", true},
        {DialogueIdle, frame, "garbage", EventNone, EventNoAnswer, "", false},
        // Noise outside a dialogue is dropped; a restarted sensor is understood once the loop has stepped back.
        {DialogueIdle, "", "abc", EventNone, EventNone, "", true},
        {DialogueIdle, "", "garbage", EventNone, EventNoAnswer, "", true},
        {DialogueIdle, "", "Sensor ready\r\n", EventNone, EventNoAnswer, "", false},
        {DialogueIdle, "G", "RVQ ready\r\n", EventNone, EventNoAnswer, "", false},
    });
    checkReplies({{DialogueIdle, "T", "\x17\x01", EventNone, EventTemperature, "", true}}, FormatBinary);
    checkReplies({{DialogueIdle, "T", "\x17", EventNone, EventNoAnswer, "", true}}, FormatBinary);
}

TEST(Evaluate, IdleNoiseDoesNotBlockASensorWithSingleOutput)
{
    // The loop does not step back for such a sensor, so the parser itself has to give up.
    Expecting sensor(DialogueIdle, "302 50\r");
    sensor.device.Parameters().OutputMode = OutputSingle;
    sensor.At(kPast_ms);
    EXPECT_EQ(sensor.Arrive("RVQ ready\r\n"), EventNoAnswer);
    EXPECT_EQ(sensor.Arrive(""), EventNoAnswer);
    EXPECT_EQ(sensor.Arrive(""), EventNone);
    EXPECT_EQ(sensor.port.Sent, "T");
}

TEST(Evaluate, ASensorWithSingleOutputIsNotInterrupted)
{
    Expecting sensor(DialogueMeasuring, "M", FormatBinary);
    sensor.device.Parameters().OutputMode = OutputSingle;
    sensor.At(kPast_ms);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(sensor.Arrive(""), EventNoAnswer);
    }
    EXPECT_EQ(sensor.Arrive("\x10\x27"), EventNone);
    EXPECT_EQ(sensor.Arrive("\x00\x00"s), EventDistance) << "a frame over two ticks, long after the last";
    EXPECT_EQ(sensor.port.Sent, "");
}

TEST(Evaluate, RepliesWhileMeasuring)
{
    checkReplies({
        {DialogueMeasuring, "T", "  1.234 m\r\n", EventNone, EventNoAnswer, "", true},
        {DialogueMeasuring, "m", "23 C, NOK\r\n", EventTemperature, 0, "", true},
        {DialogueMeasuring, "m", "23 C, N", EventNone, EventNoAnswer, "", true},
        {DialogueMeasuring, "m", "xx TempErr!\r\n 1.5 m\r\n", EventDistance, 0, "", true},
        {DialogueMeasuring, "S", "  1.234 m\r\n", EventNone, EventNone, "T", true},
    });
    checkReplies({{DialogueMeasuring, "m", "\x01\x02\x03", EventNone, EventNoAnswer, "", true},
                  // A distance that contains the bytes of "C, ".
                  {DialogueMeasuring, "m", "\x43\x2C\x20\x00"s, EventDistance, 0, "", true}},
                 FormatBinary);
    checkReplies({{DialogueMeasuring, "T", "\x17\x01\x02\x03", EventCrcError, 0, "", true}}, FormatBinaryCrc);
}

TEST(Evaluate, TemperatureTexts)
{
    using Row = std::tuple<std::int32_t, std::string, std::string, std::int32_t, std::string>;
    for (const auto& [format, bytes, text, status, rest] :
         {Row{FormatAscii, "old\r\n22 C,  OK\r\n23 C, NOK\r\n24", "23 C, NOK", 0, "24"},
          Row{FormatBinary, "\x17\x01z", "23 C,  OK", 1, "z"}, Row{FormatBinary, "\xFB\x00"s, "-5 C, NOK", 0, ""},
          Row{FormatBinaryCrc, WithCrc("\x80\x01"), "-128 C,  OK", 1, ""}}) {
        Expecting sensor(DialogueMeasuring, "T", format);
        EXPECT_EQ(sensor.Arrive(bytes), EventTemperature) << text;
        EXPECT_EQ(sensor.device.sTemperature(), text);
        EXPECT_EQ(sensor.device.TempStatus(), status) << text;
        EXPECT_EQ(sensor.device.InBuffer(), rest) << text;
        EXPECT_EQ(sensor.device.LastCommand(), "") << "an answered command must not time out later";
    }
}

TEST(Evaluate, AsciiDistances)
{
    const std::tuple<std::string, std::string, double, std::int32_t, std::string> rows[] = {
        {"\r\n 1.234 m\r\n", "1.234 m", 1.234, 1234, ""},
        {"1\r\n2\r\n3\r\n4\r\n", "4", 4, 4000, ""},
        {"1\r\n2\r\n3\r\n", "2", 2, 2000, "3\r\n"},               // a line without a partner stays
        {"     1.234 m\r\n 5.6", "1.234 m", 1.234, 1234, " 5.6"}, // 12 characters
        {"    1.234 m\r\n 5.6", "", 0, 0, " 5.6"},                // 11
        {"\r\n  -0.5\r\n", "-0.5", -0.5, -500, ""},
        {"\r\n 1.2345 m\r\n", "1.2345 m", 1.2345, 1234, ""}, // half to even
        {"\r\n0\r\n", "", 0, 0, ""},
        {"\r\ninf\r\n", "", 0, 0, ""},
        {"\r\n99999999 m\r\n", "", 0, 0, ""}, // beyond 32 bits of millimetres
        {"\r\n xx No Echo\r\n", "No Echo", 0, 0, ""},
        {"\r\n TempErr\r\n", "TempError", 0, 0, ""},
        {"1.234 m\r", "", 0, 0, "1.234 m\r"},
    };
    for (const auto& [bytes, text, value, mm, rest] : rows) {
        Expecting sensor(DialogueMeasuring, "m");
        EXPECT_EQ(sensor.Arrive(bytes), text.empty() ? EventNone : EventDistance) << bytes;
        EXPECT_EQ(sensor.device.sDistance(), text) << bytes;
        EXPECT_DOUBLE_EQ(sensor.device.MeasValue(), value) << bytes;
        EXPECT_EQ(sensor.device.MeasValue_mm(), mm) << bytes;
        EXPECT_EQ(sensor.device.InBuffer(), rest) << bytes;
        // Without a distance, the run ends at the deadline and not only after it.
        sensor.device.FailTime() = sensor.device.CurrentTime();
        EXPECT_EQ(sensor.Arrive(" "), EventNoAnswer) << bytes;
        EXPECT_EQ(sensor.device.InBuffer(), "") << bytes;
    }
}

TEST(Evaluate, BinaryDistances)
{
    const std::tuple<std::string, std::int32_t, std::int32_t, std::string> rows[] = {
        {"\x10\x27\x00\x00"s, EventDistance, 10000, ""},
        {"\x10\x27\x00\x00\x11\x27\x00\x00\x12"s, EventDistance, 10001, "\x12"},
        // Out of step: shifted by one byte it still looks like a frame, shifted by two it does not.
        {"\xAA\x10\x27\x00\x00"s, EventDistance, 0x2710AA, "\x00"s},
        {"\xAA\x00\x10\x27\x00\x00"s, EventDistance, 10000, ""},
        {"\xFF\xFF\xFF\x7F"s, EventDistance, kMarkerNoEcho, ""},
        {"\xF0\xFF\xFF\x7F"s, EventDistance, kMarkerTempError, ""},
        {"\xF0\xD8\xFF\xFF"s, EventDistance, -10000, ""},
        {"\x01\x00\xE2\xFF"s, EventDistance, 0xE20001 - 0x1000000, ""},
        {"\x01\x00\xE1\xFF"s, EventNone, 0, "\x00\xE1\xFF"s},
        {"\x00\x27\x00\x00"s, EventNone, 0, ""}, // b0 = 0 is not a frame, but keeps the step
        {"\x00\x04\x00\x00\x00\x04\x00\x00\x01\x04\x00\x00"s, EventDistance, 1025, ""},
        {"\xFE\xFF\xFF\x7F"s, EventNone, 0, "\xFF\xFF\x7F"s},
    };
    for (const auto& [bytes, event, mm, rest] : rows) {
        Expecting sensor(DialogueMeasuring, "m", FormatBinary);
        EXPECT_EQ(sensor.Arrive(bytes), event) << mm;
        EXPECT_EQ(sensor.device.MeasValue_mm(), mm);
        EXPECT_EQ(sensor.device.InBuffer(), rest) << mm;
    }
}

TEST(Evaluate, CrcFrames)
{
    const std::string good = "\x10\x27\x00\x00\xB4\xEF"s, next = WithCrc("\x11\x27\x00\x00"s);
    EXPECT_EQ(WithCrc("\x10\x27\x00\x00"s), good);

    Expecting sensor(DialogueMeasuring, "m", FormatBinaryCrc);
    EXPECT_EQ(sensor.Arrive("\xAA" + good), EventCrcError);
    EXPECT_EQ(sensor.device.InBuffer(), good) << "one byte dropped";
    EXPECT_EQ(sensor.Arrive(""), EventDistance);
    EXPECT_EQ(sensor.device.MeasValue(), 10.0);
    EXPECT_EQ(sensor.Arrive(good + next + "x"), EventDistance) << "the newest wins";
    EXPECT_EQ(sensor.device.MeasValue_mm(), 10001);
    EXPECT_EQ(sensor.Arrive("yzyzy" + good), EventCrcError) << "a bad one ends the evaluation";

    // After a gap, a good frame behind damage is found too.
    sensor.At(8000);
    sensor.device.InBuffer().clear();
    EXPECT_EQ(sensor.Arrive("abc" + good), EventCrcError);
    EXPECT_EQ(sensor.Arrive(""), EventDistance);

    // An unexpected format must not cause errors for ever: it counts as no answer, and the dialogue begins anew.
    sensor.device.InBuffer().clear();
    sensor.At(18000);
    EXPECT_EQ(sensor.Arrive("   1.234 m\r\n"), EventNoAnswer);
    EXPECT_EQ(sensor.device.InBuffer() + sensor.device.LastCommand(), "");
}

TEST(Evaluate, GoesOnAfterACrcErrorInOnePass)
{
    const auto frame = [](std::int32_t mm) {
        return WithCrc({static_cast<char>(mm), static_cast<char>(mm >> 8), '\0', '\0'});
    };
    Expecting sensor(DialogueMeasuring, "m", FormatBinaryCrc);
    sensor.Arrive(frame(10000));
    std::string damaged = frame(10001);
    damaged[1] ^= 4;
    EXPECT_EQ(sensor.Arrive(frame(10002) + damaged + frame(10003) + "zz" + frame(10004)), EventCrcError);
    EXPECT_EQ(sensor.device.MeasValue_mm(), 10002);
    sensor.device.EvaluateBehindDamage();
    EXPECT_EQ(sensor.device.MeasValue_mm(), 10004) << "a damaged frame costs itself";
    EXPECT_EQ(sensor.device.EventNr(), EventCrcError) << "of all the damage in a tick one event tells";

    // Far from the last distance, a frame out of step may look good by chance: the next one has to be good too.
    sensor.device.InBuffer().clear();
    EXPECT_EQ(sensor.Arrive("x" + frame(50000)), EventCrcError);
    sensor.device.EvaluateBehindDamage();
    EXPECT_EQ(sensor.device.MeasValue_mm(), 10004);
    EXPECT_EQ(sensor.Arrive(frame(50001)), EventDistance);
    EXPECT_EQ(sensor.device.MeasValue_mm(), 50001);

    std::string noise(60000, '\x55');
    sensor.Arrive(noise + frame(50002));
    sensor.device.EvaluateBehindDamage();
    EXPECT_EQ(sensor.device.MeasValue_mm(), 50002);
    EXPECT_EQ(sensor.device.InBuffer(), "");
}

TEST(Evaluate, APauseEndsAFrame)
{
    Expecting sensor(DialogueMeasuring, "m", FormatBinary);
    sensor.Arrive("\x10\x27\x00\x00"s);
    sensor.Arrive("\x11\x27\x00"s); // a byte is lost
    sensor.At(50);
    EXPECT_EQ(sensor.Arrive(""), EventNone);
    EXPECT_EQ(sensor.device.InBuffer(), "") << "given up after a tick of silence";
    EXPECT_EQ(sensor.Arrive("\x12\x27\x00\x00"s), EventDistance);
    EXPECT_EQ(sensor.device.MeasValue_mm(), 10002);
}

TEST(Evaluate, AClockThatIsSetNeitherMakesAPauseNorHidesOne)
{
    for (const double jump_ms : {-3600e3, 3600e3}) {
        Expecting sensor(DialogueMeasuring, "m", FormatBinary);
        sensor.Arrive("\x10\x27\x00\x00"s);
        sensor.Arrive("\x11\x27\x00"s);
        sensor.device.ShiftClock(jump_ms / kMsPerDay);
        sensor.At(jump_ms + 10);
        sensor.Arrive("");
        EXPECT_EQ(sensor.device.InBuffer().size(), 3U) << jump_ms << ": the rest may still come";
        sensor.At(jump_ms + 50);
        sensor.Arrive("");
        EXPECT_EQ(sensor.device.InBuffer(), "") << jump_ms;
    }
}

TEST(Evaluate, LittleNoiseAmongFramesIsKept)
{
    Expecting sensor(DialogueMeasuring, "m", FormatBinary);
    std::minstd_rand random;
    sensor.Arrive("\x10\x27\x00\x00"s);
    for (int look = 0; look < 300; ++look) {
        std::string noise;
        for (int i = 0; i < 50; ++i) {
            noise += "\x10\x27\x00\xFF\x7F"s[random() % 5];
        }
        sensor.Arrive(noise);
        EXPECT_LE(sensor.device.InBuffer().size(), 64U);
    }
}

TEST(Evaluate, AValueThatDamageCouldExplainWaitsForTheNextOne)
{
    using Row = std::tuple<const char*, std::string, std::string, std::vector<std::int32_t>>;
    const Row rows[] = {
        {"a foreign byte", "\xAA\x11\x27\x00"s, "\x00\x12\x27\x00\x00"s, {10002}},
        {"a jump", "\xAA\x11\x27\x00"s, "\xAB\x11\x27\x00"s, {0x2711AA, 0x2711AB}},
        {"a lost byte", "\x27\x00\x00\x00"s, "\x27\x00\x00\x13\x27\x00\x00"s, {10003}},
    };
    for (const auto& [name, first, second, shown] : rows) {
        Expecting sensor(DialogueMeasuring, "m", FormatBinary);
        for (int i = 0; i < 4; ++i) {
            sensor.Arrive("\x10\x27\x00\x00"s);
        }
        EXPECT_EQ(sensor.Arrive(first), EventNone) << name;
        std::vector<std::int32_t> values;
        sensor.Arrive(second);
        for (int i = 0; i < 3 && sensor.device.NewDistance(); ++i) {
            values.push_back(sensor.device.MeasValue_mm());
            sensor.Arrive("");
        }
        EXPECT_EQ(values, shown) << name;
    }
}

TEST(Evaluate, ALineOfAnotherShapeWaitsForTheNextOne)
{
    using Row = std::tuple<const char*, std::vector<std::string>, std::vector<std::string>>;
    const std::string padded = "     1.234 m", plain = "\r\n9.876 m";
    const Row rows[] = {
        {"a lost digit", {padded, "     1.34 m"}, {"1.234 m"}},
        {"a lost blank", {padded, "    1.235 m", padded}, {"1.234 m", "1.234 m"}},
        {"another unit", {padded, "     4.049 ft", "     4.050 ft"}, {"1.234 m", "4.049 ft", "4.050 ft"}},
        {"a foreign digit", {plain, "\r\n93.876 m", plain}, {"9.876 m", "9.876 m"}},
        {"a longer way", {plain, "\r\n10.001 m"}, {"9.876 m", "10.001 m"}},
        {"a jump", {plain, "\r\n93.876 m", "\r\n93.871 m"}, {"9.876 m", "93.876 m", "93.871 m"}},
        {"a verdict that comes late", {padded, "OK 304 distances", padded}, {"1.234 m", "1.234 m"}},
        {"a distance that is the number of a command", {"         302", "         304"}, {"302", "304"}},
        {"the frame come back", {padded, "\r\n304", padded}, {"1.234 m", "1.234 m"}},
    };
    for (const auto& [name, lines, shown] : rows) {
        Expecting sensor(DialogueIdle, "");
        sensor.device.SendCommand("304 1\r");
        sensor.Expect(DialogueMeasuring, "m");
        std::vector<std::string> texts;
        for (const std::string& line : lines) {
            sensor.Arrive(line + "\r\n");
            for (int i = 0; i < 3 && sensor.device.NewDistance(); ++i) {
                texts.push_back(sensor.device.sDistance());
                sensor.device.EvaluateInBuffer();
            }
        }
        EXPECT_EQ(texts, shown) << name;
    }
}

TEST(Evaluate, ALineIsMeasuredInTheUnitThatItNames)
{
    Expecting sensor(DialogueMeasuring, "m");
    sensor.Arrive("     1.234 m\r\n");
    sensor.Arrive("    4.0490 ft\r\n"); // another program has changed the settings
    sensor.Arrive("    4.0500 ft\r\n");
    EXPECT_EQ(sensor.device.MeasValue_mm(), 1234);
    EXPECT_EQ(sensor.device.Parameters().DistanceUnit, 3);
    sensor.Arrive("");
    EXPECT_EQ(sensor.device.MeasValue(), 4.05);
    EXPECT_EQ(sensor.Arrive("    4.0510 ft\r\n"), EventDistance);
}

TEST(Evaluate, ShortLinesCountForTheShapeThoughTheyAreNotShown)
{
    Expecting sensor(DialogueMeasuring, "m");
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(sensor.Arrive("178.071 in\r\n"), EventNone);
    }
    EXPECT_EQ(sensor.Arrive("1178.0711 in\r\n"), EventNone) << "long enough by damage";
}

TEST(Evaluate, ALateVerdictIsNoBinaryDistance)
{
    Expecting sensor(DialogueMeasuring, "m", FormatBinary);
    sensor.Arrive("\xB8\x0F\x00\x00"s);
    EXPECT_EQ(sensor.Arrive("OK 3"), EventNone);
    EXPECT_EQ(sensor.Arrive("01\r\n\xB9\x0F\x00\x00"s), EventDistance);
    EXPECT_EQ(sensor.device.MeasValue_mm(), 4025);
    EXPECT_EQ(sensor.device.InBuffer(), "");
}

TEST(Evaluate, DumpFillsTheParameterSet)
{
    const std::string head = "noise Type: Profibus\r\nAttenuator: E\r\nSerial-No: 4711\r\nVersion: 2.1\r\nBuild: 7\r\n"
                             "Date: 1.2.2024\r\nPointer: off\r\nTemperature: 31 C, NOK\r\n";
    std::string body;
    std::int32_t value = 1;
    for (const ParameterDef& row : ParameterTable()) {
        body += std::string(row.code) + ": " + std::to_string(value++) + "\r\n";
    }
    Expecting sensor(DialogueNone, "C");
    EXPECT_EQ(sensor.Arrive(head + body), EventNone);
    EXPECT_EQ(sensor.Arrive("end\r\n"), EventConfiguration);
    const clsRVQ& device = sensor.device;
    EXPECT_EQ(device.Identity().DeviceType + device.Identity().Attenuator + device.Identity().SerialNo +
                  device.Identity().SWVersion + device.Identity().SWBuild + device.Identity().SWDate +
                  device.Identity().HWPointer + device.sTemperature(),
              "ProfibusE47112.171.2.2024off31 C, NOK");
    EXPECT_EQ(device.TempStatus(), 0);
    EXPECT_EQ(device.CommStatus(), DialogueIdle);
    value = 1;
    for (const ParameterDef& row : ParameterTable()) {
        EXPECT_EQ(device.Parameters().*row.value, value++) << row.code;
    }
}

TEST(Evaluate, ATextIsNoLongerThanItsKindNeeds)
{
    const std::string endless = std::string(3000, 'W') + "\r\n";
    std::string dump;
    for (const char* key :
         {"Type: ", "Attenuator: ", "Serial-No: ", "Version: ", "Build: ", "Date: ", "Pointer: ", "Temperature: "}) {
        dump += key + endless;
    }
    Expecting sensor(DialogueIdle, "C");
    const clsRVQ& device = sensor.device;
    ASSERT_EQ(sensor.Arrive(dump + "end"), EventConfiguration);
    for (const std::string* text :
         {&device.Identity().DeviceType, &device.Identity().Attenuator, &device.Identity().SerialNo,
          &device.Identity().SWVersion, &device.Identity().SWBuild, &device.Identity().SWDate,
          &device.Identity().HWPointer, &device.sTemperature()}) {
        EXPECT_EQ(*text, endless.substr(0, 64));
    }
    ASSERT_EQ(sensor.Arrive("23 C," + endless), EventTemperature);
    EXPECT_EQ(device.sTemperature(), "23 C," + endless.substr(0, 59));
}

TEST(Evaluate, UnstoredChangesAreThoseOfTheRunningSensorAlone)
{
    const std::string endless(3000, '4');
    const std::tuple<std::string, std::string, bool> rows[] = {
        {"4711", "Type: Serial\r\nSerial-No: 4711\r\nend", true},
        {"4711", "Type: Serial\r\nSerial-No: 4712\r\nend", false},
        {endless.substr(0, 64), "Type: Serial\r\nSerial-No: " + endless + "\r\nend", true}, // cut off
        {"4711", "RVQ ready\r\n", false}, // restarted: it works with its stored settings
    };
    for (const auto& [serialNo, bytes, stays] : rows) {
        for (const bool unstored : {false, true}) {
            Expecting sensor(DialogueIdle, "C");
            sensor.device.Identity().SerialNo = serialNo;
            sensor.device.UnstoredChanges() = unstored;
            sensor.Arrive(bytes);
            EXPECT_EQ(sensor.device.UnstoredChanges(), unstored && stays) << serialNo << ": " << bytes;
        }
    }
}

TEST(Evaluate, DumpIrregularities)
{
    const std::tuple<const char*, std::int32_t ParameterSet::*, std::int32_t, std::int32_t> rows[] = {
        {"3 06: 1\r\n", &ParameterSet::EchoCheck, 0, 1},
        {"3 06: 1\r\n306: 0\r\n", &ParameterSet::EchoCheck, 1, 0},
        {"Attenuator: D\r\n351: 2\r\n", &ParameterSet::RainFilter, -1, -1},
        {"Attenuator: DE\r\n351: 2\r\n", &ParameterSet::RainFilter, -1, 2},
        {"Type: Serial\r\n610: 7\r\n", &ParameterSet::NodeAddress, 5, -1}, // only the first "Type:" counts
        {"702: many\r\n", &ParameterSet::ScaleFactor, 77, 77},
        {"702: 99999999999\r\n", &ParameterSet::ScaleFactor, 77, 77},
        {"702: 5", &ParameterSet::ScaleFactor, 77, 77}, // no line end
        {"702:-5\r\n", &ParameterSet::ScaleFactor, 77, -5},
    };
    for (const auto& [lines, member, before, after] : rows) {
        Expecting sensor(DialogueIdle, "C");
        sensor.device.Parameters().*member = before;
        EXPECT_EQ(sensor.Arrive("Type: Serial\r\n"s + lines + "end"), EventConfiguration) << lines;
        EXPECT_EQ(sensor.device.Parameters().*member, after) << lines;
    }
}

TEST(Evaluate, ASingleValueMayBeNone)
{
    using Row = std::pair<const char*, std::int32_t>;
    for (const auto& [bytes, mm] : {Row{"     No Echo\r\n", 0}, Row{"    TempErr!\r\n", kMarkerTempError}}) {
        Expecting sensor(DialogueIdle, "G");
        sensor.device.MeasValue_mm() = -1;
        EXPECT_EQ(sensor.Arrive(bytes), EventDistance) << "an \"E\" means refused elsewhere";
        EXPECT_EQ(sensor.device.MeasValue_mm(), mm);
        EXPECT_EQ(sensor.device.LastCommand(), "");
    }
}

TEST(Evaluate, APollOfABinarySensorAnsweredInTextAsksForTheConfiguration)
{
    for (const std::int32_t format : {FormatAsciiUnit, FormatBinary, FormatBinaryCrc}) {
        for (const std::int32_t dialogue : {DialogueIdle, DialogueMeasuring}) {
            Expecting sensor(dialogue, "T", format);
            sensor.Arrive("23 C,  OK\r\n");
            sensor.Arrive("");
            EXPECT_EQ(sensor.device.sTemperature(), "23 C,  OK");
            EXPECT_EQ(sensor.port.Sent, format == FormatAsciiUnit ? "" : "C") << format;
        }
    }
}

TEST(Evaluate, ABinarySensorThatAnswersInTextIsAskedOnce)
{
    const char* dump = "Type: Serial\r\n101: 2\r\nend\r\n";
    Expecting sensor(DialogueIdle, "T", FormatBinary);
    sensor.Arrive("23 C,  OK\r\n");
    EXPECT_EQ(sensor.port.TakeSent(), "C");
    EXPECT_EQ(sensor.Arrive(dump), EventConfiguration);
    for (const std::int32_t dialogue : {DialogueIdle, DialogueMeasuring}) {
        sensor.Expect(dialogue, "T");
        EXPECT_EQ(sensor.Arrive("24 C,  OK\r\n"), EventTemperature);
        EXPECT_EQ(sensor.device.CommStatus(), dialogue) << "the measurement goes on";
        EXPECT_EQ(sensor.port.TakeSent(), "") << "its dump has said the same";
    }
    sensor.Expect(DialogueIdle, "T");
    sensor.Arrive("RVQ ready\r\n");
    sensor.Expect(DialogueIdle, "T");
    sensor.device.InBuffer().clear();
    sensor.Arrive("24 C,  OK\r\n");
    EXPECT_EQ(sensor.port.TakeSent(), "C") << "a restarted sensor may have another format";
}

TEST(Evaluate, AFloodKeepsItsNewestBytes)
{
    Expecting sensor(DialogueIdle, "T");
    EXPECT_EQ(sensor.Arrive(std::string(2 * clsRVQ::kMaxPending, 'x') + "\r\n23 C"), EventNone);
    EXPECT_EQ(sensor.device.InBuffer().size(), clsRVQ::kMaxPending);
    EXPECT_EQ(sensor.Arrive(",  OK\r\n"), EventTemperature);
    EXPECT_EQ(sensor.device.sTemperature(), "23 C,  OK");
}

TEST(Evaluate, NothingIsSentDuringAWait)
{
    for (const char* bytes : {"", "Sensor ready", "noise"}) {
        Expecting sensor(DialogueNone, "");
        sensor.device.Wait().Running = true;
        sensor.At(kPast_ms);
        EXPECT_EQ(sensor.Arrive(bytes), EventNoAnswer) << bytes << ": the wait must end";
        EXPECT_EQ(sensor.port.Sent, "") << bytes;
    }
}

TEST(Evaluate, HowTheBytesAreCutMakesNoDifference)
{
    const std::pair<std::int32_t, std::string> formats[] = {{FormatAscii, "       1.234\r\n"},
                                                            {FormatAsciiUnit, "     1.234 m\r\n"},
                                                            {FormatBinary, "\xD2\x04\x00\x00"s},
                                                            {FormatBinaryCrc, WithCrc("\xD2\x04\x00\x00"s)}};
    for (const auto& [format, reply] : formats) {
        const std::string stream = reply + reply + reply + reply + reply + reply;
        for (std::size_t piece = 1; piece <= stream.size(); ++piece) {
            SCOPED_TRACE(std::to_string(format) + " in pieces of " + std::to_string(piece));
            Expecting sensor(DialogueMeasuring, "m", format);
            for (std::size_t at = 0; at < stream.size(); at += piece) {
                EXPECT_NE(sensor.Arrive(stream.substr(at, piece)), EventCrcError);
            }
            sensor.Arrive(""); // a line without a partner waits for one more evaluation
            EXPECT_EQ(sensor.device.MeasValue_mm(), 1234);
            EXPECT_EQ(sensor.device.InBuffer(), "");
        }
    }
}

} // namespace
