#include "config/modIni.h"

#include "shell/Numbers.h"

#include <algorithm>
#include <fstream>

namespace modIni {

namespace {

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool sameName(std::string_view a, std::string_view b)
{
    return std::ranges::equal(a, b, {}, lower, lower);
}

/// The name in a line "[name]"; empty for any other line.
std::string_view sectionName(std::string_view line)
{
    const std::size_t end = line.find(']');
    return line.starts_with('[') && end != std::string_view::npos ? Trimmed(line.substr(1, end - 1))
                                                                  : std::string_view{};
}

} // namespace

std::vector<Entry> ReadSection(const std::filesystem::path& file, std::string_view section)
{
    std::vector<Entry> entries;
    std::ifstream stream(file, std::ios::binary);
    bool inside = false;
    for (std::string raw; std::getline(stream, raw);) {
        std::string_view line = Trimmed(raw);
        if (line.starts_with("\xEF\xBB\xBF")) {
            line.remove_prefix(3); // an editor's byte-order mark
        }
        if (line.starts_with('[')) {
            if (inside) {
                break;
            }
            inside = sameName(sectionName(line), section);
        } else if (const std::size_t sign = line.find('=');
                   inside && sign != std::string_view::npos && !line.starts_with(';')) {
            entries.emplace_back(Trimmed(line.substr(0, sign)), Trimmed(line.substr(sign + 1)));
        }
    }
    return entries;
}

std::string ValueOf(const std::vector<Entry>& entries, std::string_view key)
{
    const auto found = std::ranges::find_if(entries, [key](const Entry& entry) { return sameName(entry.first, key); });
    return found == entries.end() ? std::string() : found->second;
}

} // namespace modIni
