// The folder config/ reads and writes files in the INI layout and keeps the configuration library. Here: the sections
// and entries of one file, read without changing it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace modIni {

/// Key and value, both without blanks around them.
using Entry = std::pair<std::string, std::string>;

/// The entries of the first section of that name (ASCII letters of either case), in the file's order. Lines end with LF
/// or CR LF; comments (";") and lines without "=" are passed over. Empty when file or section cannot be read.
std::vector<Entry> ReadSection(const std::filesystem::path& file, std::string_view section);

/// The value of the first entry with that key (ASCII letters of either case); empty when there is none.
std::string ValueOf(const std::vector<Entry>& entries, std::string_view key);

} // namespace modIni
