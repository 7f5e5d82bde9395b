// File types as the text table writes them, "name|pattern|name|pattern", for the file dialogs.
#pragma once

#include <QString>

/// The filters of a file dialog. "*.*" means all files; a text without patterns gets `fallback`, "*.rvq" for instance.
QString FileFilter(const QString& types, const QString& fallback);
