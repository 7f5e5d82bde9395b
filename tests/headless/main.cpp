// A headless session as a program: connects to a sensor, prints its parameters, measures and records.
//   orvex_headless DEVICE FOLDER COUNT
#include "base/modAPI.h"
#include "port/clsPorts.h"
#include "session/clsSession.h"
#include "store/modGlobals.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace {

class Face : public SessionListener {
public:
    Face(clsSession& session, long count) : m_session(session), m_count(count) { session.Listen(*this); }
    ~Face() override { m_session.Leave(*this); }

    void ShowSensorSettings(const SensorSettings& /*settings*/) override
    {
        if (!m_session.Loop().IsMeasuring() && m_values == 0) {
            for (const ParameterDef& row : ParameterTable()) {
                std::printf("%.3s %d\n", row.code.data(), m_session.Device().Parameters().*row.value);
            }
            m_session.StartRecording();
            m_session.Start(m_session.Loop().StartingOrStopping());
        }
    }
    void ShowTemperature(const std::string& text) override { std::printf("%s\n", text.c_str()); }
    void Measured(const Measurement& measurement, std::string_view /*temperature*/) override
    {
        std::printf("%s\n", DistanceText(measurement, '.').c_str());
        if (++m_values == m_count) {
            m_session.Start(m_session.Loop().StartingOrStopping());
        }
    }
    bool IsDone() const { return m_values >= m_count && m_session.Operations() == 0; }

private:
    clsSession& m_session;
    long m_count, m_values = 0;
};

/// Until the next tick is due. Bytes get their time when they arrive; a line that brings none is left alone until then.
void waitForTick(clsSession& session, double due_s)
{
    modAPI::CollectUntil(
        due_s, [&session] { return session.Device().ArrivalHandle(); },
        [&session] { return session.Collect(modAPI::LocalTime()) > 0; });
}

} // namespace

int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ); // a script follows it
    if (argc != 4) {
        return 2;
    }
    modPComm::PortDevices devices;
    devices.Override(1, argv[1]);
    const modGlobals::Settings settings{.Baudrate = 9600};
    clsSession session(std::make_unique<clsPorts>(devices), settings, argv[2], '.');
    Face face(session, std::atol(argv[3]));
    for (int tick = 0; tick < 1200 && !face.IsDone(); ++tick) { // a minute
        const double due_s = modAPI::UpTime_s() + clsMeasurementLoop::kInterval_ms / 1000.0;
        session.ServeFiles(modAPI::LocalTime());
        session.Tick(modAPI::LocalTime());
        waitForTick(session, due_s);
    }
    session.End();
    session.FinishWriting(std::chrono::seconds(10));
    std::printf("%s: %lld\n", session.Recorder().FileName.c_str(), static_cast<long long>(session.Recorder().Lines()));
    return face.IsDone() ? 0 : 1;
}
