#include "cli/Find.h"

#include "base/CodePage.h"
#include "base/Numbers.h"
#include "base/modAPI.h"
#include "cli/clsProgram.h"
#include "cli/modSignals.h"
#include "cli/modTerminal.h"
#include "port/clsPorts.h"
#include "port/modPortName.h"
#include "sensor/ValueLists.h"
#include "session/clsFinder.h"
#include "session/modCandidates.h"
#include "session/modFindText.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <unistd.h>
#include <vector>

namespace {

using nlohmann::ordered_json;

constexpr double kStep_s = 0.025;

/// The ports that were asked for, under numbers of their own: each device that has none gets one that was not asked
/// for.
std::vector<FindCandidate> namedPorts(clsProgram& program)
{
    modPComm::PortDevices& devices = program.Devices();
    std::vector<FindCandidate> candidates;
    std::int32_t free = modPComm::kPortCount + 1;
    const auto isNamed = [&](std::int32_t number) {
        return std::ranges::any_of(program.Ports(), [&](const std::string& typed) {
            return modPortName::IsNumber(typed) && WholeNumber(typed) == number;
        });
    };
    for (const std::string& typed : program.Ports()) {
        modPComm::PortDevices given = devices; // here a device without a number gets the last one, whosever that is
        std::int32_t port = clsProgram::NumberOf(typed, given);
        const std::string device = given.DeviceOf(port);
        if (device != devices.DeviceOf(port)) {
            do {
                --free;
            } while (isNamed(free));
            devices.Override(free, device);
            port = free;
        }
        const auto isListed = [&](const FindCandidate& other) { return other.device == device; };
        if (std::ranges::none_of(candidates, isListed)) {
            const bool isNumber = modPortName::IsNumber(typed);
            candidates.push_back({port, isNumber ? modCandidates::NameOf(port, devices) : device, false, device});
        }
    }
    return candidates;
}

/// Not a line that was closed at once: there was no looking for a sensor.
bool hasBeenOpen(const FindStep& step)
{
    return (step.event > FindEvent::NotOpened && step.event != FindEvent::Own) ||
           (step.event == FindEvent::NotOpened && step.failure.problem == OpenProblem::ConnectionLost);
}

ordered_json jsonOf(const FoundSensor& sensor, clsProgram& program)
{
    ordered_json json{{"port", program.Devices().DeviceOf(sensor.port)}, {"name", sensor.name}};
    json["baud"] = sensor.rate > 0 ? ordered_json(sensor.rate) : ordered_json();
    json["serial"] = sensor.serialNo.empty() ? ordered_json() : ordered_json(Utf8Of(sensor.serialNo));
    json["version"] = sensor.version.empty() ? ordered_json() : ordered_json(Utf8Of(sensor.version));
    json["measuring"] =
        sensor.format ? ordered_json(kOutputFormatTexts.at(static_cast<std::size_t>(*sensor.format))) : ordered_json();
    return json;
}

void print(const std::vector<FoundSensor>& found, bool asJson, clsProgram& program)
{
    if (!asJson) {
        for (const FoundSensor& sensor : found) {
            program.Print(modFindText::FoundText(sensor, program.Language()));
        }
        return;
    }
    ordered_json list = ordered_json::array();
    for (const FoundSensor& sensor : found) {
        list.push_back(jsonOf(sensor, program));
    }
    program.PrintData(list.dump(-1, ' ', false, ordered_json::error_handler_t::replace)); // a device may have any name
}

} // namespace

int RunFind(clsProgram& program, const clsArguments& arguments)
{
    const bool isNamed = !program.Ports().empty();
    const bool saysAll = isNamed || modTerminal::CanMoveCursor(STDERR_FILENO);
    bool isAnyOpened = !isNamed; // of all ports there are, those that are others' do not count
    if (!isNamed) {
        program.NoteUnreadSettings();
    }
    clsPorts ports(program.Devices());
    clsFinder finder(ports, isNamed ? namedPorts(program) : modCandidates::Known(program.Devices(), 0),
                     [&](const FindStep& step) {
                         isAnyOpened = isAnyOpened || hasBeenOpen(step);
                         const std::string text = modFindText::StepText(step, program.Language());
                         if (step.event < FindEvent::NotOpened) {
                             program.Progress().Show(text);
                         } else if (!text.empty() && saysAll && (isNamed || modFindText::IsOutcome(step))) {
                             program.Note(text);
                         }
                     });
    bool isStopped = false;
    while (!finder.Step(modAPI::UpTime_s())) {
        program.Out().Serve();
        isStopped = modSignals::EndIsWanted();
        if (isStopped || !program.Out().IsOpen()) {
            finder.Cancel();
            break;
        }
        modAPI::WaitForArrival(-1, kStep_s);
    }
    program.Progress().End();
    print(finder.Found(), arguments.Has("json"), program);
    if (!finder.Found().empty()) {
        return ExitDone;
    }
    program.Say(isAnyOpened || isStopped ? modFindText::ResultText(0, isStopped, program.Language())
                                         : program.Text(TextId::CliFindNotOpened));
    return isStopped ? ExitFailed : ExitNoConnection;
}
