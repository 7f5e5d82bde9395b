#include "store/modCompareText.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace modCompareText {

namespace {

constexpr std::string_view kLineEnd = "\r\n";

std::string joined(const Lines& lines, std::string_view separator, std::string (*fieldText)(const std::string&))
{
    std::string text;
    for (const auto& line : lines) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            text.append(i == 0 ? "" : separator).append(fieldText(line[i]));
        }
        text += kLineEnd;
    }
    return text;
}

std::string onOneLine(const std::string& field)
{
    std::string text = field;
    std::ranges::replace_if(
        text, [](char c) { return c == '\t' || c == '\r' || c == '\n'; }, ' ');
    return text;
}

std::string quoted(const std::string& field)
{
    if (field.find_first_of(",\"\r\n") == std::string::npos) {
        return field;
    }
    std::string text = "\"";
    for (const char c : field) {
        text.append(c == '"' ? 2 : 1, c);
    }
    return text + '"';
}

/// In characters: bytes that continue one do not count.
std::size_t widthOf(const std::string& field)
{
    return static_cast<std::size_t>(std::ranges::count_if(field, [](char c) { return (c & 0xC0) != 0x80; }));
}

} // namespace

std::string TabSeparated(const Lines& lines)
{
    return joined(lines, "\t", onOneLine);
}

std::string Csv(const Lines& lines)
{
    return joined(lines, ",", quoted);
}

std::string Aligned(const Lines& lines)
{
    std::vector<std::size_t> widths;
    for (const auto& line : lines) {
        widths.resize(std::max(widths.size(), line.size()));
        for (std::size_t i = 0; i < line.size() && line.size() > 1; ++i) {
            widths[i] = std::max(widths[i], widthOf(line[i]));
        }
    }
    std::string text;
    for (const auto& line : lines) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            const std::string field = onOneLine(line[i]);
            const bool isLast = i + 1 == line.size();
            text.append(field).append(isLast ? 0 : widths[i] - widthOf(field) + 2, ' ');
        }
        text.erase(text.find_last_not_of(' ') + 1);
        text += kLineEnd;
    }
    return text;
}

std::filesystem::path SheetFile(const std::filesystem::path& programFolder)
{
    return programFolder / "$Compare$.txt";
}

} // namespace modCompareText
