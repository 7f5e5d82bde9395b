// Goes through the lines of a recording of the gateway, from file to file, and says which number each line has. Lines
// that are still being written are left for later, and damage never gives a line the number of another one.
#pragma once

#include "base/FileHandle.h"
#include "gateway/modPositions.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

enum class WalkStep : std::uint8_t {
    Line,       ///< a line of the usual length, or one that can be read
    Part,       ///< the walk goes on in the next file
    Unreadable, ///< a line that was cut off at the end of a file
    Lost,       ///< lines that are missing at the end of a file: their numbers are used up
    Torn,       ///< damage in which nobody knows how many lines there were; the numbers go on far behind, see below
    End,        ///< no further whole line now
    Misplaced,  ///< there is no line at the place where the walk should begin
    Failed      ///< a file cannot be read now, see `Failure`
};

class clsRecordingWalk {
public:
    /// Numbers from here on belong to lines behind damage. They depend on the place of the damage only, so a line that
    /// is read again gets the same one.
    static constexpr std::int64_t kBehindDamage = 100'000'000'000;
    static constexpr std::size_t kBuffer = std::size_t{1} << 16;

    /// `isClosed`: no line will follow. The buffer has `kBuffer` bytes and belongs to the walk while it lasts.
    clsRecordingWalk(std::filesystem::path folder, const RecordingKey& key, const LinePlace& from, bool isClosed,
                     std::vector<char>& buffer);

    WalkStep Next();
    /// Of the last `Line`, without its end.
    std::string_view Line() const { return m_line; }
    /// Behind the last step; it has used up the numbers from the one before to this.
    const LinePlace& Place() const { return m_place; }
    std::error_code Failure() const { return m_failure; }
    std::filesystem::path File() const;

private:
    std::optional<WalkStep> open();
    bool isAtLine(std::uint64_t size) const;
    std::optional<WalkStep> takeLine();
    std::optional<WalkStep> passEnd();
    WalkStep endPart();
    std::size_t fill();
    void pass(std::size_t bytes);
    bool isWhole(std::string_view line) const;
    std::optional<std::int32_t> nextPart() const;
    bool followsDirectly(std::int32_t part) const;
    std::int64_t numberBehindDamage(std::int32_t part, std::uint64_t offset) const;

    std::filesystem::path m_folder;
    RecordingKey m_key;
    LinePlace m_place;
    bool m_isClosed;
    std::vector<char>& m_buffer;
    FileHandle m_file;
    std::size_t m_begin = 0, m_end = 0; ///< of the bytes in the buffer; the first is at the place
    bool m_isPassingOver = false;       ///< the rest of a line that is too long
    std::uint64_t m_passedFrom = 0;     ///< its beginning
    std::optional<std::int32_t> m_next; ///< the file behind this one, once it is there
    std::string_view m_line;
    std::error_code m_failure;
};
