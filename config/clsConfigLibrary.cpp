#include "config/clsConfigLibrary.h"

#include "config/clsIni.h"
#include "config/modConfigFile.h"

#include <algorithm>
#include <utility>

namespace {

constexpr char kSection[] = "FILES";
constexpr char kDevice[] = "Device";

std::string keyOf(std::int32_t number)
{
    return "RVQFile" + std::to_string(number);
}

std::unique_ptr<clsRVQ> loaded(const std::string& path)
{
    auto configuration = std::make_unique<clsRVQ>();
    configuration->FileName = path;
    modConfigFile::Read(*configuration);
    return configuration;
}

} // namespace

clsConfigLibrary::clsConfigLibrary(std::string iniFile) : m_iniFile(std::move(iniFile))
{
    auto device = std::make_unique<clsRVQ>();
    device->Name = kDevice;
    device->FileName = kDevice;
    m_entries.push_back(std::move(device));
}

void clsConfigLibrary::Build()
{
    m_entries.resize(1);
    clsIni ini({}, '.');
    ini.Filename(m_iniFile);
    if (ini.GetSection(kSection).empty()) {
        return; // and not as many reads of the file as there may be numbers
    }
    for (std::int32_t number = 1; number <= kMostFiles; ++number) {
        const auto path = std::get<std::string>(ini.GetSetting(kSection, keyOf(number), std::string()));
        if (!path.empty()) {
            Import(path);
        }
    }
}

std::optional<std::size_t> clsConfigLibrary::Import(const std::string& path)
{
    auto configuration = loaded(path);
    if (configuration->Description.empty()) {
        return std::nullopt;
    }
    m_entries.push_back(std::move(configuration));
    return m_entries.size() - 1;
}

std::optional<std::size_t> clsConfigLibrary::Find(std::string_view path) const
{
    const auto found = std::ranges::find_if(m_entries.begin() + 1, m_entries.end(),
                                            [&](const auto& entry) { return entry->FileName == path; });
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
    m_entries.push_back(std::make_unique<clsRVQ>());
    m_entries.back()->FileName = path;
    return m_entries.size() - 1;
}

bool clsConfigLibrary::Store(std::size_t line, const std::string& description)
{
    Entry(line).Description = description;
    const bool listed = Save();
    return modConfigFile::Write(Entry(line)) && listed;
}

bool clsConfigLibrary::ComesBack(std::size_t line) const
{
    return line <= kMostFiles && Entry(line).FileName.size() <= clsIni::kLongestText;
}

std::optional<std::size_t> clsConfigLibrary::Delete(std::size_t line)
{
    if (line == kDeviceLine || line >= m_entries.size()) {
        return std::nullopt;
    }
    m_entries.erase(m_entries.begin() + static_cast<std::ptrdiff_t>(line));
    Save();
    return line - 1;
}

bool clsConfigLibrary::Save() const
{
    std::vector<modIni::Entry> entries;
    std::int32_t number = 0;
    for (const auto& entry : m_entries) {
        // Entries of these names stand for no file. There is none named "Default" today.
        if (entry->Name != "Default" && entry->Name != kDevice) {
            entries.push_back({keyOf(++number), entry->FileName});
        }
    }
    entries.push_back({keyOf(number + 1), {}});
    clsIni ini({}, '.');
    ini.Filename(m_iniFile);
    return ini.WriteSettings(kSection, entries);
}
