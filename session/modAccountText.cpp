#include "session/modAccountText.h"

#include "base/Numbers.h"
#include "session/clsAccount.h"
#include "texts/modFunctions.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace {

const std::string kNothing = "–";
constexpr double kMsPerSecond = 1000.0, kMsPerMinute = 60000.0, kMsPerHour = 3600000.0;

/// The part in front of the next separator, which goes too.
std::string_view takePart(std::string_view& texts, char separator)
{
    const std::string_view part = texts.substr(0, texts.find(separator));
    texts.remove_prefix(std::min(part.size() + 1, texts.size()));
    return part;
}

} // namespace

std::string modAccountText::Rate(double perSecond, char decimalSeparator)
{
    return FixedText(perSecond, 1, decimalSeparator) + " /s";
}

std::string modAccountText::Duration(double ms, char decimalSeparator)
{
    if (ms < 10.0 * kMsPerSecond) {
        return FixedText(std::floor(ms), 0, decimalSeparator) + " ms";
    }
    if (ms < 10.0 * kMsPerMinute) {
        return FixedText(ms / kMsPerSecond, 1, decimalSeparator) + " s";
    }
    return ms < 10.0 * kMsPerHour ? FixedText(ms / kMsPerMinute, 1, decimalSeparator) + " min"
                                  : FixedText(ms / kMsPerHour, 1, decimalSeparator) + " h";
}

std::string modAccountText::Table(const clsAccount& account, std::optional<double> recordedRate, std::int32_t language,
                                  char decimalSeparator)
{
    const AccountFigures& whole = account.Figures();
    const AccountFigures lately = account.Lately();
    std::string_view columns = modFunctions::GetText(TextId::AccountColumns, language);
    std::string_view names = modFunctions::GetText(TextId::AccountRows, language);
    std::string table;
    while (!columns.empty()) {
        table += takePart(columns, '|');
        table += columns.empty() ? '\n' : '\t';
    }
    const auto add = [&](std::string_view first, std::string_view second) {
        table += takePart(names, '|');
        table += '\t';
        table += first;
        table += '\t';
        table += second;
        table += '\n';
    };
    // The names have the same order.
    for (const auto& [key, count] : kAccountCounts) {
        add(std::to_string(whole.*count), std::to_string(lately.*count));
    }
    add(Duration(whole.longestGap_ms, decimalSeparator), Duration(lately.longestGap_ms, decimalSeparator));
    names = modFunctions::GetText(TextId::AccountRates, language);
    add(kNothing, Rate(account.PerSecond(&AccountFigures::received), decimalSeparator));
    add(kNothing, recordedRate ? Rate(*recordedRate, decimalSeparator) : kNothing);
    return table;
}
