#include "sensor/modHearing.h"

#include "base/Numbers.h"
#include "sensor/ParameterSet.h"
#include "sensor/modFramePhases.h"
#include "sensor/modReplySteps.h"

#include <cstddef>
#include <cstdlib>

namespace modHearing {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::size_t kFewLines = 2, kFewCrcFrames = 2, kFewFrames = 3;
constexpr std::size_t kGoodToOdd = 8;   // frames for one that does not fit
constexpr std::int64_t kStep_mm = 2000; // between two values of a slow sensor

struct Lines {
    std::size_t values = 0, others = 0;
    bool haveUnit = false;
};

/// The first line may be a part of one, so it only counts if it is a value.
Lines linesIn(std::string_view bytes)
{
    Lines lines;
    for (bool isFirst = true;; isFirst = false) {
        const std::size_t end = bytes.find(kLineEnd);
        if (end == std::string_view::npos) {
            return lines;
        }
        const std::string_view line = bytes.substr(0, end);
        const auto distance = modReplySteps::ReadDistanceLine(line);
        const bool isValue = distance || Contains(line, "No Echo") || Contains(line, "TempErr!");
        lines.values += isValue ? 1 : 0;
        lines.others += isValue || isFirst ? 0 : 1;
        lines.haveUnit = lines.haveUnit || (distance && !distance->unit.empty());
        bytes.remove_prefix(end + kLineEnd.size());
    }
}

Heard heardText(std::string_view bytes)
{
    const Lines lines = linesIn(bytes);
    if (lines.values >= kFewLines && lines.values > 2 * lines.others) {
        return {.format = lines.haveUnit ? FormatAsciiUnit : FormatAscii};
    }
    return {.isPromising = lines.values > 0 && lines.others == 0};
}

Heard heardCrc(std::string_view bytes)
{
    const auto found = modReplySteps::FindCrcDistancesInDamage(bytes, std::nullopt);
    std::size_t row = 0, before = 0;
    for (const std::size_t start : found.starts) {
        row = row > 0 && start == before + modReplySteps::kCrcFrameSize ? row + 1 : 1;
        before = start;
        if (row == kFewCrcFrames) {
            return {.format = FormatBinaryCrc};
        }
    }
    return {.isPromising = row > 0};
}

/// A line at rest or one that is broken, not a distance of -1 mm.
bool isFlat(std::uint32_t word)
{
    return word == 0xFFFFFFFFU;
}

struct Words {
    std::size_t all = 0, frames = 0; ///< frames: those that are near the one before, and markers
};

Words wordsAt(std::string_view bytes, std::size_t offset)
{
    Words words;
    std::optional<std::int64_t> before;
    for (std::size_t at = offset; at + modReplySteps::kFrameSize <= bytes.size(); at += modReplySteps::kFrameSize) {
        const std::uint32_t word = modReplySteps::FrameWord(bytes, at);
        ++words.all;
        if (modFramePhases::IsMarker(word)) {
            ++words.frames;
        } else if (modFramePhases::IsDistance(word) && !isFlat(word)) {
            const std::int64_t value = modReplySteps::DecodeFrame(word);
            words.frames += !before || std::abs(value - *before) <= kStep_mm ? 1 : 0;
            before = value;
        }
    }
    return words;
}

/// Nothing marks a frame but the few values that its highest byte may have. So all must be frames, and near each other.
Heard heardFrames(std::string_view bytes)
{
    Heard heard;
    for (std::size_t offset = 0; offset < modReplySteps::kFrameSize; ++offset) {
        const Words words = wordsAt(bytes, offset);
        if (words.all == 0 || words.frames + words.all / kGoodToOdd < words.all) {
            continue;
        }
        if (words.all >= kFewFrames) {
            return {.format = FormatBinary};
        }
        heard.isPromising = true;
    }
    return heard;
}

} // namespace

Heard HeardIn(std::string_view bytes, bool isCleanLine)
{
    bool isPromising = false;
    for (const Heard& heard : {heardText(bytes), heardCrc(bytes), isCleanLine ? heardFrames(bytes) : Heard{}}) {
        if (heard.format) {
            return heard;
        }
        isPromising = isPromising || heard.isPromising;
    }
    return {.isPromising = isPromising};
}

} // namespace modHearing
