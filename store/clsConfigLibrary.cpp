#include "store/clsConfigLibrary.h"

#include "base/Numbers.h"
#include "base/modFiles.h"
#include "store/clsIni.h"
#include "store/modConfigFile.h"

#include <algorithm>
#include <utility>

namespace {

constexpr char kSection[] = "FILES";
constexpr char kDevice[] = "Device";

std::string keyOf(std::int32_t number)
{
    return "RVQFile" + std::to_string(number);
}

/// The paths of the list in a file, in the order of their numbers; gaps are skipped.
std::vector<std::string> pathsIn(const modIni::Content& content)
{
    std::vector<std::string> paths;
    for (std::int32_t number = 1; number <= clsConfigLibrary::kMostFiles; ++number) {
        const std::string value = content.Value(kSection, keyOf(number)).value_or(std::string());
        if (const auto path = Trimmed(std::string_view(value).substr(0, clsIni::kLongestText)); !path.empty()) {
            paths.emplace_back(path);
        }
    }
    return paths;
}

/// What `list` holds in addition to `other`, in its order; a path that occurs twice counts twice.
std::vector<std::string> beyond(const std::vector<std::string>& list, std::vector<std::string> other)
{
    std::vector<std::string> rest;
    for (const std::string& path : list) {
        if (const auto found = std::ranges::find(other, path); found != other.end()) {
            other.erase(found);
        } else {
            rest.push_back(path);
        }
    }
    return rest;
}

/// Compares the file before and after reading it: only if it has not changed are its bytes what was read.
std::optional<std::string> readFrom(Configuration& configuration)
{
    const auto before = modFiles::ReadWhole(configuration.FileName);
    modConfigFile::Read(configuration);
    return modFiles::ReadWhole(configuration.FileName) == before ? before : std::optional(std::string());
}

} // namespace

clsConfigLibrary::clsConfigLibrary(std::string iniFile) : m_iniFile(std::move(iniFile))
{
    auto device = std::make_unique<Configuration>();
    device->Name = kDevice;
    device->FileName = kDevice;
    m_entries.push_back({std::move(device)});
}

clsConfigLibrary::Listed clsConfigLibrary::loaded(const std::string& path)
{
    Listed entry{std::make_unique<Configuration>()};
    entry.configuration->FileName = path;
    entry.bytes = readFrom(*entry.configuration);
    return entry;
}

void clsConfigLibrary::Build()
{
    m_entries.erase(m_entries.begin() + 1, m_entries.end());
    m_others.clear();
    std::error_code why;
    const auto content = modIni::ReadContent(m_iniFile, why);
    m_inFile = content ? pathsIn(*content) : Paths();
    for (const std::string& path : m_inFile) {
        Import(path);
    }
}

std::optional<std::size_t> clsConfigLibrary::Import(const std::string& path)
{
    Listed entry = loaded(path);
    if (entry.configuration->Description.empty()) {
        return std::nullopt;
    }
    m_entries.push_back(std::move(entry));
    return m_entries.size() - 1;
}

std::optional<std::size_t> clsConfigLibrary::Find(std::string_view path) const
{
    const auto found = std::ranges::find_if(m_entries.begin() + 1, m_entries.end(),
                                            [&](const Listed& entry) { return entry.configuration->FileName == path; });
    return found == m_entries.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - m_entries.begin()));
}

bool clsConfigLibrary::WouldOverwrite(std::string_view path, std::size_t selected) const
{
    const auto line = Find(path);
    return line && *line != selected;
}

std::size_t clsConfigLibrary::FindOrAdd(const std::string& path)
{
    if (const auto line = Find(path)) {
        return *line;
    }
    m_entries.push_back({std::make_unique<Configuration>()});
    Entry(m_entries.size() - 1).FileName = path;
    return m_entries.size() - 1;
}

bool clsConfigLibrary::HasChangedOnDisk(std::size_t line) const
{
    const Listed& entry = m_entries.at(line);
    const auto now = entry.bytes ? modFiles::ReadWhole(entry.configuration->FileName) : std::nullopt;
    return now && *now != *entry.bytes;
}

bool clsConfigLibrary::ReadAgain(std::size_t line)
{
    Configuration& configuration = Entry(line);
    Listed now = loaded(configuration.FileName);
    if (now.configuration->Description.empty()) {
        return false;
    }
    m_entries[line].bytes = readFrom(configuration);
    return true;
}

UnwrittenFile clsConfigLibrary::Store(std::size_t line, const std::string& description)
{
    Listed& entry = m_entries.at(line);
    entry.configuration->Description = description;
    entry.isListed = true;
    UnwrittenFile list = save(&entry);
    UnwrittenFile own;
    if (!modConfigFile::Write(*entry.configuration, own.why)) {
        own.file = entry.configuration->FileName;
        return own;
    }
    entry.bytes = modFiles::ReadWhole(entry.configuration->FileName);
    return list;
}

bool clsConfigLibrary::ComesBack(std::size_t line) const
{
    return line <= kMostFiles && Entry(line).FileName.size() <= clsIni::kLongestText;
}

std::optional<std::size_t> clsConfigLibrary::Delete(std::size_t line, UnwrittenFile& unwritten)
{
    if (line == kDeviceLine || line >= m_entries.size()) {
        return std::nullopt;
    }
    m_entries.erase(m_entries.begin() + static_cast<std::ptrdiff_t>(line));
    unwritten = Save();
    return line - 1;
}

UnwrittenFile clsConfigLibrary::Save()
{
    return save(nullptr);
}

UnwrittenFile clsConfigLibrary::save(const Listed* stored)
{
    const auto edit = [&](modIni::Content& content) {
        takeOver(pathsIn(content), stored);
        std::int32_t number = 0;
        for (const Listed& entry : m_entries) {
            const Configuration& configuration = *entry.configuration;
            // Entries with these names have no file. Today no entry is named "Default".
            if (entry.isListed && configuration.Name != "Default" && configuration.Name != kDevice) {
                content.Put(kSection, {keyOf(++number), configuration.FileName});
            }
        }
        for (const std::string& path : m_others) {
            content.Put(kSection, {keyOf(++number), path});
        }
        content.Put(kSection, {keyOf(number + 1), {}});
    };
    std::error_code why;
    if (!modIni::Change(m_iniFile, edit, why)) {
        return {m_iniFile, why, true};
    }
    if (const auto content = modIni::ReadContent(m_iniFile, why)) {
        m_inFile = pathsIn(*content);
    }
    return {};
}

/// Applies what other programs have done to the list since it was last read or written. The entry being stored stays.
void clsConfigLibrary::takeOver(const Paths& inFile, const Listed* stored)
{
    const auto listed = [&](const std::string& path) {
        return std::ranges::find_if(m_entries.begin() + 1, m_entries.end(), [&](const Listed& entry) {
            return entry.isListed && entry.configuration->FileName == path;
        });
    };
    for (const std::string& path : beyond(m_inFile, inFile)) {
        if (const auto entry = listed(path); entry == m_entries.end()) {
            std::erase(m_others, path);
        } else if (&*entry != stored) {
            entry->isListed = false;
        }
    }
    for (const std::string& path : beyond(inFile, m_inFile)) {
        if (const auto line = Find(path)) {
            m_entries[*line].isListed = true;
        } else {
            m_others.push_back(path);
        }
    }
    m_inFile = inFile;
}
