// A session that measures with a simulated sensor, on a line in memory that can be pulled and with a clock that can be
// set.
#pragma once

#include "base/Days.h"
#include "session/clsSession.h"
#include "simulator/clsSensorModel.h"
#include "store/modGlobals.h"
#include "tests/support/PlayedLine.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <memory>
#include <span>
#include <string_view>

struct MeasuringSite : SessionListener {
    struct Line : PlayedLine {
        simulator::clsSensorModel model{{.lineRate = 38400}};
        const double& now_s;

        explicit Line(const double& clock_s) : now_s(clock_s) {}
        void sent(char command) override { model.Receive({&command, 1}, now_s); }
        void arrive() override { Arriving += model.Transmit(now_s); }
        void dropped() override { model.Transmit(now_s); }
    };
    static constexpr double kBegin = 46000.5;

    TemporaryFolder folder;
    double now_s = 0.0;
    double clock_days = 0.0; ///< the local time is set by so many days
    Line* line = new Line(now_s);
    modGlobals::Settings settings{.Baudrate = 38400};
    clsSession session{std::unique_ptr<SerialPort>(line), settings, folder.path, '.'};
    std::int64_t sampled = 0, drawn = 0;
    int resets = 0;
    const clsAccount& account = session.Loop().Account();

    MeasuringSite()
    {
        line->model.SetParameter("301", 0);
        session.Listen(*this);
        session.Loop().MeasureWhenConnected();
    }
    ~MeasuringSite() override { session.Leave(*this); }
    void Sampled(std::span<const Measurement> samples, std::string_view) override
    {
        sampled += static_cast<std::int64_t>(samples.size());
    }
    void ResetChart() override { ++resets; }

    /// Runs and checks the account after every tick.
    void Run(double seconds)
    {
        for (const double end_s = now_s + seconds; now_s < end_s;) {
            now_s += 0.05;
            const double now = kBegin + now_s / kSecondsPerDay + clock_days;
            session.ServeFiles(now);
            session.Tick(now);
            const AccountFigures lately = account.Lately();
            ASSERT_TRUE(account.Figures().AddUp()) << now_s;
            ASSERT_TRUE(session.Recorder().Mode != RecorderRecording || account.Recording().AddUpExactly()) << now_s;
            ASSERT_TRUE(lately.AddUp()) << now_s;
        }
    }
    bool Measures(std::int64_t values)
    {
        const std::int64_t before = account.Figures().valid;
        Run(6);
        return account.Figures().valid >= before + values;
    }
};
