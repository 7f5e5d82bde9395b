#include "store/modRecent.h"

#include "store/modIni.h"

#include <algorithm>
#include <functional>
#include <string>

namespace modRecent {

namespace {

constexpr char kSection[] = "RECENT";

std::string keyOf(std::size_t place)
{
    return "File" + std::to_string(place + 1);
}

using Paths = std::vector<std::string>;

Paths pathsIn(const modIni::Content& content)
{
    Paths paths;
    for (std::size_t i = 0; i < kMost; ++i) {
        if (auto path = content.Value(kSection, keyOf(i)); path && !path->empty()) {
            paths.push_back(std::move(*path));
        }
    }
    return paths;
}

/// Each line that is the same already stays as it is.
void put(modIni::Content& content, const Paths& paths)
{
    for (std::size_t i = 0; i < kMost; ++i) {
        const std::string wanted = i < paths.size() ? paths[i] : std::string();
        if (content.Value(kSection, keyOf(i)).value_or("") != wanted) {
            content.Put(kSection, {keyOf(i), wanted});
        }
    }
}

std::error_code change(const std::filesystem::path& iniFile, const std::function<void(Paths&)>& edit)
{
    std::error_code why;
    if (!iniFile.empty()) {
        modIni::Change(
            iniFile,
            [&](modIni::Content& content) {
                Paths paths = pathsIn(content);
                edit(paths);
                put(content, paths);
            },
            why);
    }
    return why;
}

std::string textOf(const std::filesystem::path& recording)
{
    return std::filesystem::absolute(recording).lexically_normal().string();
}

} // namespace

std::vector<std::filesystem::path> Load(const std::filesystem::path& iniFile)
{
    std::error_code ignored;
    const auto content = modIni::ReadContent(iniFile, ignored);
    std::vector<std::filesystem::path> recordings;
    for (std::string& path : content ? pathsIn(*content) : Paths()) {
        recordings.emplace_back(std::move(path));
    }
    return recordings;
}

std::error_code Add(const std::filesystem::path& iniFile, const std::filesystem::path& recording)
{
    const std::string path = textOf(recording);
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; };
    if (std::ranges::any_of(path, isControl)) {
        return {};
    }
    return change(iniFile, [&](Paths& paths) {
        std::erase(paths, path);
        paths.insert(paths.begin(), path);
    });
}

std::error_code Rename(const std::filesystem::path& iniFile, const std::filesystem::path& before,
                       const std::filesystem::path& now)
{
    return change(iniFile, [&](Paths& paths) { std::ranges::replace(paths, textOf(before), textOf(now)); });
}

std::error_code Clear(const std::filesystem::path& iniFile)
{
    return change(iniFile, [](Paths& paths) { paths.clear(); });
}

} // namespace modRecent
