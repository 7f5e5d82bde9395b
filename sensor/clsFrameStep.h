// Keeps step with a stream of 4-byte distances. The only marks are the few values that the highest byte may have: a
// lost, doubled or foreign byte shifts every later frame, and shifted frames can look right for ever. So frames are
// compared with the ones before them, and what a shift would explain waits until later bytes decide.
#pragma once

#include "sensor/clsSampleList.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

class clsFrameStep {
public:
    struct Found {
        std::size_t consumed = 0;              ///< bytes that are finished; the others wait for more
        std::vector<std::int32_t> held_mm;     ///< the newest distance of each earlier look that was held back
        std::optional<std::int32_t> newest_mm; ///< of this look
        std::int32_t damaged = 0;              ///< frames that were given up, as far as that can be known
    };
    /// The distances in `bytes`, which begin where the look before stopped. `paused`: nothing has come since that look,
    /// so every frame that was sent is complete. Undamaged frames are returned as soon as they are complete, except one
    /// that a shift of the frames before it would also explain: it is held back until later frames or a pause decide.
    /// Takes time linear in the bytes; at most 64 of them remain.
    /// All these frames become samples; those of a look that holds something back are deferred until it is reported. A
    /// frame in step whose lowest byte is 0 becomes one too, although it is never the newest distance: 0 itself is a
    /// missing echo.
    Found Take(std::string_view bytes, bool paused, clsSampleList& samples);

    /// The bytes begin anew after a command; the sensor is the same.
    void Restart();
    /// Another sensor: its distances may be anywhere.
    void Forget();

private:
    struct Range {
        std::int64_t lower = 0, upper = -1; ///< millimetres; empty when upper is below lower
        bool IsEmpty() const { return upper < lower; }
        void Include(std::int64_t value);
    };
    static Range widened(const Range& range);
    /// Consecutive distances.
    struct Block {
        std::int32_t frames = 0;
        Range range, wide; ///< of these distances, and widened by what may still belong to them
        void Include(std::int64_t value);
        bool Holds(std::int64_t value) const { return wide.lower <= value && value <= wide.upper; }
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
    /// A look whose newest frame has not been reported yet.
    struct Pending {
        std::size_t end = 0; ///< words, counted from the first held one
        std::optional<std::int32_t> newest_mm;
    };
    enum class Verdict : std::uint8_t { Accept, Hold, Move };

    /// What a look works with.
    struct Look {
        std::string_view bytes;
        clsSampleList& samples;
        std::size_t reported = 0; ///< samples whose look has been reported
        Found found{};
    };

    std::size_t takeFitting(std::size_t at, Look& look);
    std::size_t takeRun(std::size_t at, Look& look);
    bool isVoidInStep(std::string_view bytes, std::size_t at) const;
    void accept(std::size_t at, Look& look);
    void release(std::size_t at, Look& look);
    void hold(std::size_t at, std::size_t end, Found& found);
    Verdict judgeNearby(std::string_view rest, bool paused, std::size_t& move);
    Verdict judge(std::string_view rest, bool paused, std::size_t& move);
    Verdict judgeWithoutPast(std::string_view rest, bool paused, std::size_t& move) const;
    static Verdict judgeComplete(std::string_view rest, const Phases& phases, std::size_t& move);
    static Verdict moveTo(std::size_t offset, std::size_t words, std::string_view rest, const Phases& phases,
                          std::size_t& move);
    static std::optional<std::size_t> bestFitting(const Phases& phases);
    static std::optional<std::size_t> closest(const Phases& phases);
    static std::optional<std::size_t> closest(const Phases& phases, Run Phase::*run, std::size_t least,
                                              bool lengthCounts);

    Phase phaseOf(std::string_view rest, std::size_t offset) const;
    static void followRun(Phase& phase, bool isDistance, std::int64_t value);
    bool isCertainMarker() const;
    bool isInRange(std::uint32_t word) const;
    bool fits(std::uint32_t word) const;
    bool isPassedOver(std::uint32_t word) const;
    bool isNearLast(std::uint32_t word) const;
    bool isNearer(std::uint32_t word, std::uint32_t first) const;
    bool canHaveLost(std::string_view rest) const;
    bool canHaveGained(std::string_view rest) const;
    bool canBeDamaged(std::string_view rest, const Phases& phases) const;
    bool isExplained(std::string_view rest, const Phases& phases) const;
    bool passesOver(std::uint32_t word);
    void forgetPast();
    void remember(std::uint32_t word);

    // The last distances. The older block is forgotten when the newer one is full or the distance has changed.
    Block m_older, m_newer;
    std::int64_t m_last = 0;
    Range m_voids; // since the last distance: words that would be distances if their lowest byte were not 0
    std::int32_t m_sinceMarker = 1 << 16; // frames
    bool m_hasPast = false;
    std::vector<Pending> m_pending;
    bool m_isHolding = false;     // the present look holds something back
    std::int32_t m_looksHeld = 0; // looks with new bytes that held the same words
};
