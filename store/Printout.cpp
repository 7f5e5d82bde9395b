#include "store/Printout.h"

#include "base/CodePage.h"
#include "base/modFiles.h"
#include "texts/modFunctions.h"

#include <algorithm>
#include <utility>

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
    void Caption(TextId textId, std::string_view value, std::size_t tabs = kAligned)
    {
        Line(CodePageBytes(modFunctions::GetText(textId, m_language)), tabs, value);
    }
    void Choice(std::size_t choice, std::size_t tabs = kAligned)
    {
        Caption(LabelId(kChoices[choice].code), m_texts.choices[choice], tabs);
    }
    void Field(std::size_t field, std::size_t tabs = kAligned)
    {
        const FieldDef& def = kFields[field];
        std::string value = m_texts.fields[field];
        if (!def.unit.empty()) {
            value.append(" ").append(CodePageBytes(def.unit));
        }
        Caption(LabelId(def.code), value, tabs);
    }
    std::string Text() && { return std::move(m_sheet); }

private:
    const SheetTexts& m_texts;
    std::int32_t m_language;
    std::string m_sheet;
};

void addOutputs(Sheet& sheet)
{
    sheet.Choice(ChoiceAnalogOutput, 3);
    sheet.Field(FieldAnalogMin);
    sheet.Field(FieldAnalogMax);
    sheet.Line();
    sheet.Choice(ChoiceS1Logic);
    sheet.Field(FieldS1On);
    sheet.Field(FieldS1Off);
    sheet.Choice(ChoiceS2Logic);
    sheet.Field(FieldS2On, 3);
    sheet.Field(FieldS2Off);
    sheet.Line();
}

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
    // Deliberate: the format has the caption of the output mode.
    sheet.Caption(LabelId("603"), texts.choices[ChoiceOutputFormat]);
    sheet.Choice(ChoiceDistanceUnit);
    sheet.Choice(ChoiceBaudrate);
    sheet.Choice(ChoiceOutputMode);
    if (!texts.serial) {
        sheet.Field(FieldNodeAddress, 3);
    }
    sheet.Line();
    sheet.Choice(ChoiceAutostart, 4);
    for (const std::size_t choice :
         {ChoiceMovingAverage, ChoiceAverageDepth, ChoiceTimeOut, ChoiceEchoCheck, ChoiceBlanking}) {
        sheet.Choice(choice);
    }
    sheet.Line();
    sheet.Choice(ChoiceRainFilter, 4);
    sheet.Line();
    sheet.Field(FieldOffset);
    sheet.Field(FieldScaleFactor);
    sheet.Field(FieldTemperature, 4);
    sheet.Field(FieldAirPressure);
    sheet.Line();
    if (texts.serial) {
        addOutputs(sheet);
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
