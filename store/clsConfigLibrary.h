// The list of configurations: the connected sensor first, then the files that section "FILES" of "RVQ.ini" names.
// Lines count from 0, as a list box counts them.
#pragma once

#include "store/Configuration.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

/// A file that could not be written, and why; no error when all were.
struct UnwrittenFile {
    std::string file = {};
    std::error_code why = {};
    bool isList = false; ///< the file with the list, not one with a configuration
};

class clsConfigLibrary {
public:
    static constexpr std::size_t kDeviceLine = 0;
    /// Numbers above it are never read.
    static constexpr std::int32_t kMostFiles = 64;

    /// A list with nothing but the device entry. `iniFile` is the full path of the global settings file.
    explicit clsConfigLibrary(std::string iniFile);

    /// Reads the list anew: every number 1..64, skipping gaps; files without a description are left out without a
    /// message.
    void Build();

    std::size_t Size() const { return m_entries.size(); }
    /// A reference stays valid until its entry is deleted. Throws std::out_of_range.
    Configuration& Entry(std::size_t line) const { return *m_entries.at(line).configuration; }
    /// What was last read from the sensor; it has no file and an empty description.
    Configuration& Device() const { return Entry(kDeviceLine); }

    /// Adds a file and returns its line; nothing when the file has no description. The next `Store` or `Delete` saves
    /// the path.
    std::optional<std::size_t> Import(const std::string& path);

    /// The first configuration with exactly this path; never the device entry.
    std::optional<std::size_t> Find(std::string_view path) const;
    /// Whether saving the selected line's values under a path would overwrite another line's entry.
    bool WouldOverwrite(std::string_view path, std::size_t selected) const;
    /// The line whose entry has this path; a new entry at the end when there is none.
    std::size_t FindOrAdd(const std::string& path);
    /// Whether an entry's file has changed on the disk since the entry was read from it or written to it. False when
    /// the file is gone, or when the entry has never been in it.
    bool HasChangedOnDisk(std::size_t line) const;
    /// Reads an entry's file again. False, with the entry unchanged, when the file no longer has a description.
    bool ReadAgain(std::size_t line);
    /// Names an entry, writes the list and then the entry's file, even if the list could not be written. When neither
    /// could be written, the result is about the entry's file; the entry stays in the list.
    UnwrittenFile Store(std::size_t line, const std::string& description);

    /// Whether a later start finds the entry once the list is written: it reads no line beyond `kMostFiles` and no path
    /// longer than a text in the file may be.
    bool ComesBack(std::size_t line) const;

    /// Removes a line from the list and writes the list; the file stays on the disk. Returns the line above, which
    /// becomes the selected one. For the device entry and beyond the end it does nothing and returns nothing.
    std::optional<std::size_t> Delete(std::size_t line, UnwrittenFile& unwritten);

    /// Writes the numbered paths and an empty one as the end mark, in one step. What another program has added to the
    /// list since it was read stays, and what it has removed does not come back. Deliberate: higher numbers left over
    /// from a longer list stay, and a later start reads them again.
    UnwrittenFile Save();

private:
    struct Listed {
        std::unique_ptr<Configuration> configuration;
        std::optional<std::string> bytes = {}; ///< of its file, as last read or written here
        bool isListed = true;                  ///< false once another program has removed it from the list
    };
    using Paths = std::vector<std::string>;

    static Listed loaded(const std::string& path);
    UnwrittenFile save(const Listed* stored);
    void takeOver(const Paths& inFile, const Listed* stored);

    std::string m_iniFile;
    std::vector<Listed> m_entries;
    Paths m_inFile; ///< the list as it stood in the file when it was last read or written
    Paths m_others; ///< what other programs have added to it since; a later start shows it
};
