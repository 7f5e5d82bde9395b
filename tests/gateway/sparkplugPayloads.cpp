// Writes Sparkplug payloads for another reader, and reads commands that another writer has made: see sparkplug.mjs.
#include "gateway/clsSparkplugFormat.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

constexpr double kNow = 46348.9166680787; // 2026-11-22T22:00:00.122Z

void write(const std::filesystem::path& file, const MqttMessage& message)
{
    std::ofstream(file, std::ios::binary) << message.payload;
}

int writeAll(const std::filesystem::path& folder)
{
    std::uint8_t nextBirths = 44;
    clsSparkplugFormat format("plant", "gw", "1.2", nextBirths, [] { return kNow; });
    SensorState state;
    state.time = kNow;
    state.connection = SensorConnection::Connected;
    state.isMeasuring = true;
    state.temperature_C = 23.5;
    state.identity.emplace().SerialNo = "\xC4 7";
    state.account.bytes = std::int64_t{5} << 32;
    state.lastValue = kNow;
    format.State("Süd", state);
    format.Parameters("Süd", *state.identity, ParameterSet(), kNow);
    write(folder / "NDEATH", format.Will());
    const std::vector<MqttMessage> births = format.Online(kNow);
    write(folder / "NBIRTH", births.at(0));
    write(folder / "DBIRTH", births.at(1));
    const GatewayValue values[] = {{kNow, MeasurementKind::Distance, -1234, 1, 300, 7},
                                   {kNow, MeasurementKind::NoEcho, kMarkerNoEcho, 1, 300, 8}};
    write(folder / "DDATA", format.Values("Süd", values, true));
    state.connection = SensorConnection::NoAnswer;
    write(folder / "DDEATH", format.State("Süd", state).at(0));
    return 0;
}

/// 0 when each command is what sparkplug.mjs has meant.
int readAll(const std::filesystem::path& folder)
{
    std::uint8_t nextBirths = 44;
    const clsSparkplugFormat format("plant", "gw", "1.2", nextBirths, [] { return kNow; });
    const auto read = [&](const char* name, const char* topic) {
        std::ifstream in(folder / name, std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(in), {}};
        return format.ReadCommand(topic, bytes).value_or(GatewayCommand());
    };
    const GatewayCommand node = read("NCMD", "spBv1.0/plant/NCMD/gw");
    const GatewayCommand device = read("DCMD", "spBv1.0/plant/DCMD/gw/Süd");
    std::printf("rebirth %d %s; command %s of %s %s\n", node.isRebirth, node.problem.c_str(), device.id.c_str(),
                device.sensor.c_str(), device.problem.c_str());
    const bool isGood = node.isRebirth && device.kind == CommandKind::Stop && device.id == "ü" && device.time;
    return isGood ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        return 2;
    }
    return std::string_view(argv[1]) == "write" ? writeAll(argv[2]) : readAll(argv[2]);
}
