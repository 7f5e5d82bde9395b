#include "port/modLineUrl.h"

#include <algorithm>
#include <charconv>

namespace modLineUrl {

namespace {

constexpr std::string_view kMark = "://";
constexpr std::size_t kLongestHost = 253;
constexpr std::string_view kDigits = "0123456789";

struct Scheme {
    std::string_view name;
    Protocol protocol;
};
constexpr Scheme kSchemes[] = {{"tcp", Protocol::Raw}, {"rfc2217", Protocol::Rfc2217}};

bool isLetterOrDigit(char character)
{
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'z') ||
           (character >= 'A' && character <= 'Z');
}

bool consistsOf(std::string_view text, std::string_view others)
{
    return std::ranges::all_of(
        text, [others](char character) { return isLetterOrDigit(character) || others.find(character) != others.npos; });
}

bool isSame(std::string_view written, std::string_view name)
{
    return std::ranges::equal(written, name, [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a + 32 : a) == b; });
}

/// Takes the host off the front of `rest`; empty when there is none.
std::string_view takeHost(std::string_view& rest)
{
    const bool isBracketed = rest.starts_with('[');
    const std::size_t begin = isBracketed ? 1 : 0;
    const std::size_t end = std::min(rest.find(isBracketed ? ']' : ':'), rest.size());
    const std::string_view host = rest.substr(begin, end - begin);
    rest.remove_prefix(std::min(end + begin, rest.size()));
    // A scope such as "%eth0" belongs to the address.
    const bool isFit = isBracketed ? consistsOf(host, ":.%-_") && host.find(':') != host.npos : consistsOf(host, ".-_");
    return isFit && host.size() <= kLongestHost ? host : std::string_view();
}

bool isPort(std::string_view text)
{
    std::uint16_t number = 0;
    return !text.empty() && text.find_first_not_of(kDigits) == text.npos &&
           std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc{} && number != 0;
}

} // namespace

bool IsUrl(std::string_view device)
{
    return device.find(kMark) != device.npos;
}

std::optional<LineUrl> Parse(std::string_view text)
{
    const std::size_t mark = text.find(kMark);
    const auto* scheme = std::ranges::find_if(
        kSchemes, [&](const Scheme& known) { return isSame(text.substr(0, std::min(mark, text.size())), known.name); });
    if (mark == text.npos || scheme == std::end(kSchemes)) {
        return std::nullopt;
    }
    std::string_view rest = text.substr(mark + kMark.size());
    if (rest.ends_with('/')) {
        rest.remove_suffix(1);
    }
    const std::string_view host = takeHost(rest);
    if (host.empty() || !rest.starts_with(':') || !isPort(rest.substr(1))) {
        return std::nullopt;
    }
    return LineUrl{scheme->protocol, std::string(host), std::string(rest.substr(1))};
}

} // namespace modLineUrl
