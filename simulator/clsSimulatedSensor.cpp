// The thread sleeps until the model has something to send, the terminal has something to read, or a caller wakes it.
#include "simulator/clsSimulatedSensor.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <unistd.h>

namespace simulator {

namespace {

constexpr double kNobodyThere_s = 0.02; // a hung-up terminal cannot be waited on, so it is polled this often
constexpr double kUnplugDraw_s = 1.0;
constexpr double kUnplugged_s = 3.0;
constexpr double kForever_s = std::numeric_limits<double>::infinity();

double steadySeconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

} // namespace

clsSimulatedSensor::clsSimulatedSensor(const SensorOptions& options, std::string link, const std::string& log)
    : m_model(options), m_terminal(std::move(link), options.lineRate), m_random(options.seed + 2),
      m_start_s(steadySeconds()), m_wakeUp(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
{
    if (m_wakeUp < 0) {
        throw std::runtime_error("cannot make an event descriptor");
    }
    if (!log.empty()) {
        m_log.emplace(log);
    }
    m_thread = std::thread([this] { run(); });
}

clsSimulatedSensor::~clsSimulatedSensor()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
    }
    wake();
    m_thread.join();
    close(m_wakeUp);
}

std::string clsSimulatedSensor::Path() const
{
    const std::lock_guard lock(m_mutex);
    return m_terminal.Path();
}

double clsSimulatedSensor::Now_s() const
{
    return steadySeconds() - m_start_s;
}

void clsSimulatedSensor::With(const std::function<void(clsSensorModel&)>& use)
{
    {
        const std::lock_guard lock(m_mutex);
        use(m_model);
    }
    wake();
}

void clsSimulatedSensor::Restart()
{
    With([this](clsSensorModel& model) { model.PowerOn(Now_s()); });
}

void clsSimulatedSensor::Unplug()
{
    {
        const std::lock_guard lock(m_mutex);
        m_replugAt_s.reset();
        m_terminal.Unplug();
    }
    wake(); // a thread that waits on the terminal would keep it from hanging up
}

void clsSimulatedSensor::Replug()
{
    {
        const std::lock_guard lock(m_mutex);
        m_replugAt_s.reset();
        m_terminal.Replug(m_model.LineRate());
    }
    wake();
}

void clsSimulatedSensor::run()
{
    for (;;) {
        double wait_s = 0;
        {
            const std::lock_guard lock(m_mutex);
            if (m_isStopping) {
                return;
            }
            wait_s = step();
        }
        waitFor(wait_s);
    }
}

/// Looks at everything once; returns for how long nothing will happen by itself.
double clsSimulatedSensor::step()
{
    const double now_s = Now_s();
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

void clsSimulatedSensor::transmit(double now_s)
{
    const bool isHeard = m_terminal.Write(m_model.Transmit(now_s), m_model.LineRate());
    if (m_log) {
        for (const SentValue& value : m_model.JustSent()) {
            m_log->Sent(value, isHeard);
        }
    }
}

void clsSimulatedSensor::playUnplugFault(double now_s)
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

void clsSimulatedSensor::waitFor(double seconds)
{
    pollfd sources[] = {{m_wakeUp, POLLIN, 0}, {m_waitOn, POLLIN, 0}};
    const double whole_s = std::floor(std::min(seconds, 3600.0));
    const timespec limit{static_cast<time_t>(whole_s), static_cast<long>((std::min(seconds, 3600.0) - whole_s) * 1e9)};
    ppoll(sources, 2, &limit, nullptr);
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t taken = read(m_wakeUp, &count, sizeof count);
}

void clsSimulatedSensor::wake()
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t taken = write(m_wakeUp, &one, sizeof one);
}

} // namespace simulator
