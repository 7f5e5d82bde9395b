// The JSON texts of messages, whatever topic or payload they travel in. docs/fleet-messages.md has every field.
#pragma once

#include "gateway/GatewayMessages.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace modMessageJson {

/// The version in each message. It stays the same while fields are only added.
inline constexpr int kVersion = 1;

/// "distance", "no echo", "temperature error".
std::string_view KindName(MeasurementKind kind);
/// "connected", "no answer", "no port".
std::string_view ConnectionName(SensorConnection connection);
/// A text of the sensor, one byte per character, as printable UTF-8.
std::string SensorText(std::string_view bytes);

/// One value as an object of its own; several share one.
std::string Values(std::span<const GatewayValue> values, bool areHistorical);
/// `time` is empty in what a broker says when the gateway has vanished: nobody knows when.
std::string Status(bool isOnline, std::optional<double> time, std::string_view version);
std::string State(const SensorState& state);
std::string Parameters(const SensorIdentity& identity, const ParameterSet& set, double now);
/// `sensor` is named in the text where the topic does not name it.
std::string Event(const GatewayEvent& event, bool isHistorical, std::string_view sensor = {});
std::string Answer(const CommandAnswer& answer, double now, std::string_view sensor = {});

} // namespace modMessageJson
