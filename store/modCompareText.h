// A comparison of two sets as text: for the clipboard, for spreadsheets, and as a sheet for the printer. UTF-8.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace modCompareText {

/// The first line holds the names of the columns; a line of one field is a heading.
using Lines = std::vector<std::vector<std::string>>;

/// Fields with a tab between them; a tab or line end inside a field becomes a blank.
std::string TabSeparated(const Lines& lines);
/// RFC 4180: commas, CR LF, quotes where a field needs them.
std::string Csv(const Lines& lines);
/// Columns of equal width.
std::string Aligned(const Lines& lines);

/// The path of the sheet in a program folder.
std::filesystem::path SheetFile(const std::filesystem::path& programFolder);

} // namespace modCompareText
