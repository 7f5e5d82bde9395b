// Reads the files in which the system shows its devices and processes. They may hold anything and vanish at any time:
// what cannot be read is empty.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace modSystemFiles {

/// The most bytes of one text.
inline constexpr std::size_t kLongestText = 256;

/// A name of the system below a root.
std::filesystem::path Inside(const std::filesystem::path& root, const std::filesystem::path& name);

/// The end of the links that begin with a name, all inside the root; empty when there are too many.
std::filesystem::path EndOf(const std::filesystem::path& name, const std::filesystem::path& root);

/// The first bytes of a regular file.
std::string HeadOf(const std::filesystem::path& file, std::size_t most);

/// The first line as UTF-8 as windows and terminals can show it (`PlainText`).
std::string OneLine(std::string_view bytes);

/// The first line of a file in a folder.
std::string Attribute(const std::filesystem::path& folder, const char* name);

/// The names in a folder.
std::vector<std::string> EntriesOf(const std::filesystem::path& folder);

} // namespace modSystemFiles
