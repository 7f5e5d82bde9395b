// One INI file, read by type: everything that the program keeps is saved and loaded through it.
#pragma once

#include "store/modIni.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

class clsIni {
public:
    /// A value whose type chooses how it is read; std::monostate is "nothing".
    using Variant = std::variant<std::monostate, bool, std::int16_t, std::int32_t, float, double, std::string>;

    /// The most characters that are read of a text.
    static constexpr std::size_t kLongestText = 254;

    /// Points at "RVQ.ini" in the program's folder. Numbers are read with `decimalSeparator` or a point.
    clsIni(const std::string& programFolder, char decimalSeparator);

    const std::string& Filename() const { return m_filename; }
    /// The name is stored without blanks around it. The file need not exist.
    void Filename(std::string_view filename);

    /// The value of a key, in the type of `Default`: an std::int32_t for the whole numbers, a double for float and
    /// double (at most 63 characters; throws std::invalid_argument when it is not a number), a trimmed text of at most
    /// `kLongestText` characters. `Default` itself when a name is blank or the key is missing.
    /// Deliberate: for a boolean default the result is nothing; the program never asks for one.
    /// Without `FromIniFile` there is no store to read from, so the result is `Default`.
    Variant GetSetting(std::string_view Section, std::string_view Name, const Variant& Default,
                       bool FromIniFile = true) const;
    /// All entries "key=value" of a section with a NUL between them, as many as fit into 1023 characters. No window
    /// uses it today; it belongs to the operations of an INI file.
    std::string GetSection(std::string_view Section) const;
    /// All section names with a NUL between them, as many as fit into 1023 characters. No window uses it today; it
    /// belongs to the operations of an INI file.
    std::string GetSectionNames() const;
    /// Writes the value as it stands. False when it could not be written, or without `ToIniFile`.
    bool WriteSetting(std::string_view Section, std::string_view Name, std::string_view Setting,
                      bool ToIniFile = true) const;

private:
    double numberOf(std::string_view section, std::string_view name, double fallback) const;

    std::string m_filename;
    char m_decimalSeparator;
};
