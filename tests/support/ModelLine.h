// A simulated sensor in memory, at the clock of a test.
#pragma once

#include "simulator/clsSensorModel.h"
#include "tests/support/PlayedLine.h"

struct ModelLine : PlayedLine {
    simulator::clsSensorModel model;
    const double& now_s;

    explicit ModelLine(const double& clock_s) : now_s(clock_s) {}
    void sent(char command) override { model.Receive({&command, 1}, now_s); }
    void arrive() override { Arriving += model.Transmit(now_s); }
};
