// The bare loop: a session that measures at the pace of rvqctl, with the same waits, and does nothing with its values.
// The reference of orvex_bench_cli. orvex_bench_bare DEVICE RATE FOLDER; it runs until it is killed.
#include "base/modAPI.h"
#include "port/clsPorts.h"
#include "session/clsSession.h"
#include "store/modGlobals.h"

#include <cstdlib>
#include <memory>

namespace {

void waitForTick(clsSession& session, double due_s)
{
    modAPI::CollectUntil(
        due_s, [&session] { return session.Device().ArrivalHandle(); },
        [&session] { return session.Collect(modAPI::LocalTime()) > 0; });
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        return 2;
    }
    modPComm::PortDevices devices;
    devices.Override(1, argv[1]);
    const modGlobals::Settings settings{.Baudrate = std::atoi(argv[2]), .History_MiB = modGlobals::kLeastHistory_MiB};
    clsSession session(std::make_unique<clsPorts>(devices), settings, argv[3], '.');
    session.Loop().MeasureWhenConnected();
    while (true) {
        const double due_s = modAPI::UpTime_s() + clsMeasurementLoop::kInterval_ms / 1000.0;
        session.ServeFiles(modAPI::LocalTime());
        session.Tick(modAPI::LocalTime());
        waitForTick(session, due_s);
    }
}
