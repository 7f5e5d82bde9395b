#include "session/modTrafficText.h"

#include "base/IsoTime.h"
#include "base/Numbers.h"
#include "base/modAPI.h"
#include "sensor/Parameters.h"
#include "texts/modFunctions.h"

namespace modTrafficText {

namespace {

constexpr char kDigits[] = "0123456789ABCDEF";
constexpr std::size_t kDate = 11; // characters, "2026-11-20T"
constexpr std::size_t kCode = 3;

/// A part of a text with several, separated by "|".
std::string_view partOf(TextId id, std::size_t number, std::int32_t language)
{
    std::string_view parts = modFunctions::GetText(id, language);
    for (; number > 0; --number) {
        parts.remove_prefix(std::min(parts.find('|'), parts.size() - 1) + 1);
    }
    return parts.substr(0, parts.find('|'));
}

void appendHex(std::string& text, char byte)
{
    const auto value = static_cast<std::uint8_t>(byte);
    text += kDigits[value >> 4U];
    text += kDigits[value & 15U];
}

std::string requestName(const clsTraffic& traffic, const TrafficEntry& entry, std::int32_t language)
{
    const std::string bytes = traffic.BytesOf(entry);
    const ParameterDef* row = bytes.size() > kCode ? ParameterOfCode(bytes.substr(0, kCode)) : nullptr;
    if (static_cast<Request>(entry.detail) == Request::Parameter && row != nullptr) {
        return std::string(Trimmed(modFunctions::GetText(row->labelId, language)));
    }
    return std::string(partOf(TextId::TrafficRequests, entry.detail, language));
}

std::string distanceText(const TrafficEntry& entry, char decimalSeparator)
{
    const UnitDef& unit = UnitOf(entry.detail);
    return FixedText(entry.value, unit.decimals, decimalSeparator) + ' ' + std::string(unit.name);
}

} // namespace

std::string Text(std::string_view bytes)
{
    std::string text;
    for (const char byte : bytes) {
        if (byte == '\r' || byte == '\n' || byte == '\t') {
            text += '\\';
            text += byte == '\r' ? 'r' : byte == '\n' ? 'n' : 't';
        } else if (byte == '\\') {
            text += "\\\\";
        } else if (byte >= ' ' && byte <= '~') {
            text += byte;
        } else {
            text += "\\x";
            appendHex(text, byte);
        }
    }
    return text;
}

std::string Hex(std::string_view bytes)
{
    std::string text;
    for (const char byte : bytes) {
        if (!text.empty()) {
            text += ' ';
        }
        appendHex(text, byte);
    }
    return text;
}

std::string Meaning(const clsTraffic& traffic, const TrafficEntry& entry, const Style& style)
{
    const std::string_view name = partOf(TextId::TrafficKinds, static_cast<std::size_t>(entry.kind), style.language);
    switch (entry.kind) {
    case TrafficKind::Opened:
        return modFunctions::Filled(name, {FixedText(entry.value, 0, '.')});
    case TrafficKind::Sent:
    case TrafficKind::SentByHand:
        return modFunctions::Filled(name, {requestName(traffic, entry, style.language)});
    case TrafficKind::Distance:
        return modFunctions::Filled(name, {distanceText(entry, style.decimalSeparator)});
    default:
        return std::string(name);
    }
}

char Direction(TrafficKind kind)
{
    if (IsOfLine(kind)) {
        return '-';
    }
    return IsToSensor(kind) ? '>' : '<';
}

std::string TimeOfDay(double time)
{
    const std::string iso = IsoText(time);
    return iso.size() > kDate ? iso.substr(kDate) : iso;
}

std::string FileHeader(std::string_view program, std::int32_t language)
{
    return "# Orvex traffic 1\n# " + std::string(program) + "\n" +
           std::string(modFunctions::GetText(TextId::TrafficFileHeader, language)) + "\n";
}

std::string FileLine(const clsTraffic& traffic, const TrafficEntry& entry, const Style& style)
{
    const std::string bytes = traffic.BytesOf(entry);
    std::string line = IsoText(entry.time) + IsoOffset(modAPI::UtcOffsetsOf(entry.time).first_min) + ' ';
    line += Direction(entry.kind);
    line += ' ';
    if (!bytes.empty()) {
        line += Hex(bytes) + "  # \"" + Text(bytes) + "\" ";
    } else {
        line += "# ";
    }
    return line + Meaning(traffic, entry, style);
}

} // namespace modTrafficText
