// The list of configurations: the connected sensor first, then the files that section "FILES" of "RVQ.ini" names.
// Lines count from 0, as a list box counts them.
#pragma once

#include "device/clsRVQ.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class clsConfigLibrary {
public:
    static constexpr std::size_t kDeviceLine = 0;
    /// Numbers above it are never read.
    static constexpr std::int32_t kMostFiles = 64;

    /// A list with nothing but the device entry. `iniFile` is the full path of the global settings file.
    explicit clsConfigLibrary(std::string iniFile);

    /// Reads the list anew: every number 1..64, gaps skipped; files without a description are left out in silence.
    void Build();

    std::size_t Size() const { return m_entries.size(); }
    /// A reference stays good until its entry is deleted. Throws std::out_of_range.
    clsRVQ& Entry(std::size_t line) const { return *m_entries.at(line); }
    /// What was last read from the sensor; it has no file and an empty description.
    clsRVQ& Device() const { return Entry(kDeviceLine); }

    /// Adds a file and returns its line; nothing when the file has no description. The path is kept by the next `Store`
    /// or `Delete`.
    std::optional<std::size_t> Import(const std::string& path);

    /// The first configuration with exactly this path; never the device entry.
    std::optional<std::size_t> Find(std::string_view path) const;
    /// Whether saving the selected line's values under a path would overwrite somebody else's entry.
    bool WouldOverwrite(std::string_view path, std::size_t selected) const;
    /// The line whose entry has this path; a new entry at the end when there is none.
    std::size_t FindOrAdd(const std::string& path);
    /// Names an entry, writes the list and then the entry's file. False when either could not be written; the entry
    /// stays in the list.
    bool Store(std::size_t line, const std::string& description);

    /// Whether a later start finds the entry once the list is written: it reads no line beyond `kMostFiles` and no path
    /// that is longer than a text of the file may be.
    bool ComesBack(std::size_t line) const;

    /// Takes a line from the list and writes the list; the file stays on the disk. Returns the line above, which is to
    /// be selected; nothing, and nothing done, for the device entry and beyond the end.
    std::optional<std::size_t> Delete(std::size_t line);

    /// Writes the numbered paths and an empty one as the end mark, in one step. Deliberate: higher numbers that a
    /// longer list has left stay, and a later start reads them again.
    bool Save() const;

private:
    std::string m_iniFile;
    std::vector<std::unique_ptr<clsRVQ>> m_entries;
};
