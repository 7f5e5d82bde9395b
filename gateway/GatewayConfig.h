// The folder gateway/ is rvqd, a service without a window: it runs a session for each of many sensors in one thread,
// keeps their values in recordings, and publishes them through an MQTT broker. Here: what its configuration says.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

/// What a message from outside may ask for, each only when the configuration names it.
enum class CommandKind : std::uint8_t { Start, Stop, Single, Temperature, Laser, Read, Write };

enum class PayloadKind : std::uint8_t { Json, Sparkplug };

/// The section "SENSOR name".
struct SensorConfig {
    std::string name;                     ///< UTF-8, part of a topic and the name of a folder
    std::string port;                     ///< a number, a device, a stable name, or the address of a network line
    std::int32_t rate = 9600;             ///< bit/s
    bool measures = true;                 ///< starts measuring as soon as the sensor answers, again after every loss
    std::int32_t temperature_s = 0;       ///< how often the temperature is read while measuring; 0: never
    bool records = true;                  ///< every value goes into recordings, from which it is sent again
    std::optional<std::int32_t> every_ms; ///< only one value in so much time is recorded and sent; none: every one
    bool operator==(const SensorConfig&) const = default;
};

/// The section "BROKER".
struct BrokerConfig {
    std::string host =
        "127.0.0.1"; ///< several of a cluster with commas, tried in turn; "host:port" has a port of its own
    std::uint16_t port = 1883;
    bool usesTls = false;
    bool mayBePlain = false;                    ///< values may go to another host without TLS
    std::filesystem::path ca, certificate, key; ///< PEM
    std::string user;
    std::filesystem::path passwordFile; ///< its first line is the password
    std::string clientId;               ///< empty: "orvex-" and the name of the gateway
    std::string prefix = "orvex";       ///< of the topics; with Sparkplug the group
    PayloadKind format = PayloadKind::Json;
    std::int32_t batch_ms = 0;      ///< values wait so long for others of their sensor; 0: each is sent at once
    std::int32_t batchValues = 100; ///< but no more of them than this
    bool operator==(const BrokerConfig&) const = default;
};

struct GatewayConfig {
    std::string name = "gateway";                    ///< part of a topic
    std::filesystem::path folder = "/var/lib/orvex"; ///< of recordings, positions, backups and passports
    std::int64_t journal_MiB = 10240;                ///< recordings of all sensors together
    std::int32_t journal_days = 30;
    std::set<CommandKind> allowed; ///< nothing unless named
    BrokerConfig broker;
    std::vector<SensorConfig> sensors;
    bool operator==(const GatewayConfig&) const = default;
};

/// What is wrong with a configuration.
struct ConfigProblem {
    std::int32_t line = 0; ///< 1 is the first; 0: the file as a whole
    std::string text;      ///< English, one sentence
};

/// A file that a configuration names.
struct NamedFile {
    std::int32_t line = 0;
    std::string key;
    std::filesystem::path path;
    bool isSecret = false; ///< nobody but its owner and its group may read it
};

struct ReadGatewayConfig {
    GatewayConfig config;
    std::vector<ConfigProblem> problems; ///< none: it can be used; in the order of their lines
    std::vector<NamedFile> files;
    std::int32_t folderLine = 0;
    std::vector<std::int32_t> portLines{}; ///< of the sensors, in their order
};

/// Reads a configuration in the INI layout. A key or section that it does not know is a problem, too: a typing error
/// must not change what a service does.
ReadGatewayConfig ParseGatewayConfig(std::string_view bytes);

/// The same for a file. Whether the files that it names can be used is looked at, too.
ReadGatewayConfig LoadGatewayConfig(const std::filesystem::path& file);
