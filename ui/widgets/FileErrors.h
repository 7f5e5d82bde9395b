// The reason why the system refused a file, in the user's language, and the step at which it mostly does.
#pragma once

#include <QSaveFile>
#include <QString>

#include <cstdint>
#include <system_error>

/// A short sentence for the usual errors; for any other the system's own words.
QString FileErrorText(const std::error_code& error, std::int32_t language);

/// The same for an error known only in Qt's words, as from `QFileDevice::errorString`.
QString FileErrorText(const QString& words, std::int32_t language);

/// Puts a written file into its place; false, with the file's error, if any of it could not be written. `commit` alone
/// does not notice that a full disk has no room for what was still held back.
bool CommitFile(QSaveFile& file);
