#include "port/modPortScan.h"

#include "port/modSystemFiles.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <grp.h>
#include <iterator>
#include <optional>
#include <pwd.h>
#include <sys/stat.h>
#include <system_error>
#include <tuple>
#include <type_traits>
#include <unistd.h>
#include <utility>

namespace modPortScan {

using namespace modSystemFiles;

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kById = "/dev/serial/by-id", kByPath = "/dev/serial/by-path";

/// "ttyUSB2" comes before "ttyUSB10".
bool comesBefore(const std::string& a, const std::string& b)
{
    const auto key = [](const std::string& name) {
        const std::size_t digits = name.find_last_not_of("0123456789") + 1;
        return std::tuple(std::string_view(name).substr(0, digits), name.size(), std::string_view(name));
    };
    return key(a) < key(b);
}

std::string subsystemOf(const fs::path& folder)
{
    std::error_code error;
    const fs::path link = fs::read_symlink(folder / "subsystem", error);
    return error ? std::string() : OneLine(link.filename().string());
}

/// What is plugged in is described some folders above the port; how many depends on the driver.
void describePlug(Device& device, const fs::path& port, const fs::path& top)
{
    std::error_code error;
    fs::path folder = fs::canonical(port / "device", error);
    for (; !error && folder.has_relative_path() && folder != top; folder = folder.parent_path()) {
        const std::string bus = subsystemOf(folder);
        const std::string place = (bus.empty() ? bus : bus + " ") + OneLine(folder.filename().string());
        const std::string number = Attribute(folder, "idVendor");
        device.maker = Attribute(folder, "manufacturer");
        device.product = Attribute(folder, "product");
        if (device.product.empty() && device.maker.empty() && !number.empty()) {
            device.product = number + ":" + Attribute(folder, "idProduct");
        }
        if (!device.maker.empty() || !device.product.empty()) {
            device.serialNumber = Attribute(folder, "serial");
            device.position = place;
            return;
        }
        if (device.position.empty() && (bus == "pci" || bus == "pnp" || bus == "platform" || bus == "amba")) {
            device.position = place;
        }
    }
}

template <typename Entry, typename Look>
std::string nameOfId(Look look, std::uint32_t id)
{
    std::array<char, 4096> buffer{};
    Entry entry{};
    Entry* found = nullptr;
    look(id, &entry, buffer.data(), buffer.size(), &found);
    if (found == nullptr) {
        return std::to_string(id);
    }
    if constexpr (std::is_same_v<Entry, group>) {
        return OneLine(found->gr_name);
    } else {
        return OneLine(found->pw_name);
    }
}

/// By device: the entries of a folder of stable names.
using Links = std::multimap<std::string, std::string>;

void addLinks(Links& links, std::string_view folder, const fs::path& root)
{
    std::vector<std::string> names = EntriesOf(Inside(root, folder));
    std::ranges::sort(names);
    for (const std::string& name : names) {
        const fs::path link = fs::path(folder) / name;
        links.emplace(EndOf(link, root).string(), link.string());
    }
}

Links stableNames(const fs::path& root)
{
    Links links; // keeps the order of the entries of a key
    addLinks(links, kById, root);
    addLinks(links, kByPath, root);
    return links;
}

/// A driver for built-in ports reserves numbers for which there is no hardware.
bool isOnlyReserved(const fs::path& port)
{
    return Attribute(port, "type") == "0";
}

std::optional<Device> describe(const std::string& node, const Links& links, const fs::path& root)
{
    struct stat info {};
    const fs::path port = root / "sys/class/tty" / fs::path(node).filename();
    if (stat(Inside(root, node).c_str(), &info) != 0 || S_ISDIR(info.st_mode) || isOnlyReserved(port)) {
        return std::nullopt;
    }
    Device device;
    device.device = node;
    std::error_code error;
    describePlug(device, port, fs::canonical(root / "sys", error));
    const auto [first, last] = links.equal_range(node);
    std::transform(first, last, std::back_inserter(device.names), [](const auto& link) { return link.second; });
    device.names.push_back(node);
    device.owner = nameOfId<passwd>(getpwuid_r, info.st_uid);
    device.group = nameOfId<group>(getgrgid_r, info.st_gid);
    device.groupMay = (info.st_mode & 0060U) == 0060U;
    device.othersMay = (info.st_mode & 0006U) == 0006U;
    device.mayUse = faccessat(AT_FDCWD, Inside(root, node).c_str(), R_OK | W_OK, AT_EACCESS) == 0;
    return device;
}

} // namespace

std::vector<Device> Scan(const std::filesystem::path& root)
{
    const Links links = stableNames(root);
    std::vector<std::string> ports = EntriesOf(root / "sys/class/tty");
    std::ranges::sort(ports, comesBefore);
    std::vector<Device> devices;
    std::error_code error;
    for (const std::string& port : ports) {
        // The consoles of the system have nothing plugged in.
        if (!fs::exists(root / "sys/class/tty" / port / "device", error)) {
            continue;
        }
        if (auto device = describe("/dev/" + port, links, root)) {
            devices.push_back(std::move(*device));
        }
    }
    return devices;
}

std::optional<Device> DeviceAt(const std::string& name, const std::filesystem::path& root)
{
    std::error_code error;
    const fs::path node = name.starts_with('/') ? EndOf(name, root) : fs::path();
    const bool isThere = !node.empty() && fs::exists(Inside(root, node), error);
    return isThere ? describe(node.string(), stableNames(root), root) : std::nullopt;
}

std::string ModelOf(const Device& device)
{
    if (device.maker.empty() || device.product.empty() || device.product.starts_with(device.maker)) {
        return device.product.empty() ? device.maker : device.product;
    }
    return device.maker + " " + device.product;
}

std::string InWords(const Device& device)
{
    const std::string model = ModelOf(device);
    const std::string& which = device.serialNumber.empty() ? device.position : device.serialNumber;
    return model.empty() || which.empty() ? InWords(device.StableName()) : model + ", " + which;
}

std::string InWords(std::string_view stableName)
{
    std::string name = OneLine(stableName);
    if (!name.starts_with(kById)) {
        return name;
    }
    name = fs::path(name).filename().string();
    name.erase(0, name.starts_with("usb-") ? 4 : 0);
    name.resize(std::min(name.size(), name.rfind("-if")));
    std::ranges::replace(name, '_', ' ');
    return name;
}

std::vector<std::int64_t> Look(const std::filesystem::path& root)
{
    std::vector<std::int64_t> times;
    for (const std::string_view folder : {std::string_view("/dev"), kById, kByPath}) {
        struct stat info {};
        const bool isThere = stat(Inside(root, folder).c_str(), &info) == 0;
        times.push_back(isThere ? info.st_mtim.tv_sec * 1'000'000'000 + info.st_mtim.tv_nsec : 0);
    }
    return times;
}

} // namespace modPortScan
