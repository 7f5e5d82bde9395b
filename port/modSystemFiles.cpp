#include "port/modSystemFiles.h"

#include "base/FileHandle.h"
#include "base/Numbers.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace modSystemFiles {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostEntries = 20000; // of a folder
constexpr int kMostLinks = 8;               // from a name to its device

/// The length of the character at the head of a text; 0 for a byte with which none begins.
std::size_t characterAt(std::string_view text)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(0);
    const std::size_t length = first < 0x80U                      ? 1
                               : first >= 0xC2U && first <= 0xDFU ? 2
                               : first >= 0xE0U && first <= 0xEFU ? 3
                               : first >= 0xF0U && first <= 0xF4U ? 4
                                                                  : 0;
    if (length == 0 || length > text.size()) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80U) {
            return 0;
        }
    }
    // Spelled too long, half of a pair, or beyond the last character.
    const unsigned second = length > 2 ? byte(1) : 0x90U;
    const bool isBad = (first == 0xE0U && second < 0xA0U) || (first == 0xEDU && second > 0x9FU) ||
                       (first == 0xF0U && second < 0x90U) || (first == 0xF4U && second > 0x8FU);
    return isBad ? 0 : length;
}

} // namespace

fs::path Inside(const fs::path& root, const fs::path& name)
{
    return root / name.relative_path();
}

std::string HeadOf(const fs::path& file, std::size_t most)
{
    const FileHandle handle(open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat info {};
    if (!handle.IsOpen() || fstat(handle.Descriptor(), &info) != 0 || !S_ISREG(info.st_mode)) {
        return {};
    }
    std::string bytes(most, '\0');
    std::size_t count = 0;
    while (count < most) {
        const ssize_t got = read(handle.Descriptor(), bytes.data() + count, most - count);
        if (got <= 0 && !(got < 0 && errno == EINTR)) {
            break;
        }
        count += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    bytes.resize(count);
    return bytes;
}

std::string OneLine(std::string_view bytes)
{
    bytes = bytes.substr(0, bytes.find('\n'));
    std::string line;
    while (!bytes.empty()) {
        const std::size_t length = characterAt(bytes);
        const auto first = static_cast<unsigned char>(bytes.front());
        const bool isControl = first < ' ' || first == 0x7FU ||
                               (first == 0xC2U && length == 2 && static_cast<unsigned char>(bytes[1]) < 0xA0U);
        line += length == 0 ? std::string_view("?") : isControl ? std::string_view(" ") : bytes.substr(0, length);
        bytes.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return std::string(Trimmed(line));
}

std::string Attribute(const fs::path& folder, const char* name)
{
    return OneLine(HeadOf(folder / name, kLongestText));
}

std::vector<std::string> EntriesOf(const fs::path& folder)
{
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end && names.size() < kMostEntries;
         entry.increment(error)) {
        names.push_back(entry->path().filename().string());
    }
    return names;
}

fs::path EndOf(const fs::path& name, const fs::path& root)
{
    std::error_code error;
    fs::path at = fs::path("/" / name.relative_path()).lexically_normal();
    for (int link = 0; link < kMostLinks; ++link) {
        if (!fs::is_symlink(fs::symlink_status(Inside(root, at), error))) {
            return at;
        }
        const fs::path target = fs::read_symlink(Inside(root, at), error);
        at = (target.is_absolute() ? target : at.parent_path() / target).lexically_normal();
    }
    return {};
}

} // namespace modSystemFiles
