// Words of four bytes, and what speaks for each of the four ways of cutting bytes into them: which words are distances,
// which lie near the earlier distances, and which lie near each other. `clsFrameStep` decides with it.
#pragma once

#include "sensor/modReplySteps.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>

namespace modFramePhases {

inline constexpr std::int32_t kBlock = 8;         // distances
inline constexpr std::int32_t kMarkerMemory = 16; // frames
inline constexpr std::size_t kFew = 2;            // agreeing frames needed where nothing else is known
inline constexpr std::int64_t kNoise_mm = 200;    // the least that noise causes out of step

/// A word that would be a distance if its lowest byte were not 0.
inline bool IsVoid(std::uint32_t word)
{
    return word >> 24U == 0 && (word & 0xFFU) == 0;
}

inline bool IsMarker(std::uint32_t word)
{
    return word == 0x7FFFFFFFU || word == 0x7FFFFFF0U;
}

/// Two of its bytes identify a marker, but it has only these two values.
inline bool IsDistance(std::uint32_t word)
{
    return modReplySteps::IsFrame(word) && (word >> 24U != 0x7FU || IsMarker(word));
}

/// A distance that is no marker.
inline bool IsPlainDistance(std::uint32_t word)
{
    return word < 0x1000000U ? (word & 0xFFU) != 0 : word >= 0xFFE20000U;
}

/// How far a distance may move from one frame to the next. Below 0 the frames look like markers out of step.
inline bool IsNear(std::int64_t value, std::int64_t before)
{
    constexpr std::int64_t kLeastStep_mm = 100, kStepPart = 50;
    const std::int64_t step = std::abs(value - before);
    return (value < 0) == (before < 0) && (step <= kLeastStep_mm || step * kStepPart <= std::abs(before));
}

struct Range {
    std::int64_t lower = 0, upper = -1; ///< millimetres; empty when upper is below lower
    bool IsEmpty() const { return upper < lower; }
    void Include(std::int64_t value);
};
Range Widened(const Range& range);

/// Consecutive distances.
struct Block {
    std::int32_t frames = 0;
    Range range, wide; ///< of these distances, and widened by what may still belong to them
    void Include(std::int64_t value);
    bool Holds(std::int64_t value) const { return wide.lower <= value && value <= wide.upper; }
};

/// The last distances. The older block is forgotten when the newer one is full or the distance has changed.
struct Past {
    Block older{}, newer{};
    std::int64_t last = 0;
    std::int32_t sinceMarker = 1 << 16; ///< frames
    bool isKnown = false;

    /// A missing echo may come at any time. Distances just below 0 look like a marker when out of step, so only among
    /// them do the earlier frames count.
    bool IsCertainMarker() const;
    bool IsInRange(std::uint32_t word) const;
    /// A frame whose distance lies near the last ones.
    bool Fits(std::uint32_t word) const;
    bool IsNearLast(std::uint32_t word) const
    {
        return newer.frames > 0 && !IsMarker(word) && IsNear(modReplySteps::DecodeFrame(word), last);
    }
    /// In step, but it looks like a shifted frame, too: only this frame is lost, and the step is kept.
    bool IsPassedOver(std::uint32_t word) const;

    void Remember(std::uint32_t word);
    /// The same for so many distances in a row without a marker: what they have made of the newer block, and the last
    /// block that they have filled.
    void RememberRun(std::size_t frames, const std::optional<Range>& full, const Block& open, std::int64_t newest);
    void Forget() { older = newer = {}; }
};

/// Consecutive frames that lie near each other.
struct Run {
    std::size_t first = 0; ///< number of its first word
    std::size_t frames = 0;
    std::int64_t last = 0;
    Range level{};
};
/// How well one of the four ways of cutting bytes into frames works.
struct Phase {
    std::size_t words = 0;     ///< complete ones
    std::size_t distances = 0; ///< words that are frames
    std::size_t readable = 0;  ///< words from the first one on that have the bytes of a distance
    std::size_t leading = 0;   ///< words from the first one on that lie near the earlier distances
    std::size_t fitting = 0;   ///< the same, counted back from the last one
    Run present, agreeing;     ///< the last row of agreeing frames, and the longest
    Run tail, longest;         ///< the last row of frames, wherever they lie, and the longest
    bool isPossible = true;    ///< every word is a frame
    bool isReadable = true;    ///< every word has the bytes of a distance
    std::size_t markers = 0;   ///< words
    std::int64_t newest = 0;   ///< the last word's millimetres
};
using Phases = std::array<Phase, 4>;

Phase PhaseOf(std::string_view rest, std::size_t offset, const Past& past);
/// The way of cutting whose last words lie near the earlier ones, if there is one.
std::optional<std::size_t> BestFitting(const Phases& phases);
/// The way of cutting whose words lie closest together: out of step, the noise of the lowest byte moves to a higher
/// one. Empty while that is not clear.
std::optional<std::size_t> Closest(const Phases& phases);

/// Whether a lost or foreign byte in the first frame would also produce these bytes.
bool CanBeDamaged(std::string_view rest, const Phases& phases, const Past& past);
/// Whether damage in the first frame or before it would also produce these bytes.
bool IsExplained(std::string_view rest, const Phases& phases, const Past& past);

} // namespace modFramePhases
