// The thread sleeps until the model has something to send, the terminal has something to read, or a caller wakes it.
#include "simulator/clsSimulatedSensor.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <unistd.h>

namespace simulator {

namespace {

constexpr double kLongestWait_s = 3600;

} // namespace

clsSimulatedSensor::clsSimulatedSensor(const SensorOptions& options, std::string link, const std::string& log)
    : m_sensor(options, std::move(link), log), m_start_s(SteadySeconds()),
      m_wakeUp(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
{
    if (m_wakeUp < 0) {
        throw std::runtime_error("cannot make an event descriptor");
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
    return m_sensor.Path();
}

double clsSimulatedSensor::Now_s() const
{
    return SteadySeconds() - m_start_s;
}

void clsSimulatedSensor::With(const std::function<void(clsSensorModel&)>& use)
{
    {
        const std::lock_guard lock(m_mutex);
        use(m_sensor.Model());
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
        m_sensor.Unplug();
    }
    wake(); // a thread that waits on the terminal would keep it from hanging up
}

void clsSimulatedSensor::Replug()
{
    {
        const std::lock_guard lock(m_mutex);
        m_sensor.Replug();
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
            wait_s = m_sensor.Step(Now_s());
        }
        waitFor(wait_s);
    }
}

void clsSimulatedSensor::waitFor(double seconds)
{
    pollfd sources[] = {{m_wakeUp, POLLIN, 0}, {m_sensor.WaitOn(), POLLIN, 0}};
    const double limit_s = std::min(seconds, kLongestWait_s);
    const double whole_s = std::floor(limit_s);
    const timespec limit{static_cast<time_t>(whole_s), static_cast<long>((limit_s - whole_s) * 1e9)};
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
