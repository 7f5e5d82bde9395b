#include "gateway/modPositions.h"

#include "gateway/modTopic.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

namespace modPositions {

namespace {

constexpr std::size_t kChecksumDigits = 16;
constexpr char kSeparator = '\t';
constexpr std::int32_t kMostParts = 32767;
/// Receivers keep numbers with 53 bits.
constexpr std::int64_t kLargestNumber = std::int64_t{1} << 53U;

/// FNV-1a with 64 bits: a changed byte always changes it.
std::string checksumOf(std::string_view text)
{
    std::uint64_t sum = 14695981039346656037ULL;
    for (const char c : text) {
        sum = (sum ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    }
    std::string digits(kChecksumDigits, '0');
    for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit, sum >>= 4U) {
        *digit = "0123456789abcdef"[sum & 15U];
    }
    return digits;
}

/// The piece of a text before the next separator, which is taken away too.
std::string_view takePiece(std::string_view& text, char separator)
{
    const auto end = std::min(text.find(separator), text.size());
    const std::string_view piece = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return piece;
}

std::optional<std::int64_t> numberOf(std::string_view digits)
{
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const bool isNumber = error == std::errc() && end == digits.data() + digits.size();
    return isNumber && number >= 0 && number < kLargestNumber ? std::optional(number) : std::nullopt;
}

std::string textOf(const RecordingPosition& position)
{
    const auto& [key, place, next, acknowledged] = position;
    std::string text;
    for (const std::int64_t number : {key.run, key.first, std::int64_t{key.again}, std::int64_t{place.part},
                                      static_cast<std::int64_t>(place.offset), place.sequence, place.partFirst, next}) {
        text.append(text.empty() ? "" : ":").append(std::to_string(number));
    }
    for (const auto& [first, last] : acknowledged) {
        text += ',' + std::to_string(first) + '-' + std::to_string(last);
    }
    return text;
}

std::optional<RecordingPosition> recordingOf(std::string_view text)
{
    std::string_view head = takePiece(text, ',');
    std::array<std::int64_t, 8> numbers{};
    for (std::int64_t& number : numbers) {
        const auto read = numberOf(takePiece(head, ':'));
        if (!read) {
            return std::nullopt;
        }
        number = *read;
    }
    const auto [run, first, again, part, offset, sequence, partFirst, next] = numbers;
    const bool areFine = run >= 1 && first >= 1 && again >= 1 && again <= kMostParts && part >= 1 &&
                         part <= kMostParts && partFirst >= first && sequence >= partFirst && next >= sequence;
    if (!head.empty() || !areFine) {
        return std::nullopt;
    }
    RecordingPosition position{
        .key = {run, first, static_cast<std::int32_t>(again)},
        .place = {static_cast<std::int32_t>(part), static_cast<std::uint64_t>(offset), sequence, partFirst},
        .next = next};
    std::int64_t before = next;
    while (!text.empty()) {
        std::string_view range = takePiece(text, ',');
        const auto from = numberOf(takePiece(range, '-')), to = numberOf(range);
        if (!from || !to || *from <= before || *to < *from || position.acknowledged.size() >= kMostRanges) {
            return std::nullopt;
        }
        position.acknowledged.push_back({*from, *to});
        before = *to + 1;
    }
    return position;
}

std::optional<SensorPosition> sensorOf(std::string_view line)
{
    std::string_view text = WithoutChecksum(line);
    SensorPosition sensor;
    sensor.sensor = takePiece(text, kSeparator);
    const auto dropped = numberOf(takePiece(text, kSeparator));
    if (!modTopic::IsPart(sensor.sensor) || !dropped) {
        return std::nullopt;
    }
    sensor.dropped = *dropped;
    while (!text.empty()) {
        auto recording = recordingOf(takePiece(text, kSeparator));
        const bool isNext = recording && (sensor.recordings.empty() || sensor.recordings.back().key < recording->key);
        if (!isNext || sensor.recordings.size() >= kMostRecordings) {
            return std::nullopt;
        }
        sensor.recordings.push_back(std::move(*recording));
    }
    return sensor;
}

} // namespace

std::string WithChecksum(std::string_view text)
{
    return checksumOf(text).append(1, ' ').append(text);
}

std::string_view WithoutChecksum(std::string_view line)
{
    const bool isLong = line.size() > kChecksumDigits && line[kChecksumDigits] == ' ';
    const std::string_view text = isLong ? line.substr(kChecksumDigits + 1) : std::string_view();
    return isLong && checksumOf(text) == line.substr(0, kChecksumDigits) ? text : std::string_view();
}

std::string Write(std::span<const SensorPosition> sensors)
{
    std::string bytes;
    for (const SensorPosition& sensor : sensors) {
        std::string text = sensor.sensor + kSeparator + std::to_string(sensor.dropped);
        for (const RecordingPosition& recording : sensor.recordings) {
            text += kSeparator + textOf(recording);
        }
        bytes += WithChecksum(text) + '\n';
    }
    return bytes;
}

std::vector<SensorPosition> Read(std::string_view bytes)
{
    std::vector<SensorPosition> sensors;
    while (!bytes.empty()) {
        auto sensor = sensorOf(takePiece(bytes, '\n'));
        if (sensor && std::ranges::find(sensors, sensor->sensor, &SensorPosition::sensor) == sensors.end()) {
            sensors.push_back(std::move(*sensor));
        }
    }
    return sensors;
}

} // namespace modPositions
