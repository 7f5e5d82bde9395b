// What one sensor of the gateway does and tells.
#include "store/modSidecar.h"
#include "tests/gateway/LineOfSimulatedSensor.h"
#include "tests/support/FullDisk.h"

#include <gtest/gtest.h>

namespace {

TEST(SensorLines, EveryRecordedValueHasItsNumberAndItsLine)
{
    LineOfSimulatedSensor site;
    ASSERT_TRUE(site.UntilValues(20));
    for (std::size_t i = 0; i < site.told.values.size(); ++i) {
        EXPECT_EQ(site.told.values[i].sequence, static_cast<std::int64_t>(i) + 1) << "from the first value on";
        EXPECT_EQ(site.told.values[i].run, 7);
    }
    const SensorState state = site.line.State(modAPI::LocalTime());
    EXPECT_EQ(state.connection, SensorConnection::Connected);
    EXPECT_TRUE(state.isMeasuring && state.isRecording && state.temperature_C && state.identity && state.lastValue);
    site.line.BeginLeaving(modAPI::UpTime_s());
    ASSERT_TRUE(site.Until([&] { return site.line.HasLeft(); }, 5.0));
    ASSERT_TRUE(site.line.FinishWriting(std::chrono::seconds(10)));
    EXPECT_EQ(site.told.ended, 1);
    EXPECT_EQ(site.told.values.back().sequence, site.told.lastSequence) << "to the last one";
    EXPECT_EQ(site.told.firstSequence, 1);
    EXPECT_EQ(site.RecordedTimes(), site.told.Times()) << "told with the very times of the lines";
    const SensorState left = site.line.State(modAPI::LocalTime());
    EXPECT_EQ(left.connection, SensorConnection::NoPort);
    EXPECT_FALSE(left.isMeasuring || left.temperature_C || left.identity);
    site.sensor.With([](const auto& model) { EXPECT_FALSE(model.IsMeasuring()) << "it is left idle"; });
}

TEST(SensorLines, AnUnpluggedSensorIsMissedAndMeasuresWhenItIsBack)
{
    LineOfSimulatedSensor site;
    ASSERT_TRUE(site.UntilValues(5));
    site.sensor.Unplug();
    ASSERT_TRUE(site.Until([&] { return !site.line.IsConnected(); }));
    EXPECT_EQ(site.told.events, std::vector<std::string>{"line lost"});
    const SensorState lost = site.line.State(modAPI::LocalTime());
    EXPECT_EQ(lost.connection, SensorConnection::NoPort);
    EXPECT_FALSE(lost.whyNoPort.empty() || lost.isMeasuring || lost.temperature_C);
    site.sensor.Replug();
    ASSERT_TRUE(site.UntilValues(5));
    EXPECT_EQ(site.told.events, (std::vector<std::string>{"line lost", "line back"}));
    EXPECT_EQ(site.told.values.back().sequence, std::ssize(site.told.values)) << "in the same recording";
    EXPECT_EQ(site.told.recordings.size(), 1u);
}

TEST(SensorLines, ASensorThatFallsSilentAfterATemperatureErrorIsLost)
{
    LineOfSimulatedSensor site;
    site.sensor.With([](auto& model) { model.Faults().temperr = 1.0; });
    ASSERT_TRUE(site.UntilValues(3));
    site.sensor.With([](auto& model) { model.Faults().temperr = 0.0; });
    ASSERT_TRUE(site.UntilValues(5)) << "good ones follow";
    const double now_s = site.sensor.Now_s();
    site.sensor.With([now_s](auto& model) {
        model.Receive("s", now_s);
        model.Faults().silence = 1.0;
    });
    ASSERT_TRUE(site.Until([&] { return !site.line.IsConnected(); }));
    EXPECT_EQ(site.told.events, std::vector<std::string>{"line lost"});
    EXPECT_EQ(site.line.State(0.0).account.lineLost, 1);
}

TEST(SensorLines, OneValueInEachStretchIsRecordedAndTold)
{
    LineOfSimulatedSensor site([](SensorConfig& config) { config.every_ms = 200; });
    ASSERT_TRUE(site.UntilValues(8));
    for (std::size_t i = 2; i < site.told.values.size(); ++i) { // the first one comes in the middle of a stretch
        const double apart_ms = (site.told.values[i].time - site.told.values[i - 1].time) * kMsPerDay;
        EXPECT_GT(apart_ms, 60.0);
        EXPECT_LT(apart_ms, 340.0);
        EXPECT_EQ(site.told.values[i].sequence, static_cast<std::int64_t>(i) + 1);
    }
    const AccountFigures account = site.line.State(0.0).account;
    EXPECT_TRUE(account.AddUpExactly()) << "the others are passed over";
    EXPECT_GT(account.passedOver, 2 * account.recorded);
}

TEST(SensorLines, WithoutARecordingValuesAreToldWithoutNumbers)
{
    LineOfSimulatedSensor site([](SensorConfig& config) { config.records = false; });
    ASSERT_TRUE(site.UntilValues(3));
    EXPECT_EQ(site.told.values.back().sequence, 0);
    EXPECT_FALSE(std::filesystem::exists(site.folder.path / "REC"));
}

TEST(SensorLines, AFullDiskIsToldOnceAndValuesGoOn)
{
    LineOfSimulatedSensor site;
    ASSERT_TRUE(site.UntilValues(3));
    {
        const FullDisk full;
        ASSERT_TRUE(site.Until([&] { return site.told.ended == 1; }));
        ASSERT_TRUE(site.UntilValues(3));
    }
    EXPECT_EQ(site.told.events, std::vector<std::string>{"recording failed"});
    EXPECT_EQ(site.told.values.back().sequence, 0);
    EXPECT_FALSE(site.line.State(0.0).isRecording || site.line.State(0.0).whyNotRecording.empty());
}

TEST(SensorLines, ALineHasLeftWhenItsRecordingIsComplete)
{
    LineOfSimulatedSensor site;
    ASSERT_TRUE(site.Until([&] { return site.told.lastSequence >= 3; }));
    site.line.BeginLeaving(modAPI::UpTime_s());
    ASSERT_TRUE(site.Until([&] { return site.line.HasLeft(); }));
    EXPECT_EQ(site.told.ended, 1);
    std::error_code none;
    const auto info = modSidecar::Read(modSidecar::SidecarOf(site.told.recordings.at(0)), none);
    ASSERT_TRUE(info && info->end);
    EXPECT_EQ(info->account.recorded, site.told.lastSequence);
}

TEST(SensorLines, AParameterThatIsChangedElsewhereIsTold)
{
    LineOfSimulatedSensor site;
    ASSERT_TRUE(site.UntilValues(3));
    const std::int32_t reports = site.line.Reports();
    site.sensor.With([](auto& model) { model.SetParameter("701", 5); });
    site.sensor.Unplug();
    site.sensor.Replug();
    ASSERT_TRUE(site.Until([&] { return site.line.Reports() > reports; }));
    EXPECT_EQ(std::ranges::count(site.told.events, "changed"), 1);
    EXPECT_EQ(site.line.LastReport()->set.Offset, 5);
}

} // namespace
