#include "store/Printout.h"

#include "base/CodePage.h"
#include "base/modFiles.h"
#include "sensor/Fields.h"
#include "texts/modFunctions.h"

#include <algorithm>
#include <initializer_list>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t kValueColumn = 40; // characters
constexpr std::size_t kTabWidth = 8;
constexpr std::size_t kFewestTabs = 2, kMostTabs = 5;
constexpr std::size_t kAligned = 0; // as many tabs as it takes to reach the value column

class Sheet {
public:
    Sheet(const SheetTexts& texts, std::int32_t language) : m_texts(texts), m_language(language) {}

    void Line(std::string_view text = {}) { m_sheet.append(text).append("\r\n"); }
    void Line(std::string_view label, std::size_t tabs, std::string_view value)
    {
        const std::size_t missing = kValueColumn - std::min(label.size(), kValueColumn);
        const std::size_t aligned = std::clamp((missing + kTabWidth - 1) / kTabWidth, kFewestTabs, kMostTabs);
        m_sheet.append(label).append(tabs == kAligned ? aligned : tabs, '\t');
        Line(value);
    }
    void Sections(std::initializer_list<SettingsSection> sections)
    {
        for (const SettingsSection section : sections) {
            for (const ParameterDef* row : linesOf(section)) {
                parameter(*row);
            }
        }
        Line();
    }
    std::string Text() && { return std::move(m_sheet); }

private:
    static std::vector<const ParameterDef*> linesOf(SettingsSection section)
    {
        std::vector<const ParameterDef*> rows;
        for (const ParameterDef& row : ParameterTable()) {
            if (row.section == section && row.sheetLine > 0) {
                rows.push_back(&row);
            }
        }
        std::ranges::stable_sort(rows, {}, &ParameterDef::sheetLine);
        return rows;
    }
    void parameter(const ParameterDef& row)
    {
        if (!IsShown(row, m_texts.serial)) {
            return;
        }
        // Deliberate: the format has the caption of the output mode.
        const bool format = row.value == &ParameterSet::OutputFormat;
        std::string value = m_texts.values[row];
        if (row.control == ControlKind::Number && !row.unit.empty()) {
            value.append(" ").append(CodePageBytes(row.unit));
        }
        const TextId caption = format ? TextId::LabelOutputMode : row.labelId;
        Line(CodePageBytes(modFunctions::GetText(caption, m_language)), row.sheetTabs, value);
    }

    const SheetTexts& m_texts;
    std::int32_t m_language;
    std::string m_sheet;
};

} // namespace

std::string SheetText(const SheetTexts& texts, std::int32_t language)
{
    Sheet sheet(texts, language);
    sheet.Line();
    sheet.Line("\t\t\tOrvex - Settings");
    sheet.Line();
    sheet.Line();
    // Deliberate: the title and these four captions are the same in both languages.
    sheet.Line("Serial-No:", 4, texts.SerialNo);
    sheet.Line("Version:", 5, texts.SWVersion);
    sheet.Line("Build:", 5, texts.SWBuild);
    sheet.Line("Type:", kAligned, texts.DeviceType);
    sheet.Line();
    using enum SettingsSection;
    sheet.Sections({Interface});
    sheet.Sections({Measurement});
    sheet.Sections({RainAndEcho});
    sheet.Sections({Correction});
    if (texts.serial) {
        sheet.Sections({Analog});
        sheet.Sections({FirstSwitch, SecondLogic, SecondSwitch});
    }
    return std::move(sheet).Text();
}

std::filesystem::path SheetFile(const std::filesystem::path& programFolder)
{
    return programFolder / "$QVW$.txt";
}

bool WriteSheet(const std::filesystem::path& programFolder, const SheetTexts& texts, std::int32_t language,
                std::error_code& why)
{
    return modFiles::Replace(SheetFile(programFolder), SheetText(texts, language), why);
}
