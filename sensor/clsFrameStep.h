// Keeps step with a stream of 4-byte distances. The only marks are the few values that the highest byte may have: a
// lost, doubled or foreign byte shifts every later frame, and shifted frames can look right for ever. So frames are
// compared with the ones before them, and what a shift would explain waits until later bytes decide.
#pragma once

#include "sensor/clsSampleList.h"
#include "sensor/modFramePhases.h"

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
    using Phases = modFramePhases::Phases;
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
    bool passesOver(std::uint32_t word);

    modFramePhases::Past m_past;
    // Since the last distance: words that would be distances if their lowest byte were not 0.
    modFramePhases::Range m_voids;
    std::vector<Pending> m_pending;
    bool m_isHolding = false;     // the present look holds something back
    std::int32_t m_looksHeld = 0; // looks with new bytes that held the same words
};
