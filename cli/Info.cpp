#include "cli/Info.h"

#include "base/CodePage.h"
#include "base/PlainText.h"
#include "cli/clsProgram.h"
#include "cli/clsSensorRun.h"
#include "cli/modRows.h"
#include "sensor/Fields.h"

namespace {

constexpr std::size_t kLongest = 80; // characters of what a sensor says of itself

std::string plain(const std::string& bytes)
{
    return PlainText(Utf8Of(bytes), kLongest);
}

bool isLaserOn(const SensorIdentity& sensor)
{
    return sensor.HWPointer != "off";
}

void printText(clsProgram& program, clsSensorRun& run)
{
    const SensorIdentity& sensor = run.Device().Identity();
    const auto state = [&](bool on) { return program.Text(on ? TextId::StateOn : TextId::StateOff); };
    const std::string rate = std::to_string(run.Device().CommBaudrate()) + " bit/s";
    modRows::Rows rows;
    const auto add = [&](TextId caption, const std::string& text) {
        if (!text.empty()) {
            rows.push_back({program.Text(caption), text});
        }
    };
    add(TextId::CaptionSerialNumber, plain(sensor.SerialNo));
    add(TextId::CaptionDeviceType, plain(sensor.DeviceType));
    add(TextId::CaptionSoftwareVersion, plain(sensor.SWVersion));
    add(TextId::CaptionSoftwareBuild, plain(sensor.SWBuild));
    add(TextId::CaptionSoftwareDate, plain(sensor.SWDate));
    add(TextId::CliConnection, program.PortName() + ", " + rate);
    add(TextId::CheckRedLaser, state(isLaserOn(sensor)));
    add(TextId::CliMeasures, state(run.WasMeasuring()));
    modRows::PrintText(program, rows);
}

void printJson(clsProgram& program, clsSensorRun& run)
{
    const SensorIdentity& sensor = run.Device().Identity();
    const auto quoted = [](const std::string& bytes) { return modRows::Quoted(plain(bytes)); };
    program.PrintData(modRows::Object({{"serial", quoted(sensor.SerialNo)},
                                       {"type", quoted(sensor.DeviceType)},
                                       {"version", quoted(sensor.SWVersion)},
                                       {"build", quoted(sensor.SWBuild)},
                                       {"date", quoted(sensor.SWDate)},
                                       {"attenuator", quoted(sensor.Attenuator)},
                                       {"port", modRows::Quoted(program.PortName())},
                                       {"baud", std::to_string(run.Device().CommBaudrate())},
                                       {"laser", modRows::Truth(isLaserOn(sensor))},
                                       {"measuring", modRows::Truth(run.WasMeasuring())}}));
}

} // namespace

int RunInfo(clsProgram& program, const clsArguments& arguments)
{
    clsSensorRun run(program);
    if (const int code = run.Connect(); code != ExitDone) {
        return code;
    }
    (arguments.Has("json") ? printJson : printText)(program, run);
    return run.Leave() ? ExitDone : ExitNoConnection;
}
