// The folder store/ reads and writes the program's files: settings, configurations and their list, recordings, tables.
// It knows what a sensor's values are, but no dialogue and no window. Here: the INI layout. Each call reads or writes
// the complete file.
//
// Sections and keys are found without regard to the case of ASCII letters, and the first match wins; values are kept as
// they are. Lines end with CR LF or LF. Reading never changes a file. Writing changes its one line and leaves
// everything else as it was: comments, order, spelling. New lines end with CR LF. A file that is not plain text, UTF-16
// for instance, reads as empty and is never written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace modIni {

/// The whole number at the head of a value; 0 when there is none, the nearest limit when it is too large.
std::int32_t WholeNumberAtHead(std::string_view value);

/// The same for a key's value; `fallback` when the key is missing.
std::int32_t GetPrivateProfileIntA(std::string_view section, std::string_view key, std::int32_t fallback,
                                   const std::filesystem::path& file);

/// The value, `fallback` when the key is missing; cut to size - 1 characters.
std::string GetPrivateProfileStringA(std::string_view section, std::string_view key, std::string_view fallback,
                                     std::size_t size, const std::filesystem::path& file);

/// All entries of a section, "key=value", each ended by a NUL; cut to size - 2 characters.
std::string GetPrivateProfileSectionA(std::string_view section, std::size_t size, const std::filesystem::path& file);

/// The names of all sections, each ended by a NUL; cut to size - 2 characters.
std::string GetPrivateProfileSectionNamesA(std::size_t size, const std::filesystem::path& file);

/// Creates or replaces the key, with its section and the file as needed. A line end within the value becomes a blank.
/// False when the file cannot be written; it is unchanged then.
bool WritePrivateProfileStringA(std::string_view section, std::string_view key, std::string_view value,
                                const std::filesystem::path& file);

struct Entry {
    std::string key, value;
};

/// The same for several keys of a section in one step: a crash leaves all of them written or none. `why` gives the
/// reason for a failure.
bool WriteEntries(std::string_view section, std::span<const Entry> entries, const std::filesystem::path& file,
                  std::error_code& why);
bool WriteEntries(std::string_view section, std::span<const Entry> entries, const std::filesystem::path& file);

/// What a file holds while it is being changed.
class Content {
public:
    explicit Content(std::string bytes) : m_bytes(std::move(bytes)) {}

    std::optional<std::string> Value(std::string_view section, std::string_view key) const;
    /// All entries of the first section of that name, in their order.
    std::vector<Entry> Section(std::string_view section) const;
    void Put(std::string_view section, const Entry& entry);
    const std::string& Bytes() const { return m_bytes; }

private:
    std::string m_bytes;
};

/// Reads the file, lets `edit` change it and writes it, in one step and with the folder locked, so that no program
/// undoes what another has just written. False, with the file unchanged, when it cannot be read or written.
bool Change(const std::filesystem::path& file, const std::function<void(Content&)>& edit, std::error_code& why);

/// The present content of a file; empty when it is missing. No value, with the reason, when it cannot be read.
std::optional<Content> ReadContent(const std::filesystem::path& file, std::error_code& why);

enum class LineKind : std::uint8_t { Other, Section, Entry };

/// One line of a file, for those who look at all of them; the texts are views into the file's bytes.
struct Line {
    LineKind kind = LineKind::Other; ///< Other: a comment, blank, or nothing that is read
    bool blank = false;
    std::string_view name;  ///< of the section, or the key
    std::string_view value; ///< after the "="
    std::size_t next = 0;   ///< where the following line begins
};
/// The line that begins there.
Line LineAt(std::string_view bytes, std::size_t start);

/// Whether two sections or keys have the same name.
bool IsSameName(std::string_view a, std::string_view b);

/// Whether these bytes can be an INI file: not when they begin as UTF-16 does, or when they are full of NUL bytes or of
/// control characters.
bool IsPlainText(std::string_view bytes);

} // namespace modIni
