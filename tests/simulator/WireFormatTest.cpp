// What the simulated sensor writes for known values, byte for byte.
#include "simulator/WireFormat.h"

#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace simulator {

using namespace std::string_literals;

TEST(SensorWireFormat, DistancesHaveTheirBytesInEachFormatAndUnit)
{
    struct Row {
        Format format;
        std::int32_t unit;
        double distance_mm;
        std::string bytes;
    };
    for (const Row& row :
         {Row{Format::Ascii, 0, 10000.4, "       10000\r\n"}, Row{Format::Ascii, 1, 10000, "      10.000\r\n"},
          Row{Format::Ascii, 1, -5, "      -0.005\r\n"}, Row{Format::AsciiUnit, 1, 1234.4, "       1.234 m\r\n"},
          Row{Format::AsciiUnit, 2, 254, "      10.000 in\r\n"},
          Row{Format::AsciiUnit, 3, 30480, "    100.0000 ft\r\n"},
          Row{Format::AsciiUnit, 4, 914.4, "      1.0000 yd\r\n"},
          Row{Format::AsciiUnit, 5, 1609344, "  1.00000000 mi\r\n"},
          Row{Format::AsciiUnit, 6, 926, "  0.00050000 nm\r\n"}, Row{Format::Binary, 1, 10000, "\x10\x27\0\0"s},
          Row{Format::Binary, 5, -5, "\xFB\xFF\xFF\xFF"}, Row{Format::BinaryCrc, 1, 10000, "\x10\x27\0\0\xB4\xEF"s},
          // A distance of zero would be read as "no echo".
          Row{Format::Ascii, 0, 0, "           1\r\n"}, Row{Format::Ascii, 0, -0.3, "          -1\r\n"},
          Row{Format::Binary, 0, 0.2, "\1\0\0\0"s}}) {
        EXPECT_EQ(DistanceMessage(row.format, row.unit, row.distance_mm), row.bytes)
            << row.distance_mm << " mm in unit " << row.unit << ", format " << static_cast<int>(row.format);
    }
}

TEST(SensorWireFormat, MarkersFillALineOrAFrame)
{
    EXPECT_EQ(NoEchoMessage(Format::Ascii), "     No Echo\r\n");
    EXPECT_EQ(TemperatureErrorMessage(Format::AsciiUnit), "    TempErr!\r\n");
    EXPECT_EQ(NoEchoMessage(Format::Binary), "\xFF\xFF\xFF\x7F");
    EXPECT_EQ(TemperatureErrorMessage(Format::Binary), "\xF0\xFF\xFF\x7F");
}

TEST(SensorWireFormat, TemperaturesKeepTheirTwoPlaces)
{
    struct Row {
        Format format;
        std::int32_t temperature_C;
        bool isGood;
        std::string bytes;
    };
    for (const Row& row :
         {Row{Format::Ascii, 23, true, "23 C,  OK\r\n"}, Row{Format::AsciiUnit, 7, false, " 7 C, NOK\r\n"},
          Row{Format::Ascii, -20, true, "-9 C,  OK\r\n"}, Row{Format::Binary, -5, true, "\xFB\1"},
          Row{Format::Binary, 61, false, "\x3D\0"s}}) {
        EXPECT_EQ(TemperatureMessage(row.format, row.temperature_C, row.isGood), row.bytes) << row.temperature_C;
    }
}

TEST(SensorWireFormat, AFrameWithItsCrcLeavesNoRemainder)
{
    EXPECT_EQ(Crc16("123456789"), 0x4B37);
    for (const std::string& frame : {NoEchoMessage(Format::BinaryCrc), DistanceMessage(Format::BinaryCrc, 0, -70000),
                                     TemperatureMessage(Format::BinaryCrc, 23, true)}) {
        EXPECT_EQ(Crc16(frame), 0) << frame.size() << " bytes";
    }
}

} // namespace simulator
