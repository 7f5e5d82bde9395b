#include "gateway/modRecordingName.h"

#include "base/Numbers.h"

#include <charconv>

namespace modRecordingName {

namespace {

constexpr std::size_t kRunDigits = 6, kFirstDigits = 10;
constexpr std::string_view kExtension = ".rec";
constexpr std::int64_t kMostParts = 32767;

/// Takes a word and the number behind it from the head of a text; empty when it begins otherwise.
std::optional<std::int64_t> take(std::string_view& text, std::string_view word)
{
    std::int64_t number = 0;
    if (!text.starts_with(word)) {
        return std::nullopt;
    }
    const std::string_view digits = text.substr(word.size());
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc() || number < 1) {
        return std::nullopt;
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

} // namespace

std::string NameOf(const RecordingKey& key)
{
    std::string name = "Run ";
    AppendPadded(name, key.run, kRunDigits);
    name += " from ";
    AppendPadded(name, key.first, kFirstDigits);
    return key.again > 1 ? name + " again " + std::to_string(key.again) : name;
}

std::string FileOf(const RecordingPart& part)
{
    std::string name = NameOf(part.key);
    if (part.part > 1) {
        name += " (" + std::to_string(part.part) + ")";
    }
    return name.append(kExtension);
}

std::optional<RecordingPart> PartOf(std::string_view fileName)
{
    std::string_view rest = fileName;
    const auto run = take(rest, "Run ");
    const auto first = run ? take(rest, " from ") : std::nullopt;
    if (!first) {
        return std::nullopt;
    }
    const std::int64_t again = take(rest, " again ").value_or(1), part = take(rest, " (").value_or(1);
    if (again > kMostParts || part > kMostParts) {
        return std::nullopt;
    }
    const RecordingPart found{{*run, *first, static_cast<std::int32_t>(again)}, static_cast<std::int32_t>(part)};
    return FileOf(found) == fileName ? std::optional(found) : std::nullopt;
}

} // namespace modRecordingName
