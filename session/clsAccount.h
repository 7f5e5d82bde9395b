// Counts what becomes of everything that a sensor sends. The loop and the recorder report, front ends read.
#pragma once

#include "sensor/AccountFigures.h"
#include "sensor/Measurement.h"

#include <cstddef>
#include <cstdint>
#include <span>

class clsAccount {
public:
    /// A measurement was started: everything is counted anew.
    void Begin() { m_figures = {}; }

    void Bytes(std::size_t count) { m_figures.bytes += static_cast<std::int64_t>(count); }
    /// Replies that were understood, in their order.
    void Received(std::span<const Measurement> samples);
    /// Replies that were given up.
    void Damaged(std::int64_t count);
    /// A reply was passed on to the chart.
    void Shown() { ++m_figures.shown; }
    void Recorded(std::int64_t recorded, std::int64_t passedOver, std::int64_t unwritten);

    /// Since `Begin`.
    const AccountFigures& Figures() const { return m_figures; }

private:
    AccountFigures m_figures;
};
