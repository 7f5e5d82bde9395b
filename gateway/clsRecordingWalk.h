// Goes through the lines of a recording of the gateway, from file to file, and says which number each line has. Lines
// that are still being written are left for later, and damage never gives a line the number of another one: behind it,
// lines are counted back from the end of the file, or from a place that was noted while recording.
#pragma once

#include "gateway/clsRecordingLines.h"
#include "gateway/modPositions.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

enum class WalkStep : std::uint8_t {
    Line,      ///< a line of the form that a recorder writes
    Part,      ///< the walk goes on in the next file, or behind damage whose numbers are used up already
    Hole,      ///< numbers that have no line here, see `Hole`
    Torn,      ///< the same, in damage behind which no number can be known; the numbers go on far behind
    End,       ///< no further whole line now
    Misplaced, ///< there is no line at the place where the walk should begin
    Failed     ///< a file cannot be read now, see `Failure`
};

class clsRecordingWalk {
public:
    /// Numbers from the first one on belong to lines behind damage whose own ones nobody knows; from the second on to
    /// lines between damage and other damage, behind which the numbers are known again. They depend on the place only,
    /// so a line that is read again gets the same one.
    static constexpr std::int64_t kBehindDamage = 100'000'000'000, kBetweenDamage = 4'000'000'000'000'000;
    static constexpr std::size_t kBuffer = clsRecordingLines::kBuffer;

    /// `noted` is a place of this recording whose number is known, behind `from`. `isClosed`: no line will follow. The
    /// buffer has `kBuffer` bytes and belongs to the walk while it lasts.
    clsRecordingWalk(std::filesystem::path folder, const RecordingKey& key, const LinePlace& from,
                     const std::optional<LinePlace>& noted, bool isClosed, std::vector<char>& buffer);

    WalkStep Next();
    /// Of the last `Line`, without its end.
    std::string_view Line() const { return m_lines.Line(); }
    /// Of the last `Hole` or `Torn`.
    const LineHole& Hole() const { return m_hole; }
    /// Behind the last step.
    const LinePlace& Place() const { return m_place; }
    std::error_code Failure() const { return m_failure; }
    std::filesystem::path File() const;

private:
    /// Where lines have known numbers again.
    struct Known {
        std::uint64_t offset = 0; ///< of this file; at its end or behind it: in the next one
        std::int64_t number = 0;
        std::int64_t kept = 0; ///< whole lines before it
    };
    /// What lies between two places of a file.
    struct Stretch {
        std::uint64_t lastFrom = 0;         ///< there, the last stretch without damage begins
        std::int64_t lines = 0, before = 0; ///< whole lines in it, and before it
        bool isComplete = false;            ///< it ends where it should
    };

    std::optional<WalkStep> open();
    std::optional<WalkStep> takeLine();
    std::optional<WalkStep> passEnd();
    WalkStep passDamage();
    WalkStep endPart();
    WalkStep goOnIn(std::int32_t part, std::optional<std::int64_t> first);
    WalkStep useUp(std::int64_t to, std::int64_t kept = 0);
    WalkStep tear(std::int64_t to);
    bool isBetween() const { return m_place.sequence >= kBetweenDamage; }
    const std::optional<Known>& known();
    std::optional<Known> findKnown() const;
    std::optional<Stretch> look(std::int32_t part, std::uint64_t from, std::uint64_t to) const;
    std::optional<std::int64_t> firstOf(std::int32_t part) const;
    std::optional<std::int64_t> behindPart() const;
    std::filesystem::path fileOf(std::int32_t part) const;
    std::optional<std::int32_t> nextPart() const;
    bool followsDirectly(std::int32_t part) const;
    std::int64_t numberBehindDamage(std::int32_t part, std::uint64_t offset) const;

    std::filesystem::path m_folder;
    RecordingKey m_key;
    LinePlace m_place;
    std::optional<LinePlace> m_noted;
    bool m_isClosed;
    clsRecordingLines m_lines;          ///< of the present file
    std::optional<Known> m_known;       ///< as it was found last, in this file
    std::optional<std::int32_t> m_next; ///< the file behind this one, once it is there
    LineHole m_hole;
    std::error_code m_failure;
};
