#include "ui/widgets/FileFilter.h"

#include <QStringList>

QString FileFilter(const QString& types, const QString& fallback)
{
    const QStringList parts = types.split(u'|');
    QStringList filters;
    for (qsizetype i = 0; i < parts.size(); i += 2) {
        const QString written = i + 1 < parts.size() ? parts[i + 1] : fallback;
        const QString pattern = written == QLatin1String("*.*") ? QStringLiteral("*") : written;
        // A dialog takes the last pair of brackets as the pattern.
        const QString name = parts[i].section(u'(', 0, 0).trimmed();
        filters += QStringLiteral("%1 (%2)").arg(name, pattern);
    }
    return filters.join(QStringLiteral(";;"));
}
