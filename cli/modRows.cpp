#include "cli/modRows.h"

#include "cli/clsProgram.h"
#include "store/modCompareText.h"

#include <cstdint>

namespace modRows {

namespace {

constexpr std::string_view kLineEnd = "\r\n";

void printLines(clsProgram& program, std::string_view text, void (clsProgram::*print)(std::string_view))
{
    while (!text.empty()) {
        const std::size_t end = text.find(kLineEnd);
        (program.*print)(text.substr(0, end));
        text.remove_prefix(end + kLineEnd.size());
    }
}

std::string joined(const std::vector<std::string>& parts)
{
    std::string text;
    for (const std::string& part : parts) {
        text.append(text.empty() ? "" : ",").append(part);
    }
    return text;
}

} // namespace

OutputKind FormatOf(const clsArguments& arguments)
{
    return arguments.Has("json") ? OutputKind::Json : OutputKindOf(arguments);
}

void PrintText(clsProgram& program, const Rows& rows)
{
    printLines(program, modCompareText::Aligned(rows), &clsProgram::Print);
}

void PrintCsv(clsProgram& program, const Rows& rows)
{
    printLines(program, modCompareText::Csv(rows), &clsProgram::PrintData);
}

std::string Quoted(std::string_view text)
{
    constexpr std::string_view kHex = "0123456789abcdef";
    std::string quoted = "\"";
    for (const char c : text) {
        const auto byte = static_cast<std::uint8_t>(c);
        if (byte < 0x20 || byte == 0x7F) {
            quoted.append("\\u00").append(1, kHex[byte >> 4U]).append(1, kHex[byte & 0xFU]);
        } else {
            quoted.append(c == '"' || c == '\\' ? "\\" : "").append(1, c);
        }
    }
    return quoted + '"';
}

std::string Object(const std::vector<std::pair<std::string_view, std::string>>& members)
{
    std::vector<std::string> parts;
    parts.reserve(members.size());
    for (const auto& [key, value] : members) {
        parts.push_back(Quoted(key) + ":" + value);
    }
    std::string object(1, '{');
    object += joined(parts);
    return object += '}';
}

std::string Array(const std::vector<std::string>& values)
{
    std::string array(1, '[');
    array += joined(values);
    return array += ']';
}

} // namespace modRows
