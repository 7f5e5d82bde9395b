// The reason why the system refused a file, in the user's language.
#pragma once

#include <QString>

#include <cstdint>
#include <system_error>

/// A short sentence for the usual errors; for any other the system's own words.
QString FileErrorText(const std::error_code& error, std::int32_t language);

/// The same for an error known only in Qt's words, as from `QFileDevice::errorString`.
QString FileErrorText(const QString& words, std::int32_t language);
