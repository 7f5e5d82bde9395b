// What the simulated sensor writes for known values, byte for byte.
#include "simulator/WireFormat.h"

#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace simulator {

using namespace std::string_literals;

TEST(SensorWireFormat, MarkersFillALineOrAFrame)
{
    EXPECT_EQ(NoEchoMessage(Format::Ascii), "     No Echo\r\n");
    EXPECT_EQ(TemperatureErrorMessage(Format::AsciiUnit), "    TempErr!\r\n");
    EXPECT_EQ(NoEchoMessage(Format::Binary), "\xFF\xFF\xFF\x7F");
    EXPECT_EQ(TemperatureErrorMessage(Format::Binary), "\xF0\xFF\xFF\x7F");
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
