// What the simulated sensor writes for known values, byte for byte.
#include "simulator/WireFormat.h"

#include <gtest/gtest.h>
#include <string>

namespace simulator {

TEST(SensorWireFormat, AFrameWithItsCrcLeavesNoRemainder)
{
    EXPECT_EQ(Crc16("123456789"), 0x4B37);
    for (const std::string& frame : {NoEchoMessage(Format::BinaryCrc), DistanceMessage(Format::BinaryCrc, 0, -70000),
                                     TemperatureMessage(Format::BinaryCrc, 23, true)}) {
        EXPECT_EQ(Crc16(frame), 0) << frame.size() << " bytes";
    }
}

} // namespace simulator
