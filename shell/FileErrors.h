// Why the system refused a file, in the user's language.
#pragma once

#include <QString>

#include <cstdint>
#include <system_error>

/// A short sentence for the errors that a user can do something about, else the system's own words.
QString FileErrorText(const std::error_code& error, std::int32_t language);
