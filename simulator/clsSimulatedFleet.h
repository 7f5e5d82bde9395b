// Many simulated sensors in one thread, each on a pseudo-terminal of its own: what a gateway has before it.
#pragma once

#include "simulator/clsDrivenSensor.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace simulator {

struct FleetOptions {
    SensorOptions sensor;    // of each; seed and serial number go on from one to the next
    std::int32_t count = 1;  // 1 to kMostSensors
    std::int32_t faulty = 0; // the only one that the faults hit, from 1; 0: they hit all
    std::string links;       // folder of the links "s001", "s002", ..., made if missing; empty: there are none
    std::string logs;        // folder of the logs "s001.log", ..., made if missing; empty: there are none
};

class clsSimulatedFleet {
public:
    static constexpr std::int32_t kMostSensors = 500;

    /// All sensors are on and idle. Throws std::runtime_error when a terminal, link or log cannot be made.
    explicit clsSimulatedFleet(const FleetOptions& options);
    ~clsSimulatedFleet();
    clsSimulatedFleet(const clsSimulatedFleet&) = delete;
    clsSimulatedFleet& operator=(const clsSimulatedFleet&) = delete;

    /// What to open, in the order of the sensors.
    std::vector<std::string> Paths() const;
    /// Lets all sensors run until this descriptor is readable.
    void RunUntilReadable(int descriptor);
    /// Switches all sensors off and on again.
    void Restart();

private:
    struct Member {
        std::unique_ptr<clsDrivenSensor> sensor;
        double due_s = 0;
        int watched = -1; // the descriptor that epoll has of it
    };

    void serve(Member& member, std::size_t place);
    int untilNext_ms() const;
    double now_s() const;

    std::vector<Member> m_members;
    double m_start_s;
    int m_epoll;
};

} // namespace simulator
