// The reasons why the system refuses a file, in the user's language. UTF-8.
#pragma once

#include "texts/TextId.h"

#include <cstdint>
#include <span>
#include <string>
#include <system_error>

namespace modErrorText {

struct KnownError {
    int number; ///< errno
    TextId text;
};
/// The errors that have a text.
std::span<const KnownError> Known();

/// A short sentence for the usual errors; for any other the system's own words.
std::string Of(const std::error_code& error, std::int32_t language);

} // namespace modErrorText
