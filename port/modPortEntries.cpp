#include "port/modPortEntries.h"

#include "base/PlainText.h"
#include "port/modLineUrl.h"

#include <algorithm>
#include <set>
#include <sstream>
#include <utility>

namespace modPortEntries {

namespace {

constexpr std::size_t kLongestAddress = 300;

PortEntry entryOf(std::int32_t port, const modPComm::PortDevices& devices, const std::filesystem::path& root,
                  std::map<std::string, modPortScan::Device>& scanned)
{
    PortEntry entry{port, PortPart::Other, devices.DeviceOf(port), {}};
    const std::string address = std::exchange(entry.address, PlainText(entry.address, kLongestAddress));
    if (modLineUrl::IsUrl(address)) {
        entry.part = PortPart::Network;
        return entry;
    }
    const auto known = scanned.find(address);
    auto device = known != scanned.end() ? known->second : modPortScan::DeviceAt(address, root);
    if (device) {
        entry.part = PortPart::Present;
        entry.device = std::move(*device);
    }
    return entry;
}

/// ASCII letters small, without blanks.
std::string plain(std::string_view text)
{
    std::string letters;
    for (const char c : text) {
        if (c != ' ') {
            letters += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        }
    }
    return letters;
}

/// All that can be searched for, in lines, so that no match goes from one to the next.
std::string wordsOf(const PortEntry& entry)
{
    const modPortScan::Device& device = entry.device;
    std::string words = plain(entry.address);
    for (const std::string* text : {&device.maker, &device.product, &device.serialNumber, &device.position}) {
        words += '\n' + plain(*text);
    }
    for (const std::string& name : device.names) {
        words += '\n' + plain(name);
    }
    return words;
}

} // namespace

std::vector<PortEntry> Entries(const modPComm::PortDevices& devices, const std::filesystem::path& root)
{
    std::map<std::string, modPortScan::Device> scanned;
    std::vector<modPortScan::Device> inOrder = modPortScan::Scan(root);
    for (const modPortScan::Device& device : inOrder) {
        scanned.emplace(device.device, device);
    }
    std::vector<PortEntry> entries;
    std::set<std::string> numbered;
    for (std::int32_t port = 1; port <= modPComm::kPortCount; ++port) {
        entries.push_back(entryOf(port, devices, root, scanned));
        numbered.insert(entries.back().device.device);
    }
    for (modPortScan::Device& device : inOrder) {
        if (!numbered.contains(device.device)) {
            entries.push_back({0, PortPart::Present, device.device, std::move(device)});
        }
    }
    std::ranges::stable_sort(entries, {}, &PortEntry::part);
    return entries;
}

Fit FitOf(const PortEntry& entry, std::string_view typed)
{
    const std::string text = plain(typed), number = std::to_string(entry.port);
    const std::string_view asNumber = std::string_view(text).substr(text.starts_with("com") ? 3 : 0);
    if (text.empty() || (entry.port > 0 && number == asNumber)) {
        return text.empty() ? Fit::Words : Fit::Number;
    }
    if (entry.port > 0 && (number.starts_with(asNumber) || std::string_view("com").starts_with(text))) {
        return Fit::NumberBegins;
    }
    const std::string searched = wordsOf(entry);
    std::istringstream words{std::string(typed)};
    for (std::string word; words >> word;) {
        if (searched.find(plain(word)) == searched.npos) {
            return Fit::None;
        }
    }
    return Fit::Words;
}

} // namespace modPortEntries
