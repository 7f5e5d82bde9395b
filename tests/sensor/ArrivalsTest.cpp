// When replies have arrived, from the pieces in which their bytes came.
#include "base/Days.h"
#include "sensor/clsArrivals.h"
#include "tests/support/ScriptedSensor.h"

#include <gtest/gtest.h>

namespace {

constexpr double kByte = 1.0 / kMsPerDay; // a line with a byte a millisecond
constexpr double kStart = ScriptedSensor::kStart;

double at(double ms)
{
    return kStart + ms / kMsPerDay;
}

double millisecondsOf(double time)
{
    return (time - kStart) * kMsPerDay;
}

/// A sensor that measures in the format BINARY+CRC, and its replies.
struct MeasuringSensor : ScriptedSensor {
    MeasuringSensor()
    {
        device.Parameters().OutputFormat = FormatBinaryCrc;
        Expect(DialogueMeasuring, "m");
    }
    static std::string Reply(std::int32_t value_mm)
    {
        std::string bytes;
        for (int shift = 0; shift < 32; shift += 8) {
            bytes += static_cast<char>((static_cast<std::uint32_t>(value_mm) >> shift) & 0xFF);
        }
        return WithCrc(bytes);
    }
    void Collect(std::string_view bytes, double ms)
    {
        port.Arriving += bytes;
        device.Collect(at(ms));
    }
    /// The two halves of a tick as the loop makes it. The second returns when the measurements arrived.
    std::vector<double> Tick(double ms)
    {
        Read(ms);
        return Evaluate();
    }
    const std::string& Read(double ms)
    {
        At(ms);
        device.ReadComportData();
        return device.NewInData();
    }
    std::vector<double> Evaluate()
    {
        device.EvaluateInBuffer();
        if (device.EventNr() == EventCrcError) {
            device.EvaluateBehindDamage();
        }
        std::vector<double> times;
        for (const Measurement& sample : device.Samples()) {
            times.push_back(millisecondsOf(sample.time));
        }
        return times;
    }
};

} // namespace

TEST(Arrivals, AByteIsCountedBackFromTheEndOfItsPieceButNotIntoThePieceBefore)
{
    clsArrivals arrivals;
    arrivals.Append(10, at(100));
    arrivals.Append(10, at(105)); // five bytes a byte time too early: they lay in a buffer
    struct Row {
        std::int64_t position;
        double ms;
    };
    for (const Row& row : {Row{1, 91}, Row{10, 100}, Row{11, 100}, Row{16, 101}, Row{20, 105}}) {
        EXPECT_NEAR(millisecondsOf(arrivals.TimeOf(row.position, kByte, at(300))), row.ms, 0.01) << row.position;
    }
}

TEST(Arrivals, TimesFollowAClockThatIsSetBackAndKeepTheirOrder)
{
    clsArrivals arrivals;
    arrivals.Append(1, at(0));
    arrivals.Append(1, at(30));
    arrivals.Append(1, at(45 - 3600000)); // the clock has been set meanwhile
    arrivals.ShiftClock(-3600000 / kMsPerDay, at(50 - 3600000));
    std::vector<double> times;
    for (std::int64_t position = 1; position <= 3; ++position) {
        times.push_back(millisecondsOf(arrivals.TimeOf(position, kByte, at(50 - 3600000))) + 3600000);
    }
    EXPECT_NEAR(times[0], 0, 0.01);
    EXPECT_NEAR(times[1], 30, 0.01);
    EXPECT_NEAR(times[2], 45, 0.01);
}

TEST(Arrivals, TimesFromBeforeAClockWasSetForwardAreKept)
{
    clsArrivals arrivals;
    arrivals.Append(1, at(20));
    arrivals.Append(1, at(3600045));
    arrivals.ShiftClock(3600000 / kMsPerDay, at(3600050));
    EXPECT_NEAR(millisecondsOf(arrivals.TimeOf(1, kByte, at(3600050))), 20, 0.01);
    EXPECT_NEAR(millisecondsOf(arrivals.TimeOf(2, kByte, at(3600050))), 3600045, 0.01);
}

TEST(Arrivals, RepliesCollectedBetweenTwoTicksKeepTheirTimes)
{
    MeasuringSensor sensor;
    const std::string cut = MeasuringSensor::Reply(1003);
    sensor.Collect(MeasuringSensor::Reply(1001), 10);
    EXPECT_NEAR(sensor.Tick(50).at(0), 10, 0.01);
    sensor.Collect(MeasuringSensor::Reply(1002) + cut.substr(0, 2), 77);
    EXPECT_NEAR(sensor.Tick(100).at(0), 77 - 2 * 10 / 9.6, 0.01) << "two bytes of the next one came behind it";
    sensor.Collect(cut.substr(2), 111);
    EXPECT_NEAR(sensor.Tick(150).at(0), 111, 0.01);
}

TEST(Arrivals, AFlushDropsCollectedBytesAndLaterRepliesKeepTheirTimes)
{
    MeasuringSensor sensor;
    sensor.Collect(MeasuringSensor::Reply(1001), 10);
    sensor.device.SendCommand("m"); // throws away what has come
    sensor.Collect(MeasuringSensor::Reply(1002), 40);
    EXPECT_EQ(sensor.Read(50), MeasuringSensor::Reply(1002));
    EXPECT_NEAR(sensor.Evaluate().at(0), 40, 0.01);
}

TEST(Arrivals, NothingFromBeforeAClosedPortReachesTheNextOne)
{
    MeasuringSensor sensor;
    sensor.Collect(MeasuringSensor::Reply(1001), 10);
    sensor.device.CloseComPort();
    sensor.device.OpenComPort(1, 9600);
    sensor.Expect(DialogueMeasuring, "m");
    sensor.Collect(MeasuringSensor::Reply(1002), 70);
    EXPECT_EQ(sensor.Read(100), MeasuringSensor::Reply(1002));
    EXPECT_NEAR(sensor.Evaluate().at(0), 70, 0.01);
}

TEST(Arrivals, CollectingWithoutTicksIsBoundedAndJoinsNoHalvesOfReplies)
{
    MeasuringSensor sensor;
    const std::string reply = MeasuringSensor::Reply(1001);
    sensor.Collect(reply.substr(0, 3), 1);
    EXPECT_TRUE(sensor.Tick(2).empty());
    const std::size_t count = clsRVQ::kMaxPending / reply.size() + 100;
    for (std::size_t i = 0; i < count; ++i) {
        sensor.Collect(reply, 10.0 + static_cast<double>(i) * 10);
    }
    EXPECT_EQ(sensor.Read(1e6).size(), clsRVQ::kMaxPending);
    EXPECT_EQ(sensor.device.InBuffer(), sensor.device.NewInData()) << "without the beginning of the first reply";
    const std::vector<double> times = sensor.Evaluate();
    EXPECT_EQ(sensor.device.DamagedReplies(), 101) << "those that were too many, and the cut one";
    ASSERT_FALSE(times.empty());
    EXPECT_NEAR(times.back(), 10.0 + static_cast<double>(count - 1) * 10, 0.01);
}
