// Who has a port open.
#include "base/Numbers.h"
#include "port/modPortScan.h"
#include "port/modSystemFiles.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <system_error>
#include <unistd.h>
#include <utility>

using namespace modSystemFiles;

namespace modPortScan {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostLocks = 1U << 20U;       // bytes
constexpr unsigned kFirstPty = 136, kLastPty = 143; // major numbers

struct Node {
    std::string device;
    struct stat info {};
};

PortUser userOf(std::int32_t process, const fs::path& root)
{
    return {process, Attribute(root / "proc" / std::to_string(process), "comm")};
}

/// The process with an exclusive lock on the device: our own programs take one, and the list of locks tells of every
/// user's processes.
std::int32_t lockHolder(const Node& node, const std::string& locks)
{
    std::istringstream lines(locks);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string number, kind, mode, access;
        std::int32_t process = 0;
        unsigned high = 0, low = 0;
        unsigned long inode = 0;
        char colon = 0;
        words >> number >> kind >> mode >> access >> process >> std::hex >> high >> colon >> low >> colon >> std::dec >>
            inode;
        if (words && kind == "FLOCK" && access == "WRITE" && high == major(node.info.st_dev) &&
            low == minor(node.info.st_dev) && inode == node.info.st_ino && process > 0 && process != getpid()) {
            return process;
        }
    }
    return 0;
}

/// The process that has left a lock file, if it is still there: what terminal programs do, also those of other users.
std::int32_t lockFileOwner(const Node& node, const fs::path& root)
{
    const std::string name = "LCK.." + fs::path(node.device).filename().string();
    const std::int32_t process = WholeNumber(Attribute(root / "var/lock", name.c_str())).value_or(0);
    std::error_code error;
    const bool isThere = process > 0 && fs::exists(root / "proc" / std::to_string(process), error);
    return isThere && process != getpid() ? process : 0;
}

/// The process that has locked the device; 0: none.
std::int32_t lockerOf(const Node& node, const std::string& locks, const fs::path& root)
{
    const std::int32_t process = lockHolder(node, locks);
    return process == 0 ? lockFileOwner(node, root) : process;
}

std::optional<Node> nodeOf(const std::string& device, const fs::path& root)
{
    Node node{EndOf(device, root).string()};
    const bool isThere = !node.device.empty() && stat(Inside(root, node.device).c_str(), &node.info) == 0;
    return isThere ? std::optional(std::move(node)) : std::nullopt;
}

/// The nodes among the open files of all processes that this user may look into.
std::map<std::string, std::int32_t> openersOf(const std::vector<Node>& nodes, const fs::path& root)
{
    std::map<std::string, std::int32_t> openers;
    for (const std::string& process : EntriesOf(root / "proc")) {
        const std::int32_t number = WholeNumber(process).value_or(0);
        if (number <= 0 || number == getpid()) {
            continue;
        }
        const fs::path files = root / "proc" / process / "fd";
        for (const std::string& file : EntriesOf(files)) {
            std::array<char, kLongestText> target{};
            const ssize_t length = readlink((files / file).c_str(), target.data(), target.size());
            const std::string_view opened(target.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
            if (const auto node = std::ranges::find(nodes, opened, &Node::device); node != nodes.end()) {
                openers.emplace(node->device, number);
            }
        }
    }
    return openers;
}

/// The program at the other end of a pseudo-terminal keeps it open, too; that is no use of the port.
bool isPseudoTerminal(const Node& node)
{
    const unsigned number = major(node.info.st_rdev);
    return S_ISCHR(node.info.st_mode) && number >= kFirstPty && number <= kLastPty;
}

} // namespace

std::map<std::string, PortUser> UsersOf(const std::vector<std::string>& devices, const std::filesystem::path& root)
{
    const std::string locks = HeadOf(root / "proc/locks", kMostLocks);
    std::map<std::string, PortUser> users;
    std::vector<Node> others;
    for (const std::string& device : devices) {
        std::optional<Node> node = nodeOf(device, root);
        if (!node) {
            continue;
        }
        if (const std::int32_t process = lockerOf(*node, locks, root); process != 0) {
            users.emplace(node->device, userOf(process, root));
        } else if (!isPseudoTerminal(*node)) {
            others.push_back(std::move(*node));
        }
    }
    if (!others.empty()) {
        for (const auto& [device, process] : openersOf(others, root)) {
            users.emplace(device, userOf(process, root));
        }
    }
    return users;
}

std::optional<PortUser> LockerOf(const std::string& device, const std::filesystem::path& root)
{
    const std::optional<Node> node = nodeOf(device, root);
    const std::int32_t process = node ? lockerOf(*node, HeadOf(root / "proc/locks", kMostLocks), root) : 0;
    return process != 0 ? std::optional(userOf(process, root)) : std::nullopt;
}

std::string InWords(const PortUser& user)
{
    const std::string number = "PID " + std::to_string(user.process);
    return user.name.empty() ? number : user.name + " (" + number + ")";
}

} // namespace modPortScan
