// A sensor that restarts with another baud rate, on a real pseudo-terminal: at a wrong rate both sides get garbage.
#include "tests/support/SensorOnLine.h"

#include <gtest/gtest.h>

namespace {

constexpr std::int32_t kBefore = SensorOnLine::kRate, kAfter = 19200;
using Followed = std::vector<std::pair<std::int32_t, std::int32_t>>;

struct RateChange : SensorOnLine {
    RateChange() { EXPECT_TRUE(Configured()); }

    /// What an upload does; the new rate counts from the next start on, if it is stored.
    void Set(std::int32_t rate, bool stores)
    {
        ParameterSet wanted = device.Parameters();
        wanted.Baudrate = rate == 19200 ? 4 : 5;
        for (const std::string_view code :
             stores ? std::vector<std::string_view>{"601", "999"} : std::vector<std::string_view>{"601"}) {
            Operation<std::int32_t> sending = modRVQComm::SendingValueOf(device, wanted, std::string(code));
            const modRVQComm::WaitScope wait(device);
            while (!sending.Step()) {
                Tick();
            }
            EXPECT_EQ(sending.Value(), EventAcknowledged) << code;
        }
    }
    /// Waits until the loss is seen, and then for a connection.
    bool LosesAndFindsIt()
    {
        return Until([&] { return device.CommStatus() == DialogueNone; }) &&
               Until([&] { return device.CommStatus() == DialogueIdle; });
    }
    bool StaysAway()
    {
        return !Until([&] { return device.CommStatus() != DialogueNone; });
    }
};

TEST(RateFollowing, SensorIsFoundAtTheRateThatItWasSetTo)
{
    for (const bool keepsSettings : {true, false}) { // a front end that takes the rate over, and one that does not
        RateChange line;
        line.Set(kAfter, true);
        EXPECT_EQ(line.device.CommBaudrate(), kBefore) << "nothing changes before the restart";
        line.PowerOn();
        ASSERT_TRUE(line.LosesAndFindsIt());
        EXPECT_EQ(line.view.followed, (Followed{{kBefore, kAfter}}));
        EXPECT_EQ(line.device.CommBaudrate(), kAfter);
        line.settings.Baudrate = keepsSettings ? kAfter : kBefore;
        line.Unplug();
        ASSERT_TRUE(line.Until([&] { return !line.device.PortIsOpen(); }));
        line.Replug();
        ASSERT_TRUE(line.Until([&] { return line.device.CommStatus() == DialogueIdle; }));
        EXPECT_EQ(line.device.CommBaudrate(), kAfter) << "also when the port is opened again";
        EXPECT_EQ(line.view.followed.size(), 1u) << "it is told once";
        line.Set(kBefore, true);
        line.PowerOn();
        ASSERT_TRUE(line.LosesAndFindsIt());
        EXPECT_EQ(line.view.followed, (Followed{{kBefore, kAfter}, {kAfter, kBefore}})) << "each change";
    }
}

TEST(RateFollowing, MeasurementGoesOnAtTheNewRate)
{
    RateChange line;
    line.Set(kAfter, true);
    line.loop.StartStop({});
    ASSERT_TRUE(line.UntilEvent(EventDistance));
    line.PowerOn();
    ASSERT_TRUE(line.LosesAndFindsIt());
    EXPECT_TRUE(line.UntilEvent(EventDistance));
    EXPECT_EQ(line.device.CommBaudrate(), kAfter);
}

TEST(RateFollowing, BothRatesAreTriedUntilTheSensorIsBack)
{
    RateChange line;
    line.Set(kAfter, false); // lost with the restart
    line.sensor.Faults().silence = 1.0;
    ASSERT_TRUE(line.Until([&] { return line.device.CommBaudrate() == kAfter; }));
    ASSERT_TRUE(line.Until([&] { return line.device.CommBaudrate() == kBefore; }));
    ASSERT_TRUE(line.Until([&] { return line.device.CommBaudrate() == kAfter; }));
    line.sensor.Faults().silence = 0.0;
    line.PowerOn();
    ASSERT_TRUE(line.Until([&] { return line.device.CommStatus() == DialogueIdle; }));
    EXPECT_EQ(line.device.CommBaudrate(), kBefore);
    EXPECT_TRUE(line.view.followed.empty());
}

TEST(RateFollowing, LineStaysAtItsRateWithoutAReasonAndAfterTheOperatorsChoice)
{
    {
        RateChange line;
        line.sensor.Faults().silence = 1.0;
        ASSERT_TRUE(line.Until([&] { return line.device.CommStatus() == DialogueNone; }));
        EXPECT_FALSE(line.Until([&] { return line.device.CommBaudrate() != kBefore; }));
    }
    {
        RateChange line;
        line.Set(kAfter, true);
        line.PowerOn();
        ASSERT_TRUE(line.LosesAndFindsIt());
        line.settings.Baudrate = kBefore; // the way back
        line.loop.ChangeBaudrate();
        ASSERT_TRUE(line.Until([&] { return line.device.CommStatus() == DialogueNone; }));
        EXPECT_TRUE(line.StaysAway());
        EXPECT_EQ(line.device.CommBaudrate(), kBefore);
        line.settings.Baudrate = kAfter;
        line.loop.ChangeBaudrate();
        EXPECT_TRUE(line.Until([&] { return line.device.CommStatus() == DialogueIdle; }));
        EXPECT_EQ(line.view.followed.size(), 1u) << "the operator's own choice is no news";
    }
}

TEST(RateFollowing, PortThatRestsStaysClosed)
{
    RateChange line;
    line.Unplug();
    ASSERT_TRUE(line.Until([&] { return !line.device.PortIsOpen(); }));
    line.loop.Rest(true);
    line.Replug();
    EXPECT_FALSE(line.Until([&] { return line.device.PortIsOpen(); }));
    line.loop.Rest(false);
    EXPECT_TRUE(line.Until([&] { return line.device.CommStatus() == DialogueIdle; }));
}

} // namespace
