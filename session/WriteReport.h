// What became of a write to the sensor: what each parameter was, should be, and is by the sensor's own word.
#pragma once

#include "sensor/Parameters.h"
#include "texts/TextId.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

/// Why the sensor was written to.
enum class WriteKind : std::uint8_t { Send, Store, Defaults, Undo, Single };

/// What became of one parameter, by what the sensor has said. What is read back counts more than a verdict: a value
/// that has become what was sent is `Taken`, although its acknowledgement was lost.
enum class ValueOutcome : std::uint8_t {
    Taken,      ///< sent, and read back as sent
    Rounded,    ///< acknowledged, and read back neither as sent nor as before
    Ignored,    ///< acknowledged, but read back as before
    Refused,    ///< the sensor has answered "E"
    Unanswered, ///< sent, and no verdict came
    NotSent,    ///< cancelled, or the write ended before
    Unasked,    ///< not sent, and read back with another value than before
    Unknown,    ///< acknowledged, and could not be read back
};

struct ValueReport {
    const ParameterDef* row = nullptr;
    std::int32_t before = 0; ///< as read before the write
    std::int32_t wanted = 0; ///< `before` when it was not to change
    std::optional<std::int32_t> readBack{};
    ValueOutcome outcome = ValueOutcome::NotSent;
    bool operator==(const ValueReport&) const = default;
};

/// How a write has ended. `Verified`: every frame was taken, and the sensor, read back, has every value as wanted and
/// no other value changed. After factory defaults, whose values the program does not know, it means that values have
/// changed or that all were the usual defaults already. `Differs`: every frame was acknowledged, but the values are not
/// as wanted. `Failed`: anything else.
enum class WriteResult : std::uint8_t { Verified, Differs, Failed };

/// What the question about a failure is about.
struct TransferFailure {
    const ParameterDef* row = nullptr;
    std::int32_t value = 0;
    bool isRefused = false;          ///< else nothing came
    std::size_t sent = 0, total = 0; ///< frames acknowledged so far, and all
};

struct WriteReport {
    WriteKind kind = WriteKind::Send;
    std::string serialNo{}; ///< of the sensor that was written to, one byte per character
    double time = 0.0;      ///< of its end, days since 1899-12-30, local time
    ParameterSet before{};  ///< as read before the write; Undo leads back to it
    ParameterSet after{};   ///< as read back; meaningless unless `isReadBack`
    /// Every parameter that was to change, has changed or was refused, in the order of codes. For factory defaults,
    /// `wanted` is what was read back.
    std::vector<ValueReport> values{};
    std::size_t frames = 0;    ///< to be sent
    std::size_t sent = 0;      ///< of them taken
    bool isReadBack = false;   ///< the sensor has said what it works with now
    bool isSameSensor = true;  ///< else another one answered before the end, and nothing is said about it
    bool hasRestarted = false; ///< it has lost what it had not stored, as its announcement says
    bool isCancelled = false;  ///< by the operator
    /// What it worked with when it last had nothing that was not stored, as far as this session knows; else `before`.
    std::optional<ParameterSet> stored{};
    bool isUnstored = false;        ///< something that it works with is not stored in it yet
    TextId reason = TextId::None;   ///< why it failed; None when it has not
    std::filesystem::path backup{}; ///< the file with `before`; empty when there is none
    std::error_code noBackup{};     ///< why there is none; no error when there is one, or none is kept
    WriteResult result = WriteResult::Failed;
};
