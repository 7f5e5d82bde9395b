// The measuring half of the simulated sensor: when values come, and which.
#include "simulator/Scene.h"
#include "simulator/clsSensorModel.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace simulator {

namespace {

constexpr double kSample_s = 0.00075;
constexpr double kSilentInterval_s = 0.1; // how often a dead sensor is checked for having come back
constexpr double kSampleNoise_mm = 4;     // standard deviation of one raw sample
constexpr std::size_t kMovingValues = 4;
constexpr std::int64_t kCounted = 8000; // values until the count begins anew
constexpr std::int32_t kModeSingle = 1; // of parameter 603

} // namespace

void clsSensorModel::startMeasuring(double now_s)
{
    if (m_isMeasuring) {
        return;
    }
    m_lastValues_mm.clear();
    if (Parameter("603") == kModeSingle) {
        m_singleValue_s = now_s + interval_s();
        return;
    }
    m_isMeasuring = true;
    m_nextValue_s = now_s + interval_s();
}

// No finished value ever waits for the line (see advance), so this drops everything that is not on its way.
void clsSensorModel::stopMeasuring()
{
    m_isMeasuring = false;
    m_singleValue_s.reset();
}

/// Takes a value when its time has come and the line has room, so nothing piles up on a slow line.
void clsSensorModel::advance(double now_s)
{
    while (m_singleValue_s || m_isMeasuring) {
        const bool isSingle = m_singleValue_s && (!m_isMeasuring || *m_singleValue_s <= m_nextValue_s);
        const double at_s = std::max(isSingle ? *m_singleValue_s : m_nextValue_s, m_line.FreeAt());
        if (at_s > now_s) {
            return;
        }
        if (isSingle) {
            m_singleValue_s.reset();
            sendValue(at_s);
        } else {
            sendValue(at_s);
            m_nextValue_s = at_s + (m_options.faults.silence < 1 ? interval_s() : kSilentInterval_s);
        }
    }
}

void clsSensorModel::sendValue(double at_s)
{
    const simulator::Faults& faults = m_options.faults;
    if (faults.silence >= 1) {
        return;
    }
    const double value_mm = measure_mm(at_s);
    SentValue value{++m_values, {}, false};
    std::string message;
    if (faults.shutdown >= 0.5 || Happens(faults.temperr, m_random)) {
        value.text = "TempError";
        message = TemperatureErrorMessage(format());
    } else if (Happens(faults.noecho, m_random)) {
        value.text = "No Echo";
        message = NoEchoMessage(format());
    } else {
        value.text = std::to_string(WholeMillimetres(value_mm)) + " mm";
        message = DistanceMessage(format(), Parameter("111"), value_mm);
    }
    value.isDamaged = m_line.Send(message, at_s, faults, value.number);
    m_onTheirWay.push_back(std::move(value));
}

double clsSensorModel::measure_mm(double at_s)
{
    if (m_options.counts) {
        return count_mm();
    }
    double value_mm = m_heldDistance_mm.value_or(0);
    if (!m_heldDistance_mm) {
        std::normal_distribution<double> noise_mm(0, kSampleNoise_mm / std::sqrt(depth()));
        value_mm = SceneDistance_mm(m_options.seed, at_s) + noise_mm(m_random);
    }
    return smoothed_mm(value_mm) * Parameter("702") / 1000 + Parameter("701");
}

/// From 1004 mm on, then anew. A distance whose lowest byte is 0 is left out: such a frame cannot be told from one that
/// is out of step.
double clsSensorModel::count_mm() const
{
    const std::int64_t place = 1000 + m_values % kCounted;
    const std::int64_t leftOut = place / 255;
    return static_cast<double>(place + leftOut + 1);
}

double clsSensorModel::smoothed_mm(double value_mm)
{
    if (Parameter("304") == 0) {
        m_lastValues_mm.clear();
        return value_mm;
    }
    m_lastValues_mm.push_back(value_mm);
    if (m_lastValues_mm.size() > kMovingValues) {
        m_lastValues_mm.pop_front();
    }
    const double sum_mm = std::accumulate(m_lastValues_mm.begin(), m_lastValues_mm.end(), 0.0);
    return sum_mm / static_cast<double>(m_lastValues_mm.size());
}

std::int32_t clsSensorModel::depth() const
{
    return kDepths.at(static_cast<std::size_t>(Parameter("301")));
}

double clsSensorModel::interval_s() const
{
    if (m_options.values_Hz) {
        return 1.0 / *m_options.values_Hz;
    }
    const double block_s = kSample_s * depth();
    return Parameter("304") == 0 ? block_s : block_s / static_cast<double>(kMovingValues);
}

} // namespace simulator
