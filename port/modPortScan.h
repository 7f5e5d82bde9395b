// Which serial devices the system has, what they are and who uses them, as its files tell: no port is opened for it.
// The files may hold nonsense, and an entry may vanish while it is read; that costs only this entry. Texts are UTF-8,
// one line each.
#pragma once

#include "port/SerialPort.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace modPortScan {

/// Where the file system begins.
inline const std::filesystem::path kRoot = "/";

struct Device {
    std::string device; ///< "/dev/ttyUSB0"
    /// In the words of what is plugged in; empty: it does not say. A USB device without words has its numbers as
    /// product, "1a86:7523".
    std::string maker, product, serialNumber;
    std::string position;           ///< where it is plugged in, "usb 1-2.3" or "pci 0000:02:00.0"; empty: not known
    std::vector<std::string> names; ///< all its names, the stable one first: by serial number, by position, the device
    std::string owner, group;       ///< of the device; a number if it has no name
    bool groupMay = false, othersMay = false; ///< use it
    bool mayUse = false;                      ///< this user may

    const std::string& StableName() const { return names.front(); }
};

/// The devices of the system in the order of their names, without those that its drivers only reserve.
std::vector<Device> Scan(const std::filesystem::path& root = kRoot);

/// The device behind a name, which may be a link, and may be none of those of `Scan` (a pseudo-terminal); empty when
/// there is none, or one that a driver only reserves.
std::optional<Device> DeviceAt(const std::string& name, const std::filesystem::path& root = kRoot);

/// Which other program has these devices open, by device. Only what this user may know: a device that is missing here
/// may have a user all the same. Reads all of /proc, which can take some tens of milliseconds.
std::map<std::string, PortUser> UsersOf(const std::vector<std::string>& devices,
                                        const std::filesystem::path& root = kRoot);

/// Which other program has locked a device, in the system's list of locks or with a lock file. Quick, but a program
/// that has opened the device without a lock is only known to `UsersOf`.
std::optional<PortUser> LockerOf(const std::string& device, const std::filesystem::path& root = kRoot);

/// "Maker Product", without a word twice; empty when the device does not say.
std::string ModelOf(const Device& device);
/// What tells a device from others: model with serial number or position, else its stable name.
std::string InWords(const Device& device);
/// The same for the stable name of a device that need not be there.
std::string InWords(std::string_view stableName);
/// "terminal (PID 812)".
std::string InWords(const PortUser& user);

/// Times of folders that change when a device comes or goes, to be compared.
std::vector<std::int64_t> Look(const std::filesystem::path& root = kRoot);

} // namespace modPortScan
