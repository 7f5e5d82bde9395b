// Finds and reads the simulated sensor's parameters.
#include "simulator/Parameters.h"

#include <algorithm>
#include <charconv>

namespace simulator {

std::optional<std::size_t> FindParameter(std::string_view code)
{
    const auto row = std::ranges::find(kParameterRows, code, &ParameterRow::code);
    if (row == kParameterRows.end()) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(row - kParameterRows.begin());
}

std::optional<std::int32_t> ReadParameterText(const ParameterRow& row, std::string_view text)
{
    if (!row.texts.empty()) {
        const auto word = std::ranges::find(row.texts, text);
        if (word == row.texts.end()) {
            return std::nullopt;
        }
        return static_cast<std::int32_t>(word - row.texts.begin());
    }
    std::int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool isNumber = error == std::errc{} && end == text.data() + text.size();
    if (!isNumber || value < row.minimum || value > row.maximum) {
        return std::nullopt;
    }
    return value;
}

ParameterSet FactoryValues()
{
    ParameterSet values{};
    std::ranges::transform(kParameterRows, values.begin(), &ParameterRow::factoryValue);
    return values;
}

std::optional<std::int32_t> RateIndex(std::int32_t bitsPerSecond)
{
    const auto rate = std::ranges::find(kRates, bitsPerSecond);
    if (rate == std::end(kRates)) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(rate - std::begin(kRates));
}

} // namespace simulator
