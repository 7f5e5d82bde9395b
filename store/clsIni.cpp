#include "store/clsIni.h"

#include "base/Numbers.h"

#include <stdexcept>

namespace {

constexpr std::size_t kNumberBuffer = 64;
constexpr std::size_t kListBuffer = 1023;

/// The list with a NUL between its entries, but not after the last.
std::string withoutLastEnd(std::string list)
{
    if (!list.empty()) {
        list.pop_back();
    }
    return list;
}

} // namespace

clsIni::clsIni(const std::string& programFolder, char decimalSeparator)
    : m_filename(programFolder + "/RVQ.ini"), m_decimalSeparator(decimalSeparator)
{}

void clsIni::Filename(std::string_view filename)
{
    m_filename = Trimmed(filename);
}

clsIni::Variant clsIni::GetSetting(std::string_view Section, std::string_view Name, const Variant& Default,
                                   bool FromIniFile) const
{
    if (!FromIniFile || m_filename.empty() || Trimmed(Section).empty() || Trimmed(Name).empty()) {
        return Default;
    }
    const auto whole = [&](std::int32_t fallback) {
        return Variant(modIni::GetPrivateProfileIntA(Section, Name, fallback, m_filename));
    };
    if (const auto* small = std::get_if<std::int16_t>(&Default)) {
        return whole(*small);
    }
    if (const auto* number = std::get_if<std::int32_t>(&Default)) {
        return whole(*number);
    }
    if (const auto* real = std::get_if<float>(&Default)) {
        return numberOf(Section, Name, static_cast<double>(*real));
    }
    if (const auto* real = std::get_if<double>(&Default)) {
        return numberOf(Section, Name, *real);
    }
    if (const auto* text = std::get_if<std::string>(&Default)) {
        const std::string value = modIni::GetPrivateProfileStringA(Section, Name, *text, kLongestText + 1, m_filename);
        return std::string(Trimmed(value));
    }
    return {};
}

std::string clsIni::GetSection(std::string_view Section) const
{
    return withoutLastEnd(modIni::GetPrivateProfileSectionA(Section, kListBuffer, m_filename));
}

std::string clsIni::GetSectionNames() const
{
    return withoutLastEnd(modIni::GetPrivateProfileSectionNamesA(kListBuffer, m_filename));
}

bool clsIni::WriteSetting(std::string_view Section, std::string_view Name, std::string_view Setting,
                          bool ToIniFile) const
{
    return ToIniFile && modIni::WritePrivateProfileStringA(Section, Name, Setting, m_filename);
}

double clsIni::numberOf(std::string_view section, std::string_view name, double fallback) const
{
    const std::string text =
        modIni::GetPrivateProfileStringA(section, name, NumberText(fallback), kNumberBuffer, m_filename);
    const auto number = CDbl(text, m_decimalSeparator);
    if (!number) {
        throw std::invalid_argument("no number: " + text);
    }
    return *number;
}
