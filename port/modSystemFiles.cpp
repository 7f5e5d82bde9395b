#include "port/modSystemFiles.h"

#include "base/FileHandle.h"
#include "base/PlainText.h"

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
    return PlainText(bytes.substr(0, bytes.find('\n')), kLongestText);
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
