// What became of a write to the sensor: what each parameter was, should be, and is by the sensor's own word.
#pragma once

#include "sensor/Parameters.h"
#include "texts/TextId.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// Why the sensor was written to.
enum class WriteKind : std::uint8_t { Send, Store, Defaults, Undo, Single };

/// What became of one parameter.
enum class ValueOutcome : std::uint8_t {
    Taken,      ///< acknowledged, and read back as sent
    Rounded,    ///< acknowledged, and read back neither as sent nor as before
    Ignored,    ///< acknowledged, but read back as before
    Refused,    ///< the sensor has answered "E"
    Unanswered, ///< sent, and no verdict came
    NotSent,    ///< cancelled, or the write ended before
    Unasked,    ///< not sent, and read back with another value than before
    Unknown,    ///< acknowledged, and nothing could be read back
};

struct ValueReport {
    const ParameterDef* row = nullptr;
    std::int32_t before = 0; ///< as read before the write
    std::int32_t wanted = 0; ///< `before` when it was not to change
    std::optional<std::int32_t> readBack{};
    ValueOutcome outcome = ValueOutcome::NotSent;
    bool operator==(const ValueReport&) const = default;
};

/// The words of a passport.
enum class WriteResult : std::uint8_t { Verified, Differs, Failed };

struct WriteReport {
    WriteKind kind = WriteKind::Send;
    std::string serialNo{};            ///< of the sensor that was written to, one byte per character
    double time = 0.0;                 ///< of its end, days since 1899-12-30, local time
    ParameterSet before{};             ///< as read before the write; Undo leads back to it
    ParameterSet after{};              ///< as read back; meaningless unless `isReadBack`
    std::vector<ValueReport> values{}; ///< every parameter that was to change or has changed, in the order of codes
    std::size_t frames = 0;            ///< to be sent
    std::size_t sent = 0;              ///< of them acknowledged
    bool isReadBack = false;           ///< the sensor has said what it works with now
    bool isSameSensor = true;          ///< else another one answered before the end, and nothing is said about it
    bool hasRestarted = false;         ///< it works with what it had stored
    bool isCancelled = false;          ///< by the operator
    bool isUnstored = false;           ///< something that it works with is not stored in it yet
    TextId reason = TextId::None;      ///< why it failed; None when it has not
    std::filesystem::path backup{};    ///< the file with `before`; empty when there is none
    WriteResult result = WriteResult::Failed;
};
