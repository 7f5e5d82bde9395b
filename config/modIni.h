// The folder config/ reads and writes files in the INI layout and keeps the configuration library. Here: the profile
// functions, each of them one complete read or write of the file.
//
// Sections and keys are found without regard to the case of ASCII letters, and the first match wins; values are kept
// as they stand. Lines end with CR LF or LF. Reading never changes a file. Writing changes the one line it is about and
// leaves comments, order, spelling and whatever else is in the file as it was; new lines end with CR LF.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

namespace modIni {

/// The whole number at the head of a value; 0 when there is none, the nearest limit when it is too large. `fallback`
/// when the key is missing.
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

/// The same for several keys of a section in one step: a crash leaves all of them written or none.
bool WriteEntries(std::string_view section, std::span<const Entry> entries, const std::filesystem::path& file);

} // namespace modIni
