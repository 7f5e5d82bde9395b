// What one look at the sensor does: the cable, what has come, what is to go.
#include "simulator/clsDrivenSensor.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <stdexcept>

namespace simulator {

namespace {

constexpr double kNobodyThere_s = 0.02; // a hung-up terminal cannot be waited on, so it is polled this often
constexpr double kUnplugDraw_s = 1.0;
constexpr double kUnplugged_s = 3.0;
constexpr double kForever_s = std::numeric_limits<double>::infinity();

} // namespace

double SteadySeconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

clsDrivenSensor::clsDrivenSensor(const SensorOptions& options, std::string link, const std::string& log)
    : m_model(options), m_terminal(std::move(link), options.lineRate), m_random(options.seed + 2)
{
    if (!log.empty()) {
        m_log.emplace(log);
    }
}

double clsDrivenSensor::Step(double now_s)
{
    playUnplugFault(now_s);
    // Read first: a program that has just gone may have left a last command.
    const std::string received = m_terminal.Read(m_model.LineRate());
    const bool isAttached = m_terminal.IsAttached();
    if (!received.empty()) {
        m_model.Receive(received, now_s);
        if (m_log) {
            m_log->Received(received);
        }
    }
    transmit(now_s);

    m_waitOn = isAttached ? m_terminal.Descriptor() : -1;
    double until_s = m_model.NextDue();
    if (m_terminal.IsPlugged() && !isAttached) {
        until_s = now_s + kNobodyThere_s;
    }
    if (m_model.Faults().unplug > 0) {
        until_s = std::min(until_s, m_nextUnplugDraw_s);
    }
    until_s = std::min(until_s, m_replugAt_s.value_or(kForever_s));
    return std::max(0.0, until_s - now_s);
}

void clsDrivenSensor::Unplug()
{
    m_replugAt_s.reset();
    m_terminal.Unplug();
}

void clsDrivenSensor::Replug()
{
    m_replugAt_s.reset();
    m_terminal.Replug(m_model.LineRate());
}

void clsDrivenSensor::transmit(double now_s)
{
    const bool isHeard = m_terminal.Write(m_model.Transmit(now_s), m_model.LineRate());
    if (m_log) {
        for (const SentValue& value : m_model.JustSent()) {
            m_log->Sent(value, isHeard);
        }
    }
}

void clsDrivenSensor::playUnplugFault(double now_s)
{
    if (m_replugAt_s && now_s >= *m_replugAt_s) {
        m_replugAt_s.reset();
        try {
            m_terminal.Replug(m_model.LineRate());
        } catch (const std::runtime_error&) {
            m_replugAt_s = now_s + kUnplugged_s; // the link's place is taken, perhaps not for long
        }
    }
    if (m_model.Faults().unplug <= 0 || now_s < m_nextUnplugDraw_s) {
        return;
    }
    m_nextUnplugDraw_s = now_s + kUnplugDraw_s;
    if (Happens(m_model.Faults().unplug, m_random) && m_terminal.IsPlugged()) {
        m_terminal.Unplug();
        m_replugAt_s = now_s + kUnplugged_s;
    }
}

} // namespace simulator
