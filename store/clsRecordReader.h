// A recording read from front to back in bounded memory, however long it is.
#pragma once

#include "base/FileHandle.h"
#include "store/modRecordLine.h"

#include <cstdint>
#include <filesystem>
#include <string_view>
#include <vector>

enum class RecordStep : std::uint8_t {
    Value,      ///< a line was read
    Unreadable, ///< a line could not be read
    Skipped,    ///< part of a line that is too long was skipped
    End
};

class clsRecordReader {
public:
    /// Longer lines are unreadable.
    static constexpr std::size_t kLongestLine = std::size_t{1} << 16;

    /// Throws std::system_error when the file does not exist, is not a regular one, or cannot be opened.
    explicit clsRecordReader(const std::filesystem::path& file);
    /// Opens a recording for reading; throws as the constructor does.
    static FileHandle Open(const std::filesystem::path& file);
    /// Reads an open recording from the line at `offset`; `date` is that of the line before, which a line without one
    /// takes. The file must stay open. Throws std::system_error when it is not a regular one.
    explicit clsRecordReader(int descriptor, std::uint64_t offset = 0, double date = 0.0);

    /// Reads the next line. Lines end with CR LF or LF; the last one needs no end. Throws std::system_error when the
    /// file cannot be read.
    RecordStep Next()
    {
        if (!m_skipping) {
            if (const std::size_t length = m_parser.TakeUsual({m_buffer.data() + m_begin, m_end - m_begin}, m_value)) {
                m_begin += length;
                m_lineLength = length;
                ++m_lineNumber;
                return RecordStep::Value;
            }
        }
        return nextOfAnyKind();
    }
    /// The line of the last `Value` step, valid until the next step.
    const modRecordLine::RecordedValue& Value() const { return m_value; }
    /// The number of the last line; the first is 1.
    std::int64_t LineNumber() const { return m_lineNumber; }
    /// Bytes read so far.
    std::uint64_t Position() const { return m_position; }
    /// Bytes before the last line, and the date that a line without one would have there.
    std::uint64_t Offset() const { return m_position - (m_end - m_begin) - m_lineLength; }
    double Date() const { return m_parser.Date(); }
    std::uint64_t Size() const { return m_size; }
    /// How much of the file has been read, 0..1.
    double Fraction() const;

private:
    explicit clsRecordReader(FileHandle file);
    RecordStep nextOfAnyKind();
    RecordStep take(std::string_view line);
    RecordStep skip();
    bool fill();

    FileHandle m_own; ///< closed unless the reader has opened the file itself
    int m_descriptor;
    std::uint64_t m_size = 0, m_position = 0;
    std::vector<char> m_buffer;
    std::size_t m_begin = 0, m_end = 0; ///< of the bytes in the buffer that are not taken yet
    std::size_t m_lineLength = 0;       ///< with its end
    bool m_skipping = false;
    std::int64_t m_lineNumber = 0;
    modRecordLine::clsLineParser m_parser;
    modRecordLine::RecordedValue m_value;
};
