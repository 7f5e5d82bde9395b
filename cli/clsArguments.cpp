#include "cli/clsArguments.h"

#include <algorithm>

namespace {

const OptionDef& withName(std::string_view name, std::span<const OptionDef> options)
{
    const auto found = std::ranges::find(options, name, &OptionDef::name);
    if (found == options.end()) {
        throw UsageError("unknown option --" + std::string(name));
    }
    return *found;
}

const OptionDef& withLetter(char letter, std::span<const OptionDef> options)
{
    const auto found = std::ranges::find(options, letter, &OptionDef::letter);
    if (letter == 0 || found == options.end()) {
        throw UsageError(std::string("unknown option -") + letter);
    }
    return *found;
}

[[noreturn]] void missValue(const OptionDef& option)
{
    throw UsageError("--" + std::string(option.name) + " takes a value: " + std::string(option.value));
}

} // namespace

clsArguments::clsArguments(std::span<const std::string_view> words, std::span<const OptionDef> options,
                           bool untilOperand)
{
    bool areOptions = true;
    while (m_read < words.size()) {
        const std::string_view word = words[m_read];
        if (areOptions && word == "--") {
            areOptions = false;
            ++m_read;
        } else if (areOptions && word.starts_with("--")) {
            m_read += takeLong(words.subspan(m_read), options);
        } else if (areOptions && word.size() > 1 && word.front() == '-') {
            m_read += takeShort(words.subspan(m_read), options);
        } else if (untilOperand) {
            return;
        } else {
            m_operands.push_back(word);
            ++m_read;
        }
    }
}

std::size_t clsArguments::takeLong(std::span<const std::string_view> words, std::span<const OptionDef> options)
{
    const std::string_view word = words.front().substr(2);
    const std::size_t sign = word.find('=');
    const OptionDef& option = withName(word.substr(0, sign), options);
    if (option.value.empty()) {
        if (sign != word.npos) {
            throw UsageError("--" + std::string(option.name) + " takes no value");
        }
        m_options.emplace_back(option.name, "");
        return 1;
    }
    if (sign == word.npos && words.size() < 2) {
        missValue(option);
    }
    m_options.emplace_back(option.name, sign == word.npos ? words[1] : word.substr(sign + 1));
    return sign == word.npos ? 2 : 1;
}

std::size_t clsArguments::takeShort(std::span<const std::string_view> words, std::span<const OptionDef> options)
{
    const std::string_view word = words.front();
    for (std::size_t at = 1; at < word.size(); ++at) {
        const OptionDef& option = withLetter(word[at], options);
        if (option.value.empty()) {
            m_options.emplace_back(option.name, "");
            continue;
        }
        const std::string_view rest = word.substr(at + 1);
        if (rest.empty() && words.size() < 2) {
            missValue(option);
        }
        m_options.emplace_back(option.name, rest.empty() ? words[1] : rest);
        return rest.empty() ? 2 : 1;
    }
    return 1;
}

std::optional<std::string_view> clsArguments::Value(std::string_view name) const
{
    const std::vector<std::string_view> values = Values(name);
    return values.empty() ? std::nullopt : std::optional(values.back());
}

std::vector<std::string_view> clsArguments::Values(std::string_view name) const
{
    std::vector<std::string_view> values;
    for (const auto& [option, value] : m_options) {
        if (option == name) {
            values.push_back(value);
        }
    }
    return values;
}
