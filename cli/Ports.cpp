#include "cli/Ports.h"

#include "cli/clsProgram.h"
#include "port/modPortEntries.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace {

using modPortEntries::PortEntry;
using modPortEntries::PortPart;
using nlohmann::ordered_json;
using Users = std::map<std::string, PortUser>;

constexpr std::size_t kColumns = 8;
using Line = std::array<std::string, kColumns>;

std::string orDash(std::string text)
{
    return text.empty() ? "-" : text;
}

/// How many places a text takes in a terminal, as far as each character takes one.
std::size_t widthOf(const std::string& text)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

Line lineOf(const PortEntry& entry, const Users& users)
{
    const modPortScan::Device& device = entry.device;
    const std::string port = entry.port == 0 ? "-" : "COM " + std::to_string(entry.port);
    if (entry.part == PortPart::Network) {
        return {port, entry.address, "-", "-", "-", "-", "-", "-"};
    }
    const auto user = users.find(device.device);
    const std::string group = device.othersMay ? "everyone" : device.groupMay ? device.group : device.owner;
    return {port,
            device.device,
            orDash(modPortScan::ModelOf(device)),
            orDash(device.serialNumber),
            group,
            device.mayUse ? "yes" : "no",
            user == users.end() ? "-" : modPortScan::InWords(user->second),
            device.StableName()};
}

void print(clsProgram& program, const std::vector<PortEntry>& entries, const Users& users)
{
    std::vector<Line> lines{{"PORT", "DEVICE", "MODEL", "SERIAL", "FOR", "YOU", "IN USE BY", "NAME"}};
    std::ranges::transform(entries, std::back_inserter(lines),
                           [&](const PortEntry& entry) { return lineOf(entry, users); });
    std::array<std::size_t, kColumns> widths{};
    for (const Line& line : lines) {
        for (std::size_t i = 0; i < kColumns; ++i) {
            widths[i] = std::max(widths[i], widthOf(line[i]));
        }
    }
    for (const Line& line : lines) {
        std::string text;
        for (std::size_t i = 0; i + 1 < kColumns; ++i) {
            text += line[i] + std::string(widths[i] - widthOf(line[i]) + 2, ' ');
        }
        program.Print(text + line.back());
    }
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
    std::vector<PortEntry> entries = modPortEntries::Entries(program.Devices());
    std::erase_if(entries, [](const PortEntry& entry) { return entry.part == PortPart::Other; });
    std::vector<std::string> names;
    for (const PortEntry& entry : entries) {
        names.push_back(entry.device.device);
    }
    const Users users = modPortScan::UsersOf(names);
    if (arguments.Has("json")) {
        ordered_json all = ordered_json::array();
        for (const PortEntry& entry : entries) {
            all.push_back(jsonOf(entry, users));
        }
        program.Print(all.dump(2, ' ', false, ordered_json::error_handler_t::replace));
    } else if (entries.empty()) {
        program.Note(program.Text(TextId::PortsNone));
    } else {
        print(program, entries, users);
    }
    return ExitDone;
}
