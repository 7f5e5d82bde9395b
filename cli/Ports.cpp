#include "cli/Ports.h"

#include "cli/clsProgram.h"
#include "cli/modRows.h"
#include "port/modPortEntries.h"

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

namespace {

using modPortEntries::PortEntry;
using modPortEntries::PortPart;
using nlohmann::ordered_json;
using Users = std::map<std::string, PortUser>;

std::string orDash(const std::string& text)
{
    return text.empty() ? "-" : text;
}

std::vector<std::string> rowOf(const clsProgram& program, const PortEntry& entry, const Users& users)
{
    const modPortScan::Device& device = entry.device;
    const std::string port = entry.port == 0 ? "-" : "COM " + std::to_string(entry.port);
    if (entry.part == PortPart::Network) {
        return {port, entry.address, "-", "-", "-", "-", "-", "-"};
    }
    const auto user = users.find(device.device);
    const std::string group = device.groupMay ? device.group : device.owner;
    return {port,
            device.device,
            orDash(modPortScan::ModelOf(device)),
            orDash(device.serialNumber),
            device.othersMay ? program.Text(TextId::CliPortEveryone) : group,
            program.Text(device.mayUse ? TextId::CliYes : TextId::CliNo),
            user == users.end() ? "-" : modPortScan::InWords(user->second),
            device.StableName()};
}

void print(clsProgram& program, const std::vector<PortEntry>& entries, const Users& users)
{
    modRows::Rows rows(1);
    std::istringstream names(program.Text(TextId::CliPortColumns));
    for (std::string name; std::getline(names, name, '|');) {
        rows.front().push_back(name);
    }
    for (const PortEntry& entry : entries) {
        rows.push_back(rowOf(program, entry, users));
    }
    modRows::PrintText(program, rows);
}

ordered_json jsonOf(const PortEntry& entry, const Users& users)
{
    ordered_json object;
    object["port"] = entry.port == 0 ? ordered_json() : ordered_json(entry.port);
    if (entry.part == PortPart::Network) {
        object["url"] = entry.address;
        return object;
    }
    const modPortScan::Device& device = entry.device;
    object["device"] = device.device;
    object["maker"] = device.maker;
    object["product"] = device.product;
    object["serialNumber"] = device.serialNumber;
    object["position"] = device.position;
    object["stableName"] = device.StableName();
    object["names"] = device.names;
    object["owner"] = device.owner;
    object["group"] = device.group;
    object["groupMay"] = device.groupMay;
    object["everyoneMay"] = device.othersMay;
    object["youMay"] = device.mayUse;
    const auto user = users.find(device.device);
    object["user"] = user == users.end() ? ordered_json()
                                         : ordered_json{{"process", user->second.process}, {"name", user->second.name}};
    return object;
}

} // namespace

int RunPorts(clsProgram& program, const clsArguments& arguments)
{
    program.NoteUnreadSettings();
    std::vector<PortEntry> entries = modPortEntries::Entries(program.Devices());
    std::erase_if(entries, [](const PortEntry& entry) { return entry.part == PortPart::Other; });
    std::vector<std::string> names;
    names.reserve(entries.size());
    for (const PortEntry& entry : entries) {
        names.push_back(entry.device.device);
    }
    const Users users = modPortScan::UsersOf(names);
    if (arguments.Has("json")) {
        ordered_json all = ordered_json::array();
        for (const PortEntry& entry : entries) {
            all.push_back(jsonOf(entry, users));
        }
        program.PrintData(all.dump(2, ' ', false, ordered_json::error_handler_t::replace));
    } else if (entries.empty()) {
        program.Note(program.Text(TextId::PortsNone));
    } else {
        print(program, entries, users);
    }
    return ExitDone;
}
