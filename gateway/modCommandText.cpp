#include "gateway/modCommandText.h"

#include "base/Days.h"
#include "base/IsoTime.h"
#include "base/PlainText.h"
#include "sensor/Parameters.h"
#include "store/JsonValues.h"

#include <algorithm>
#include <array>
#include <set>
#include <utility>
#include <vector>

namespace {

using JsonValues::json;

constexpr std::size_t kLongestId = 64, kLongestValue = 100; // bytes
constexpr std::size_t kLongestShown = 40;                   // characters
constexpr double kMinutesPerDay = 1440.0;

struct KindRow {
    std::string_view name;
    CommandKind kind;
};
constexpr std::array<KindRow, 7> kKinds{{{"start", CommandKind::Start},
                                         {"stop", CommandKind::Stop},
                                         {"single", CommandKind::Single},
                                         {"temperature", CommandKind::Temperature},
                                         {"laser", CommandKind::Laser},
                                         {"read", CommandKind::Read},
                                         {"write", CommandKind::Write}}};

std::string inQuotes(std::string_view text)
{
    return '"' + PlainText(text, kLongestShown) + '"';
}

/// Takes objects with a key that comes twice for no JSON: which of the two counts would be a guess.
class StrictParser {
public:
    json Parse(std::string_view text)
    {
        const auto watch = [this](int, json::parse_event_t event, json& value) {
            note(event, value);
            return true;
        };
        json parsed = json::parse(text, watch, false);
        return m_repeated.empty() ? parsed : json(json::value_t::discarded);
    }
    /// The key that comes twice; empty when there is none.
    const std::string& Repeated() const { return m_repeated; }

private:
    void note(json::parse_event_t event, const json& value)
    {
        if (event == json::parse_event_t::object_start) {
            m_keys.emplace_back();
        } else if (event == json::parse_event_t::object_end) {
            m_keys.pop_back();
        } else if (event == json::parse_event_t::key) {
            const auto& key = value.get_ref<const json::string_t&>();
            m_repeated = m_keys.back().insert(key).second ? m_repeated : inQuotes(key);
        }
    }

    std::vector<std::set<std::string>> m_keys;
    std::string m_repeated;
};

void complain(GatewayCommand& command, std::string problem)
{
    if (command.problem.empty()) { // the first one
        command.problem = std::move(problem);
    }
}

const std::string* textIn(const json& value)
{
    return value.get_ptr<const json::string_t*>();
}

void readVersion(const json& value, GatewayCommand& command)
{
    if (JsonValues::WholeOf(value, 1, 1) != 1) {
        complain(command, "only version 1 of commands is known here");
    }
}

void readId(const json& value, GatewayCommand& command)
{
    const std::string* id = textIn(value);
    if (id == nullptr || id->empty() || id->size() > kLongestId || PlainText(*id, kLongestId) != *id) {
        complain(command, "\"id\" takes 1 to 64 bytes of printable text");
    } else {
        command.id = *id;
    }
}

void readTime(const json& value, GatewayCommand& command)
{
    const std::string* text = textIn(value);
    const auto time = text == nullptr ? std::nullopt : TimeOfIso(*text);
    if (!time || !time->offset_min) {
        complain(command, "\"time\" takes a time like 2026-11-22T22:00:00.123Z");
    } else {
        command.time = time->time - *time->offset_min / kMinutesPerDay;
    }
}

void readKind(const json& value, GatewayCommand& command)
{
    const std::string* text = textIn(value);
    const auto* row = text == nullptr ? kKinds.end() : std::ranges::find(kKinds, *text, &KindRow::name);
    if (row == kKinds.end()) {
        complain(command, text == nullptr ? "\"command\" takes a text" : "there is no command " + inQuotes(*text));
    } else {
        command.kind = row->kind;
    }
}

void readTruth(const json& value, bool GatewayCommand::*member, const char* key, GatewayCommand& command)
{
    const bool* truth = value.get_ptr<const json::boolean_t*>();
    if (truth == nullptr) {
        complain(command, '"' + std::string(key) + "\" takes true or false");
    } else {
        command.*member = *truth;
    }
}

/// A number and a truth are taken as they would be typed.
std::optional<std::string> typedText(const json& value)
{
    if (const std::string* text = textIn(value)) {
        return *text;
    }
    if (const bool* truth = value.get_ptr<const json::boolean_t*>()) {
        return *truth ? "on" : "off";
    }
    return value.is_number() ? std::optional(value.dump()) : std::nullopt;
}

void readValues(const json& values, GatewayCommand& command)
{
    if (!values.is_object() || values.size() > kParameterCount) {
        complain(command, "\"values\" takes an object of parameters and their values");
        return;
    }
    for (const auto& [name, value] : values.items()) {
        std::optional<std::string> text = typedText(value);
        if (!text || text->size() > kLongestValue || name.size() > kLongestValue) {
            complain(command, "the value of " + inQuotes(name) + " is no text, number or truth, or too long");
        } else {
            command.values.emplace_back(name, std::move(*text));
        }
    }
}

void readMember(const std::string& key, const json& value, GatewayCommand& command)
{
    if (key == "v") {
        readVersion(value, command);
    } else if (key == "id") {
        readId(value, command);
    } else if (key == "time") {
        readTime(value, command);
    } else if (key == "command") {
        readKind(value, command);
    } else if (key == "on") {
        readTruth(value, &GatewayCommand::isOn, "on", command);
    } else if (key == "store") {
        readTruth(value, &GatewayCommand::stores, "store", command);
    } else if (key == "values") {
        readValues(value, command);
    } else {
        complain(command, "a command has no " + inQuotes(key));
    }
}

/// Keys without a meaning for this command are as wrong as missing ones.
void checkKeys(const json& object, GatewayCommand& command)
{
    const auto has = [&](const char* key) { return object.contains(key); };
    const bool isWrite = command.kind == CommandKind::Write;
    if (!has("id")) {
        complain(command, "\"id\" is missing");
    }
    if (!has("command")) {
        complain(command, "\"command\" is missing");
    }
    if (has("on") != (command.kind == CommandKind::Laser)) {
        complain(command, "\"on\" belongs to \"laser\"");
    }
    if ((has("values") && !isWrite) || (has("store") && !isWrite)) {
        complain(command, "\"values\" and \"store\" belong to \"write\"");
    }
    if (isWrite && command.values.empty()) {
        complain(command, "\"write\" takes \"values\"");
    }
}

} // namespace

namespace modCommandText {

std::string_view NameOf(CommandKind kind)
{
    return std::ranges::find(kKinds, kind, &KindRow::kind)->name;
}

void Read(std::string_view text, GatewayCommand& command)
{
    if (text.size() > kMostBytes) {
        complain(command, "a command has at most 64 KiB");
        return;
    }
    if (JsonValues::IsDeep(text)) {
        complain(command, "the command is nested too deep");
        return;
    }
    StrictParser parser;
    const json object = parser.Parse(text);
    if (!parser.Repeated().empty()) {
        complain(command, "the key " + parser.Repeated() + " comes twice");
        return;
    }
    if (!object.is_object()) {
        complain(command, "the command is no JSON object");
        return;
    }
    for (const auto& [key, value] : object.items()) {
        readMember(key, value, command);
    }
    checkKeys(object, command);
}

} // namespace modCommandText
