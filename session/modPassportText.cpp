#include "session/modPassportText.h"

#include "base/CodePage.h"
#include "base/IsoTime.h"
#include "base/PlainText.h"
#include "sensor/Fields.h"
#include "sensor/modCompare.h"
#include "session/modReportText.h"
#include "texts/modFunctions.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <iterator>

namespace modPassportText {

namespace {

constexpr std::size_t kLongest = 200; // characters of a text out of the file, which anybody may have written
constexpr std::size_t kLongestSerial = 20;

std::string plain(std::string_view text)
{
    return PlainText(text, kLongest);
}

std::string filled(TextId id, std::int32_t language, std::initializer_list<std::string_view> values)
{
    return modFunctions::Filled(modFunctions::GetText(id, language), values);
}

/// A value without its unit; what is no value of the parameter as it stands in the file.
std::string valueText(const ParameterDef* row, std::string_view wireText, const Style& style)
{
    const auto stored = row == nullptr ? std::nullopt : modPassport::StoredOf(*row, wireText);
    std::string shown = stored ? ShownValue(*row, *stored, style.decimalSeparator, style.language) : "";
    return shown.empty() ? plain(wireText) : shown;
}

std::string withUnit(const ParameterDef* row, std::string value)
{
    return row == nullptr ? value : WithUnit(*row, std::move(value));
}

std::string partOf(TextId list, std::size_t index, std::int32_t language)
{
    std::string_view parts = modFunctions::GetText(list, language);
    for (; index > 0; --index) {
        parts.remove_prefix(parts.find('|') + 1);
    }
    return std::string(parts.substr(0, parts.find('|')));
}

/// Those that are not empty.
std::string joined(std::initializer_list<std::string> parts)
{
    std::string text;
    for (const std::string& part : parts) {
        text += part.empty() ? "" : (text.empty() ? "" : ", ") + part;
    }
    return text;
}

std::string identityText(const modPassport::Entry& entry, std::int32_t language)
{
    const auto named = [&](TextId id, const std::string& text) {
        return text.empty() ? std::string() : filled(id, language, {plain(Utf8Of(text))});
    };
    const SensorIdentity& sensor = entry.identity;
    const std::string replaced = SerialText(CodePageBytes(entry.replaced), language);
    return joined({SerialText(sensor.SerialNo, language), plain(Utf8Of(sensor.DeviceType)),
                   named(TextId::PassportVersion, sensor.SWVersion), named(TextId::PassportBuild, sensor.SWBuild),
                   plain(Utf8Of(sensor.SWDate)), plain(Utf8Of(sensor.Attenuator)),
                   replaced.empty() ? std::string() : filled(TextId::PassportReplaced, language, {replaced})});
}

} // namespace

std::string Time(double time)
{
    const std::string iso = IsoText(time); // "2026-11-20T14:03:05.250"
    return iso.empty() ? iso
                       : iso.substr(8, 2) + '.' + iso.substr(5, 2) + '.' + iso.substr(0, 4) + ' ' + iso.substr(11, 8);
}

std::string EventName(modPassport::Event event, std::int32_t language)
{
    return partOf(TextId::PassportEvents, static_cast<std::size_t>(event), language);
}

std::string ChangeText(const modPassport::Change& change, const Style& style)
{
    const ParameterDef* row = ParameterOfCode(change.code);
    const std::string name = row == nullptr ? plain(change.code) : modReportText::NameAndCode(*row, style.language);
    const auto shown = [&](std::string_view wireText) { return valueText(row, wireText, style); };
    const std::string values = change.before == change.wanted
                                   ? withUnit(row, shown(change.before))
                                   : shown(change.before) + " → " + withUnit(row, shown(change.wanted));
    const std::string text = name + ": " + values;
    if (!change.readBack) {
        return filled(TextId::PassportNotReadBack, style.language, {text});
    }
    return *change.readBack == change.wanted
               ? text
               : filled(TextId::PassportReadBack, style.language, {text, withUnit(row, shown(*change.readBack))});
}

std::vector<std::string> Lines(const modPassport::Entry& entry, const Style& style)
{
    std::vector<std::string> lines;
    if (entry.event == modPassport::Event::Identity) {
        lines.push_back(identityText(entry, style.language));
    }
    std::ranges::transform(entry.changes, std::back_inserter(lines),
                           [&](const modPassport::Change& change) { return ChangeText(change, style); });
    return lines;
}

std::string Result(const modPassport::Entry& entry, std::int32_t language)
{
    constexpr std::array<std::string_view, 3> kWords{"verified", "differs", "failed"};
    const auto word = std::ranges::find(kWords, entry.result);
    return word == kWords.end()
               ? std::string()
               : partOf(TextId::PassportResults, static_cast<std::size_t>(word - kWords.begin()), language);
}

std::string Whole(const modPassport::Entry& entry, const Style& style)
{
    const std::string version =
        entry.version.empty() ? std::string() : filled(TextId::PassportVersion, style.language, {plain(entry.version)});
    std::string text = joined({Time(entry.time), EventName(entry.event, style.language), Result(entry, style.language),
                               plain(entry.user), plain(entry.port), version});
    for (const std::string& line : Lines(entry, style)) {
        text += "\n    " + line;
    }
    return text;
}

std::string SerialText(std::string_view serialNo, std::int32_t language)
{
    const std::string number = PlainText(Utf8Of(serialNo), kLongestSerial);
    return number.empty() ? number : filled(TextId::SerialNumber, language, {number});
}

} // namespace modPassportText
