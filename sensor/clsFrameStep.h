// Keeps step with a stream of 4-byte distances, whose only marks are the few values that the highest byte may have: a
// lost, doubled or foreign byte shifts every later frame, and shifted frames can look right for ever. So frames are
// held against the ones before them, and what a shift would explain waits until the bytes behind it tell.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

class clsFrameStep {
public:
    struct Found {
        std::size_t consumed = 0;              ///< bytes that are done with; those behind wait for more
        std::vector<std::int32_t> held_mm;     ///< the newest of each earlier look that had to be held back
        std::optional<std::int32_t> newest_mm; ///< of this look
        std::int32_t damaged = 0;              ///< places where bytes were given up
    };
    /// The distances among `bytes`, which begin where the look before has stopped. `paused`: nothing has come since
    /// that look, so every frame that was sent is complete. Undamaged frames come out as soon as they are complete, but
    /// for one that a shift of the frames before would explain, too: it is held back until those behind it tell, or a
    /// pause. Takes time linear in the bytes; at most 64 of them are left.
    Found Take(std::string_view bytes, bool paused);

    /// The bytes begin anew, behind a command; the sensor is the same.
    void Restart();
    /// Another sensor: its distances may be anywhere.
    void Forget();

private:
    struct Range {
        std::int64_t lower = 0, upper = -1; ///< millimetres; empty when upper is below lower
        bool IsEmpty() const { return upper < lower; }
        void Include(std::int64_t value);
    };
    /// Distances that followed each other.
    struct Block {
        std::int32_t frames = 0;
        Range range, wide; ///< theirs, and widened by what may still belong to them
        void Include(std::int64_t value);
        void Widen(const Range& all);
        bool Holds(std::int64_t value) const { return wide.lower <= value && value <= wide.upper; }
    };
    /// Frames in a row that lie near each other.
    struct Run {
        std::size_t first = 0; ///< number of its first word
        std::size_t frames = 0;
        std::int64_t last = 0;
        Range level{};
    };
    /// How one of the four ways to cut bytes into frames does.
    struct Phase {
        std::size_t words = 0;     ///< complete ones
        std::size_t distances = 0; ///< words that are frames
        std::size_t readable = 0;  ///< words, counted from the first one, that have the bytes of a distance
        std::size_t leading = 0;   ///< likewise: near the distances before
        std::size_t fitting = 0;   ///< the same, counted from the last one back
        Run present, agreeing;     ///< the last row that agrees, and the longest
        Run tail, longest;         ///< the last frames in a row, wherever they lie, and the most
        bool isPossible = true;    ///< every word is a frame
        bool isReadable = true;    ///< every word has the bytes of a distance
        std::size_t markers = 0;   ///< words
        std::int64_t newest = 0;   ///< the last word's millimetres
    };
    using Phases = std::array<Phase, 4>;
    /// A look whose newest frame is not told yet.
    struct Pending {
        std::size_t end = 0; ///< words, counted from the first one that is held
        std::optional<std::int32_t> newest_mm;
    };
    enum class Verdict : std::uint8_t { Accept, Hold, Move };

    std::size_t takeFitting(std::string_view bytes, std::size_t at, Found& found);
    std::size_t takeRun(std::string_view bytes, std::size_t at, Found& found);
    void accept(std::uint32_t word, Found& found);
    void release(std::size_t at, Found& found);
    void hold(std::size_t at, std::size_t end, Found& found);
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

    // The last distances; the older block is forgotten when the newer one is full, or the distance has changed.
    Block m_older, m_newer;
    std::int64_t m_last = 0;
    Range m_voids; // since the last distance: what would be distances, were their lowest byte not 0
    std::int32_t m_sinceMarker = 1 << 16; // frames
    bool m_hasPast = false;
    std::vector<Pending> m_pending;
    bool m_isHolding = false;     // the present look
    std::int32_t m_looksHeld = 0; // with new bytes, on the same words
};
