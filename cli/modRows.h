// Rows of data in the three forms that a command can print: aligned columns, CSV and JSON.
#pragma once

#include "cli/clsArguments.h"
#include "cli/clsSampleFormat.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

class clsProgram;

namespace modRows {

inline constexpr OptionDef kJsonOption = {"json", 0, "", "the same as --format json"};

/// The form that `kFormatOption` and this one ask for. Throws UsageError.
OutputKind FormatOf(const clsArguments& arguments);

using Rows = std::vector<std::vector<std::string>>; ///< UTF-8

/// Columns of equal width, without a blank at the end of a line.
void PrintText(clsProgram& program, const Rows& rows);
/// RFC 4180, but lines end as they do here. The first row holds the names of the columns.
void PrintCsv(clsProgram& program, const Rows& rows);

/// A text (UTF-8) as JSON.
std::string Quoted(std::string_view text);
inline std::string Truth(bool value)
{
    return value ? "true" : "false";
}
/// An object of keys and values that are JSON already.
std::string Object(const std::vector<std::pair<std::string_view, std::string>>& members);
std::string Array(const std::vector<std::string>& values);

} // namespace modRows
