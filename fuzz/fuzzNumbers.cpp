// Number readers, key filters and field checks.
#include "base/Numbers.h"
#include "fuzz/FuzzInput.h"
#include "sensor/Fields.h"

#include <cmath>
#include <utility>

namespace {

constexpr std::size_t kLongest = 300; // digits that a double holds

void readNumbers(std::string_view text)
{
    Require(std::isfinite(Val(text)));
    for (const char separator : {',', '.'}) {
        const auto number = CDbl(text, separator);
        if (!number) {
            continue;
        }
        Require(std::isfinite(*number));
        Require(CDbl(NumberText(*number), separator) == number);
        for (int decimals = 0; decimals <= 17; decimals += 8) {
            const auto fixed = CDbl(FixedText(*number, decimals, separator), separator);
            Require(fixed && std::abs(*fixed - *number) <= std::abs(*number) * 1e-15 + std::pow(10.0, -decimals));
        }
        const auto rounded = RoundHalfToEven(*number);
        Require(!rounded || std::abs(*rounded - *number) <= 0.5);
    }
    for (const auto& [separator, group] : {std::pair{',', '.'}, {'.', ','}, {',', ' '}}) {
        const auto pasted = PastedNumber(text, separator, group);
        Require(!pasted || pasted->size() > kLongest || CDbl(*pasted, separator));
    }
    if (const auto whole = WholeNumber(text)) {
        Require(CDbl(text, '.') == static_cast<double>(*whole));
    }
}

void filterKeys(std::string_view text)
{
    for (const char separator : {',', '.'}) {
        for (const char key : text) {
            const auto kept = FilteredKey(key, separator);
            Require(!kept || std::string_view("0123456789-,.\b\r").find(*kept) != std::string_view::npos);
        }
    }
}

/// What a box shows after a check is accepted as it is and lies within the box's limits.
void checkFields(std::string_view text)
{
    for (const ParameterDef& row : ParameterTable()) {
        if (row.control != ControlKind::Number) {
            continue;
        }
        for (const char separator : {',', '.'}) {
            const std::string shown = CheckedText(row, text, separator);
            Require(CheckedText(row, shown, separator) == shown);
            Require(shown == kNoAddress || StoredValue(row, shown).has_value());
        }
        const auto stored = StoredValue(row, text);
        Require(!stored || (*stored >= row.limits.minimum && *stored <= row.limits.maximum));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text = FuzzInput(data, size).Rest();
    readNumbers(text);
    filterKeys(text);
    checkFields(text);
    return 0;
}
