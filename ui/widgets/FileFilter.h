// Turns file types from the text table, "name|pattern|name|pattern", into filters for the file dialogs.
#pragma once

#include <QString>

/// The filters of a file dialog. "*.*" means all files; a text without patterns gets `fallback`, for example "*.rvq".
QString FileFilter(const QString& types, const QString& fallback);
