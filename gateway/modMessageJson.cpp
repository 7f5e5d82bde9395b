#include "gateway/modMessageJson.h"

#include "base/CodePage.h"
#include "base/Days.h"
#include "base/PlainText.h"
#include "gateway/modUtc.h"
#include "sensor/Fields.h"
#include "sensor/modCompare.h"
#include "session/modParameterNames.h"
#include "store/JsonValues.h"
#include "texts/modFunctions.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace {

using JsonValues::ordered_json;

constexpr std::size_t kLongestSensorText = 100; // characters
constexpr std::size_t kValueSize = 160;         // bytes that one value takes, about
constexpr double kMsPerSecond = 1000.0;

/// Whatever a text holds, it becomes UTF-8.
std::string textOf(const ordered_json& message)
{
    return message.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

ordered_json timeOf(std::optional<double> time)
{
    const std::string text = time ? modUtc::Text(*time) : std::string();
    return text.empty() ? ordered_json() : ordered_json(text);
}

void append(std::string& text, std::int64_t number)
{
    char digits[24];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

void append(std::string& text, double number, int decimals)
{
    char digits[64];
    const auto end = std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed, decimals);
    text.append(digits, end.ptr);
}

/// The members of one value. Thousands of them are written in a second, so no tree is built for them.
void append(std::string& text, const GatewayValue& value, std::int32_t sharedUnit, bool isHistorical)
{
    const UnitDef& unit = UnitOf(value.unit);
    const std::string time = modUtc::Text(value.time);
    text += time.empty() ? "\"time\":null" : "\"time\":\"";
    text += time;
    text += time.empty() ? ",\"run\":" : "\",\"run\":";
    append(text, value.run);
    if (value.sequence > 0) {
        text += ",\"seq\":";
        append(text, value.sequence);
    }
    text += ",\"kind\":\"";
    text += modMessageJson::KindName(value.kind);
    text += '"';
    if (value.kind == MeasurementKind::Distance) {
        text += ",\"mm\":";
        append(text, std::int64_t{value.value_mm});
        text += ",\"value\":";
        append(text, value.value_mm / unit.millimetres, unit.decimals);
    }
    if (value.unit != sharedUnit) {
        text += ",\"unit\":\"";
        text += unit.name;
        text += '"';
    }
    if (isHistorical) {
        text += ",\"historical\":true";
    }
}

ordered_json identityOf(const SensorIdentity& identity)
{
    ordered_json members;
    for (const auto& [key, member] : JsonValues::kSensorTexts) {
        members[key] = modMessageJson::SensorText(identity.*member);
    }
    members["laser"] = modMessageJson::SensorText(identity.HWPointer);
    return members;
}

ordered_json accountOf(const AccountFigures& figures)
{
    ordered_json members;
    for (const auto& [key, count] : kAccountCounts) {
        members[key] = figures.*count;
    }
    members["longestGap_ms"] = std::round(figures.longestGap_ms);
    return members;
}

ordered_json headOf(std::optional<double> time)
{
    ordered_json message;
    message["v"] = modMessageJson::kVersion;
    message["time"] = timeOf(time);
    return message;
}

} // namespace

namespace modMessageJson {

std::string_view KindName(MeasurementKind kind)
{
    switch (kind) {
    case MeasurementKind::Distance:
        return "distance";
    case MeasurementKind::NoEcho:
        return "no echo";
    case MeasurementKind::TempError:
        break;
    }
    return "temperature error";
}

std::string_view ConnectionName(SensorConnection connection)
{
    switch (connection) {
    case SensorConnection::Connected:
        return "connected";
    case SensorConnection::NoAnswer:
        return "no answer";
    case SensorConnection::NoPort:
        break;
    }
    return "no port";
}

std::string SensorText(std::string_view bytes)
{
    return PlainText(Utf8Of(bytes), kLongestSensorText);
}

std::string Values(std::span<const GatewayValue> values, bool areHistorical)
{
    std::string text;
    text.reserve(values.size() * kValueSize + kValueSize);
    text += "{\"v\":";
    append(text, std::int64_t{kVersion});
    text += ',';
    if (values.size() == 1) {
        append(text, values.front(), -1, areHistorical);
    } else {
        const std::int32_t unit = values.empty() ? 0 : values.front().unit;
        text += "\"unit\":\"";
        text += UnitOf(unit).name;
        text += "\",\"values\":[";
        for (const GatewayValue& value : values) {
            text += &value == values.data() ? "{" : ",{";
            append(text, value, unit, areHistorical);
            text += '}';
        }
        text += ']';
    }
    text += '}';
    return text;
}

std::string Status(bool isOnline, std::optional<double> time, std::string_view version)
{
    ordered_json message = headOf(time);
    message["online"] = isOnline;
    message["version"] = version;
    return textOf(message);
}

std::string State(const SensorState& state)
{
    ordered_json message = headOf(state.time);
    message["connection"] = ConnectionName(state.connection);
    if (!state.whyNoPort.empty()) {
        message["reason"] = state.whyNoPort;
    }
    message["measuring"] = state.isMeasuring;
    message["temperature"] = state.temperature_C ? ordered_json(*state.temperature_C) : ordered_json();
    message["lastValue"] = timeOf(state.lastValue);
    message["age_s"] = ordered_json();
    if (state.lastValue) {
        const double age_s = std::max(state.time - *state.lastValue, 0.0) * kSecondsPerDay;
        message["age_s"] = std::round(age_s * kMsPerSecond) / kMsPerSecond;
    }
    message["identity"] = state.identity ? identityOf(*state.identity) : ordered_json();
    message["account"] = accountOf(state.account);
    ordered_json journal;
    journal["recording"] = state.isRecording;
    if (!state.whyNotRecording.empty()) {
        journal["reason"] = state.whyNotRecording;
    }
    journal["waiting"] = state.waiting;
    journal["dropped"] = state.dropped;
    message["journal"] = std::move(journal);
    return textOf(message);
}

std::string Parameters(const SensorIdentity& identity, const ParameterSet& set, double now)
{
    ordered_json message = headOf(now);
    message["serial"] = SensorText(identity.SerialNo);
    ordered_json list = ordered_json::array();
    for (const ComparedRow& compared : Compare(set, set)) {
        const ParameterDef& row = *compared.row;
        if (!IsReported(row, set, identity)) {
            continue;
        }
        ordered_json parameter;
        parameter["code"] = row.code;
        parameter["name"] = CaptionOf(row, LanguageEnglish);
        parameter["value"] = DataValue(row, set.*row.value);
        if (!row.unit.empty()) {
            parameter["unit"] = row.unit;
        }
        list.push_back(std::move(parameter));
    }
    message["parameters"] = std::move(list);
    return textOf(message);
}

std::string Event(const GatewayEvent& event, bool isHistorical, std::string_view sensor)
{
    ordered_json message = headOf(event.time);
    if (!sensor.empty()) {
        message["sensor"] = sensor;
    }
    message["run"] = event.run;
    message["seq"] = event.sequence;
    message["event"] = event.what;
    message["details"] = ordered_json::object();
    for (const auto& [name, value] : event.details) {
        message["details"][name] = value;
    }
    if (isHistorical) {
        message["historical"] = true;
    }
    return textOf(message);
}

std::string Answer(const CommandAnswer& answer, double now, std::string_view sensor)
{
    ordered_json message = headOf(now);
    if (!sensor.empty()) {
        message["sensor"] = sensor;
    }
    message["id"] = answer.id;
    message["result"] = answer.result;
    message["text"] = answer.text;
    message["values"] = ordered_json::array();
    for (const CommandAnswer::Value& value : answer.values) {
        ordered_json members;
        const auto add = [&](const char* key, const std::string& text) {
            if (!text.empty()) {
                members[key] = text;
            }
        };
        add("code", value.code);
        members["name"] = value.name;
        add("sent", value.sent);
        add("read", value.read);
        if (!value.sent.empty() || value.differs) {
            members["differs"] = value.differs;
        }
        message["values"].push_back(std::move(members));
    }
    return textOf(message);
}

} // namespace modMessageJson
