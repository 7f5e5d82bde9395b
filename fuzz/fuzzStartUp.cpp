// Starts the program with any RVQ.ini: settings, list of configurations and ports, which are then saved and read again.
#include "fuzz/FuzzFolder.h"
#include "fuzz/FuzzInput.h"
#include "port/modPComm.h"
#include "store/clsConfigLibrary.h"
#include "store/modGlobals.h"

#include <cmath>

namespace {

void requireSame(const modGlobals::Settings& a, const modGlobals::Settings& b)
{
    Require(a.Baudrate == b.Baudrate && a.Comport == b.Comport && a.Language == b.Language);
    Require(a.DefaultDevice == b.DefaultDevice && a.AutoScale == b.AutoScale && a.yMax == b.yMax && a.yMin == b.yMin);
}

/// The input calls the only configuration "a.rvq"; its folder differs from run to run.
std::string withPath(std::string_view input, const std::string& configuration)
{
    constexpr std::string_view kName = "a.rvq";
    std::string text(input);
    for (std::size_t at = 0; (at = text.find(kName, at)) != std::string::npos; at += configuration.size()) {
        text.replace(at, kName.size(), configuration);
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const FuzzFolder folder;
    static const std::string configuration = folder.Put("a.rvq", "[RVQ]\r\nDescription=a\r\nOffset=7\r\n");
    const std::string file = folder.Put("RVQ.ini", withPath(FuzzInput(data, size).Rest(), configuration));

    const char separator = size % 2 == 0 ? '.' : ',';
    modGlobals::Settings settings = modGlobals::LoadGlobalSettings(file, separator);
    Require(std::isfinite(settings.yMax) && std::isfinite(settings.yMin));
    Require(settings.Language == LanguageGerman || settings.Language == LanguageEnglish);
    Require(!SaveGlobalSettings(settings));
    requireSame(settings, modGlobals::LoadGlobalSettings(file, separator));

    modPComm::PortDevices devices;
    devices.Use([&](std::string_view key) { return modGlobals::ConfiguredPorts(file).DeviceOf(key); });
    Require(devices.DeviceOf(1).size() < 4096);

    clsConfigLibrary library(file);
    library.Build();
    Require(library.Size() >= 1 && library.Size() <= clsConfigLibrary::kMostFiles + 1);
    const std::size_t listed = library.Size();
    Require(!library.Save().why || settings.UnreadWhy);
    clsConfigLibrary again(file);
    again.Build();
    Require(again.Size() >= listed);
    return 0;
}
