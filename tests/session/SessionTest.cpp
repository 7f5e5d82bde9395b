// Sessions that are driven by ticks alone, several in one thread.
#include "session/clsSession.h"
#include "session/clsTransfer.h"
#include "simulator/clsSensorModel.h"
#include "store/modGlobals.h"
#include "tests/support/ModelLine.h"
#include "tests/support/ScriptedSensor.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/clsRecordingTransferView.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <tuple>

namespace {

/// One of the sensors in a plant: its line, its session and what the session reports.
struct Site : SessionListener {
    TemporaryFolder folder;
    ModelLine* line;
    modGlobals::Settings settings;
    clsSession session;
    Configuration entry;
    clsRecordingTransferView view;
    clsTransfer transfer{session.Device(), entry, view, {}};
    int values = 0, points = 0;

    explicit Site(const double& clock_s)
        : line(new ModelLine(clock_s)), session(std::unique_ptr<SerialPort>(line), settings, folder.path, '.')
    {
        session.Listen(*this);
        session.Loop().MeasureWhenConnected();
    }
    ~Site() override { session.Leave(*this); }
    void Measured(const Measurement&, std::string_view) override { ++values; }
    void AddChartPoint(double, double) override { ++points; }
};

struct Plant {
    double now_s = 0.0;
    Site busy{now_s}, other{now_s};

    /// Ticks both sessions, one after the other.
    void Run(int ticks)
    {
        for (int tick = 0; tick < ticks; ++tick) {
            now_s += 0.05;
            const double now = ScriptedSensor::kStart + now_s / kSecondsPerDay;
            busy.session.Tick(now);
            other.session.Tick(now);
        }
    }
    /// The number of values from the other sensor in this many ticks.
    int Others(int ticks)
    {
        const int before = other.values;
        Run(ticks);
        return other.values - before;
    }
};

TEST(Session, WhatOneDoesNeverHoldsUpAnother)
{
    using Act = Operation<> (*)(Site&);
    const std::tuple<const char*, Act, bool> rows[] = {
        {"an upload",
         [](Site& s) {
             s.entry.Parameters = s.session.Device().Parameters();
             return s.transfer.Uploading();
         },
         true},
        {"a download", [](Site& s) { return s.transfer.Downloading(); }, true},
        {"a setting", [](Site& s) { return s.session.Loop().ChangingSetting(&ParameterSet::AverageDepth, 1); }, true},
        {"the laser", [](Site& s) { return s.session.Loop().SwitchingRedLaser(false); }, true},
        {"a stop", [](Site& s) { return s.session.Loop().StartingOrStopping(); }, false},
        {"a wait for a silent sensor",
         [](Site& s) {
             s.line->model.Faults().silence = 1.0;
             return s.transfer.Storing();
         },
         false},
    };
    for (const auto& [what, act, goesOn] : rows) {
        Plant plant;
        plant.Run(200);
        ASSERT_GT(plant.busy.values, 20) << what;
        const int usual = plant.Others(100);
        plant.busy.session.Start(act(plant.busy));
        EXPECT_NEAR(plant.Others(100), usual, 2) << what;
        EXPECT_EQ(plant.busy.session.Operations(), 0U) << what;
        const int before = plant.busy.values;
        plant.Run(100);
        EXPECT_EQ(plant.busy.values > before + 20, goesOn) << what;
    }
}

TEST(Session, MayBeEndedByWhatHearsOfIt)
{
    Plant plant;
    struct Ending : SessionListener {
        Site& site;
        explicit Ending(Site& ended) : site(ended) { site.session.Listen(*this); }
        ~Ending() override { site.session.Leave(*this); }
        void ShowRunning(bool running) override
        {
            if (!running) {
                site.session.End();
            }
        }
    } const ending(plant.busy);
    plant.Run(200);
    plant.busy.session.Start(plant.busy.session.Loop().StartingOrStopping()); // stops, in a step
    plant.busy.session.Start(plant.busy.transfer.Downloading());
    while (plant.busy.session.Device().PortIsOpen()) {
        plant.Run(1);
    }
    EXPECT_EQ(plant.busy.session.Operations(), 0U) << "at once: no tick may follow";
    EXPECT_GT(plant.Others(100), 20);
    plant.other.session.Start([](clsSession& session) -> Operation<> {
        session.End();
        co_await NextStep{};
    }(plant.other.session));
    plant.Run(1);
    EXPECT_EQ(plant.other.session.Operations(), 0U) << "it ends its own session and waits";
}

TEST(Session, StepsDoNotNest)
{
    Plant plant;
    int steps = 0;
    const auto nesting = [](clsSession& session, int& count) -> Operation<> {
        for (; count < 3; ++count) {
            session.Tick(ScriptedSensor::kStart); // as a box does that lets events be handled
            co_await NextStep{};
        }
    };
    plant.busy.session.Start(nesting(plant.busy.session, steps));
    plant.Run(2);
    EXPECT_EQ(steps, 1);
    plant.Run(2);
    EXPECT_EQ(plant.busy.session.Operations(), 0U);
}

TEST(Session, AListenerMayLeaveInACallAndAPlaybackThatItBreaksOffLeavesTheSessionUsable)
{
    Plant plant;
    struct Breaking : SessionListener {
        Site& site;
        explicit Breaking(Site& played) : site(played) { site.session.Listen(*this); }
        void AddPlayedPoints(std::span<const ChartPoint>) override
        {
            site.session.Leave(*this);
            throw std::runtime_error("a fault");
        }
    } breaking(plant.busy);
    const auto file = plant.busy.folder.Write("a.rec", "15.11.2026 12:00:00,000; 1234 mm; 23 C\r\n");
    const auto play = [&] { return plant.busy.session.Play(file, [](double) { return true; }).lines; };
    EXPECT_THROW(play(), std::runtime_error);
    plant.Run(200);
    EXPECT_GT(plant.busy.points, 20) << "it measures, and what it measures is live";
    EXPECT_EQ(play(), 1) << "the listener has left";
}

TEST(Session, AFaultComesOutWhereItsOperationIsAwaited)
{
    const auto failing = []() -> Operation<int> {
        co_await NextStep{};
        throw std::runtime_error("a fault");
    };
    Operation<int> outer = [](auto inner) -> Operation<int> {
        Operation<int> work = inner();
        try {
            co_return co_await work;
        } catch (const std::runtime_error&) {
            co_return 7;
        }
    }(failing);
    EXPECT_FALSE(outer.Step());
    EXPECT_TRUE(outer.Step());
    EXPECT_EQ(outer.Value(), 7);
}

TEST(Session, AnOperationThatFailsOrIsCutShortLeavesItUsable)
{
    Plant plant;
    plant.Run(200);
    plant.busy.session.Start([]() -> Operation<> {
        co_await NextStep{};
        throw std::runtime_error("a fault");
    }());
    plant.busy.session.Start(plant.busy.transfer.Downloading());
    plant.Run(1);
    EXPECT_THROW(plant.Run(1), std::runtime_error);
    plant.Run(100);
    EXPECT_EQ(plant.busy.session.Operations(), 0U) << "the next one has had its turn";
    EXPECT_EQ(plant.busy.entry.Parameters, plant.busy.session.Device().Parameters());
    plant.busy.session.Start(plant.busy.transfer.Uploading());
    plant.Run(3);
    plant.busy.session.End();
    EXPECT_FALSE(plant.busy.transfer.IsBusy()) << "what it held is released";
    EXPECT_GT(plant.Others(100), 20);
}

} // namespace
