// Goes through the bytes of one file of a recording and tells whole lines from damage. It knows no numbers.
#pragma once

#include "base/FileHandle.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

enum class LineStep : std::uint8_t {
    Line,   ///< a whole one
    Damage, ///< bytes that are no whole line; a piece of it, others may follow
    End,    ///< of what is there now; see `Rest`
    Failed  ///< the file cannot be read now
};

class clsRecordingLines {
public:
    static constexpr std::size_t kBuffer = std::size_t{1} << 16;

    /// The buffer has `kBuffer` bytes and is used while this lasts.
    explicit clsRecordingLines(std::vector<char>& buffer) : m_buffer(buffer) {}

    /// Begins at this place; no error is none.
    std::error_code Open(const std::filesystem::path& file, std::uint64_t offset);
    void Close() { m_file = FileHandle(); }
    bool IsOpen() const { return m_file.IsOpen(); }
    /// Whether a line can begin at the place, behind a line end or behind damage.
    bool IsAtLine() const;

    LineStep Next();
    /// Of the last `Line`, without its end.
    std::string_view Line() const { return m_line; }
    /// Behind the last step.
    std::uint64_t Offset() const { return m_isPassingOver ? m_passedFrom : m_offset; }
    std::uint64_t Size() const { return m_size; } ///< when it was opened
    std::error_code Failure() const { return m_failure; }
    /// After `End`: bytes without a line end, perhaps of a line that is being written; and goes on behind them.
    bool HasRest() const { return m_begin < m_end || m_isPassingOver; }
    void PassRest();

private:
    std::size_t fill();
    void pass(std::size_t bytes);

    std::vector<char>& m_buffer;
    FileHandle m_file;
    std::uint64_t m_offset = 0, m_size = 0;
    std::size_t m_begin = 0, m_end = 0; ///< of the bytes in the buffer; the first is at the offset
    bool m_isPassingOver = false;       ///< the rest of a line that is too long
    std::uint64_t m_passedFrom = 0;     ///< its beginning
    std::string_view m_line;
    std::error_code m_failure;
};
