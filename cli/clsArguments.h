// The words of a command line by their meaning: options with and without a value, and operands. An option may stand
// anywhere; "--" ends the options.
#pragma once

#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct OptionDef {
    std::string_view name;    ///< without the dashes
    char letter = 0;          ///< the short form, 0: none
    std::string_view value{}; ///< the name of its value in the help; empty: it takes none
    std::string_view help{};
};

/// The command line is wrong; the text says in English what is.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class clsArguments {
public:
    /// Reads `words` by these options: "--name value", "--name=value", "-n value", "-nvalue", and short options without
    /// a value in one word, "-qx". With `untilOperand` it ends in front of the first operand. Throws UsageError.
    clsArguments(std::span<const std::string_view> words, std::span<const OptionDef> options,
                 bool untilOperand = false);

    bool Has(std::string_view name) const { return !Values(name).empty(); }
    /// The value that was given last.
    std::optional<std::string_view> Value(std::string_view name) const;
    /// All values in their order; an empty one for an option that takes none.
    std::vector<std::string_view> Values(std::string_view name) const;
    std::span<const std::string_view> Operands() const { return m_operands; }
    /// How many of the words were read.
    std::size_t Read() const { return m_read; }

private:
    std::size_t takeLong(std::span<const std::string_view> words, std::span<const OptionDef> options);
    std::size_t takeShort(std::span<const std::string_view> words, std::span<const OptionDef> options);

    std::vector<std::pair<std::string_view, std::string_view>> m_options; ///< name and value
    std::vector<std::string_view> m_operands;
    std::size_t m_read = 0;
};
