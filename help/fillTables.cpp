// Fills the tables of parameters in the pages of the manual from the program's own table:
//   orvex_help_tables FROM TO PAGE...
// In a page, a comment on lines of its own marks the place for the rows of a table:
//   <!-- parameters: codes -->       code, name, what a frame carries
//   <!-- parameters: keys -->        key in a file, name and values, default
//   <!-- parameters: Correction -->  a part of the settings window: name, values, what an empty box becomes
//   <!-- parameters: Interface       the same with an explanation in the last column: from the comment, else from the
//   601 Explanation.                 pop-up text of the control
//   -->
#include "base/Numbers.h"
#include "base/modFiles.h"
#include "sensor/Fields.h"
#include "sensor/Parameters.h"
#include "texts/modFunctions.h"
#include "ui/help/modHTMLHelp.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Texts = std::map<std::string, std::string, std::less<>>;
using Rows = std::vector<const ParameterDef*>;

constexpr std::string_view kMarker = "<!-- parameters: ", kEnd = "-->";

/// How a language writes numbers, and the few words of a table.
struct Language {
    std::int32_t id;
    char decimalSeparator;
    std::string_view groupSeparator, to, times, standsFor, serialDevice, onlyShown;
};
constexpr Language kGerman{LanguageGerman, ',', "&nbsp;", "bis", "mal", "für", "serielles Gerät", "nur Anzeige"};
constexpr Language kEnglish{LanguageEnglish, '.', ",", "to", "times", "for", "serial device", "only shown"};

struct NamedSection {
    std::string_view name;
    SettingsSection section;
};
constexpr NamedSection kSections[] = {
    {"Interface", SettingsSection::Interface}, {"Measurement", SettingsSection::Measurement},
    {"Rain", SettingsSection::RainAndEcho},    {"Correction", SettingsSection::Correction},
    {"Outputs", SettingsSection::Analog},      {"Outputs", SettingsSection::FirstSwitch},
    {"Outputs", SettingsSection::SecondLogic}, {"Outputs", SettingsSection::SecondSwitch},
};

std::string escaped(std::string_view text)
{
    std::string html;
    for (const char character : text) {
        switch (character) {
        case '&':
            html += "&amp;";
            break;
        case '<':
            html += "&lt;";
            break;
        case '>':
            html += "&gt;";
            break;
        default:
            html += character;
        }
    }
    return html;
}

std::string cells(std::initializer_list<std::string> texts)
{
    std::string row = "<tr>";
    for (const std::string& text : texts) {
        row += "<td>" + text + "</td>";
    }
    return row + "</tr>\n";
}

class Tables {
public:
    Tables(const Language& language, Texts popUps) : m_language(language), m_popUps(std::move(popUps)) {}

    /// Rows for the table that a marker names. Throws std::runtime_error for an unknown name.
    std::string Of(std::string_view table, const Texts* explanations) const
    {
        if (table == "codes") {
            return codes();
        }
        return table == "keys" ? keys() : section(table, explanations);
    }

private:
    std::string codes() const
    {
        Rows rows = rowsInOrder();
        std::ranges::sort(rows, {}, &ParameterDef::code);
        std::string table;
        for (const ParameterDef* row : rows) {
            table += cells({std::string(row->code), measure(*row), wireValues(*row)});
        }
        return table;
    }
    std::string keys() const
    {
        std::string table;
        for (const ParameterDef* row : rowsInOrder()) {
            const std::int32_t missing = row->missingKeyValue.value_or(row->defaultValue);
            table += cells({std::string(row->key), storedValues(*row), withMinus(std::to_string(missing))});
        }
        return table;
    }
    std::string section(std::string_view name, const Texts* explanations) const
    {
        std::string table;
        for (const NamedSection& named : kSections) {
            for (const ParameterDef* row : RowsByControl()) {
                if (named.name == name && row->section == named.section) {
                    table += cells({caption(*row), shownValues(*row),
                                    explanations == nullptr ? empty(*row) : explanation(*row, *explanations)});
                }
            }
        }
        return table.empty() ? throw std::runtime_error("no such table: " + std::string(name)) : table;
    }
    static Rows rowsInOrder()
    {
        Rows rows;
        std::ranges::transform(ParameterTable(), std::back_inserter(rows), [](const auto& row) { return &row; });
        return rows;
    }

    std::string caption(const ParameterDef& row) const
    {
        std::string text(Trimmed(modFunctions::GetText(row.labelId, m_language.id)));
        std::erase(text, '&');
        return escaped(text.substr(0, text.find_last_not_of(':') + 1));
    }
    /// The caption and what one of the stored numbers stands for.
    std::string measure(const ParameterDef& row) const
    {
        const bool scaled = row.decimals > 0;
        std::string text = caption(row);
        if (!row.unit.empty() && (scaled || row.control != ControlKind::Number)) {
            text.append(" in ").append(row.unit);
        }
        if (scaled) {
            const auto factor = static_cast<std::int32_t>(std::lround(std::pow(10, row.decimals)));
            text.append(" ").append(m_language.times).append(" ").append(std::to_string(factor));
        }
        return text;
    }
    std::string wireValues(const ParameterDef& row) const
    {
        if (row.control == ControlKind::Number) {
            return range(row, 0) + (row.decimals == 0 ? unit(row) : "");
        }
        return list(row, [&](std::int32_t value) {
            const bool coded = !row.wireTexts.empty();
            const std::string wire =
                coded ? std::string(row.wireTexts[static_cast<std::size_t>(value)]) : std::to_string(value);
            return row.names.empty() ? wire : wire + ' ' + lower(ValueName(row, value, m_language.id));
        });
    }
    std::string storedValues(const ParameterDef& row) const
    {
        if (row.control == ControlKind::Number) {
            const bool none = row.value == &ParameterSet::NodeAddress;
            return (row.decimals == 0 && !row.unit.empty() ? caption(row).append(" in ").append(row.unit)
                                                           : measure(row)) +
                   ", " + range(row, 0) + (none ? withMinus("; -1: ").append(m_language.serialDevice) : std::string());
        }
        if (row.names.empty()) {
            return caption(row) + ": 0 " + std::string(m_language.to) + ' ' + std::to_string(ValueCount(row) - 1) +
                   ' ' + std::string(m_language.standsFor) + ' ' + shownValues(row);
        }
        return caption(row) + ": " + list(row, [&](std::int32_t value) {
                   return std::to_string(value) + ' ' + lower(ValueName(row, value, m_language.id));
               });
    }
    std::string shownValues(const ParameterDef& row) const
    {
        if (row.control == ControlKind::Number) {
            return range(row, row.decimals) + unit(row);
        }
        const auto name = [&](std::int32_t value) { return ValueName(row, value, m_language.id); };
        if (row.control == ControlKind::Check) {
            return list(row, [&](std::int32_t value) { return lower(name(value)); });
        }
        const bool numbers = row.names.empty() && row.sameNames.empty();
        return numbers ? wireValues(row) + unit(row) : list(row, name);
    }
    /// What an empty box becomes.
    std::string empty(const ParameterDef& row) const
    {
        if (row.control == ControlKind::Number) {
            return grouped(CheckedText(row, {}, m_language.decimalSeparator)) + unit(row);
        }
        return row.control == ControlKind::Label ? "– (" + std::string(m_language.onlyShown) + ')' : "–";
    }
    std::string explanation(const ParameterDef& row, const Texts& explanations) const
    {
        const auto own = explanations.find(row.code);
        if (own != explanations.end()) {
            return own->second;
        }
        const auto popUp = m_popUps.find("frmRVQ." + ControlName(row));
        return popUp == m_popUps.end() ? "–" : escaped(popUp->second);
    }

    std::string list(const ParameterDef& row, const std::function<std::string(std::int32_t)>& text) const
    {
        std::string values;
        for (std::int32_t value = 0; value < ValueCount(row); ++value) {
            values += (value == 0 ? "" : ", ") + escaped(text(value));
        }
        return values;
    }
    std::string range(const ParameterDef& row, int decimals) const
    {
        const auto limit = [&](std::int32_t stored) {
            return grouped(FixedText(stored / std::pow(10, decimals), decimals, m_language.decimalSeparator));
        };
        return limit(row.limits.minimum) + ' ' + std::string(m_language.to) + ' ' + limit(row.limits.maximum);
    }
    static std::string unit(const ParameterDef& row)
    {
        return row.unit.empty() ? std::string() : "&nbsp;" + std::string(row.unit);
    }
    /// With a separator in numbers of five digits and more, and a true minus sign.
    std::string grouped(std::string number) const
    {
        constexpr std::size_t kGroup = 3, kUngrouped = 4; // digits
        const std::size_t begin = number.starts_with('-') ? 1 : 0;
        std::size_t end = std::min(number.find(m_language.decimalSeparator), number.size());
        if (end - begin > kUngrouped) {
            while (end - begin > kGroup) {
                end -= kGroup;
                number.insert(end, m_language.groupSeparator);
            }
        }
        return withMinus(number);
    }
    static std::string withMinus(std::string number)
    {
        const std::size_t minus = number.find('-');
        return minus == std::string::npos ? number : number.replace(minus, 1, "−");
    }
    /// A name in the middle of a sentence; nouns keep their capital.
    std::string lower(std::string name) const
    {
        const auto toLower = [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); };
        const auto end = m_language.id == LanguageGerman && !name.empty() ? name.begin() + 1 : name.end();
        std::transform(name.begin(), end, name.begin(), toLower);
        return name;
    }

    const Language& m_language;
    Texts m_popUps; ///< by topic
};

std::string takeLine(std::string_view& text)
{
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string line(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    return line;
}

/// Explanations up to the end of the comment, by their codes; a line without a code continues the explanation before
/// it.
Texts takeExplanations(std::string_view& page)
{
    Texts explanations;
    std::string* text = nullptr;
    while (!page.empty()) {
        const std::string line = takeLine(page);
        if (line == kEnd) {
            return explanations;
        }
        const std::string_view code = std::string_view(line).substr(0, line.find(' '));
        if (ParameterOfCode(code) != nullptr) {
            text = &explanations[std::string(code)];
            *text = line.substr(code.size() + 1);
        } else if (text != nullptr) {
            text->append("\n").append(line);
        }
    }
    throw std::runtime_error("a comment has no end");
}

std::string filled(std::string_view page, const Tables& tables)
{
    std::string text;
    while (!page.empty()) {
        const std::string line = takeLine(page);
        if (!line.starts_with(kMarker)) {
            text.append(line).append("\n");
        } else if (line.ends_with(kEnd)) {
            const std::string_view rest = std::string_view(line).substr(kMarker.size());
            text += tables.Of(Trimmed(rest.substr(0, rest.size() - kEnd.size())), nullptr);
        } else {
            const Texts explanations = takeExplanations(page);
            text += tables.Of(Trimmed(std::string_view(line).substr(kMarker.size())), &explanations);
        }
    }
    return text;
}

std::string contents(const std::filesystem::path& file)
{
    auto text = modFiles::ReadWhole(file);
    return text ? *std::move(text) : throw std::runtime_error("cannot read " + file.string());
}

void fillPages(const std::filesystem::path& from, const std::filesystem::path& to, std::span<char*> pages)
{
    for (const std::string_view page : pages) {
        const Language& language = page.ends_with("_de.htm") ? kGerman : kEnglish;
        const Tables tables(language, modHTMLHelp::PopUpTexts(contents(from / modHTMLHelp::PopUpFile(language.id))));
        if (!modFiles::Replace(to / page, filled(contents(from / page), tables))) {
            throw std::runtime_error("cannot write " + (to / page).string());
        }
    }
}

} // namespace

int main(int argc, char* argv[])
{
    try {
        const std::span<char*> arguments(argv, static_cast<std::size_t>(argc));
        if (arguments.size() < 3) {
            throw std::runtime_error("orvex_help_tables FROM TO PAGE...");
        }
        fillPages(arguments[1], arguments[2], arguments.subspan(3));
        return EXIT_SUCCESS;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return EXIT_FAILURE;
    }
}
