// The folder store/ reads and writes the program's files: settings, configurations and their list, recordings, tables.
// It knows what a sensor's values are, but no dialogue and no window. Here: the INI layout, one complete read or write
// of the file with each call.
//
// Sections and keys are found without regard to the case of ASCII letters, and the first match wins; values are kept
// as they stand. Lines end with CR LF or LF. Reading never changes a file. Writing changes the one line it is about and
// leaves comments, order, spelling and whatever else is in the file as it was; new lines end with CR LF. A file that is
// no plain text, UTF-16 for instance, reads as one that holds nothing and is never written.
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

namespace modIni {

/// The whole number at the head of a value; 0 when there is none, the nearest limit when it is too large.
std::int32_t WholeNumberAtHead(std::string_view value);

/// The same of a key's value; `fallback` when the key is missing.
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
/// False when the file cannot be written; it is as it was then.
bool WritePrivateProfileStringA(std::string_view section, std::string_view key, std::string_view value,
                                const std::filesystem::path& file);

struct Entry {
    std::string key, value;
};

/// The same for several keys of a section in one step: a crash leaves all of them written or none. `why` says what was
/// in the way.
bool WriteEntries(std::string_view section, std::span<const Entry> entries, const std::filesystem::path& file,
                  std::error_code& why);
bool WriteEntries(std::string_view section, std::span<const Entry> entries, const std::filesystem::path& file);

/// What a file holds while it is being changed.
class Content {
public:
    explicit Content(std::string bytes) : m_bytes(std::move(bytes)) {}

    std::optional<std::string> Value(std::string_view section, std::string_view key) const;
    void Put(std::string_view section, const Entry& entry);
    const std::string& Bytes() const { return m_bytes; }

private:
    std::string m_bytes;
};

/// Reads the file, lets `edit` change it and writes it, in one step and with the folder locked, so that of two programs
/// none undoes what the other has just written. False, and the file as it was, when it cannot be read or written.
bool Change(const std::filesystem::path& file, const std::function<void(Content&)>& edit, std::error_code& why);

/// What a file holds now; of one that is missing, nothing. No value, with the reason, when it cannot be read.
std::optional<Content> ReadContent(const std::filesystem::path& file, std::error_code& why);

/// Whether these bytes can be an INI file: not when they begin as UTF-16 does, or when NUL bytes are all over.
bool IsPlainText(std::string_view bytes);

} // namespace modIni
