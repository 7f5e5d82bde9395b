#include "ui/settings/PassportText.h"

#include "base/CodePage.h"
#include "base/Days.h"
#include "sensor/Fields.h"
#include "sensor/modCompare.h"
#include "ui/widgets/Badge.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QDateTime>

#include <algorithm>
#include <cmath>

namespace PassportText {

namespace {

constexpr qsizetype kLongest = 200; // of a text out of the file, which anybody may have written

/// A text of the file in one line.
QString plain(std::string_view text)
{
    QString shown = FromUtf8(text).simplified();
    std::replace_if(
        shown.begin(), shown.end(), [](QChar c) { return !c.isPrint(); }, QChar(u'?'));
    return shown.size() > kLongest ? shown.left(kLongest - 1) + QChar(u'…') : shown;
}

/// A value without its unit; what is no value of the parameter as it stands in the file.
QString valueText(const ParameterDef* row, std::string_view wireText, const Style& style)
{
    const auto stored = row == nullptr ? std::nullopt : modPassport::StoredOf(*row, wireText);
    const std::string shown = stored ? ShownValue(*row, *stored, style.decimalSeparator, style.language) : "";
    return shown.empty() ? plain(wireText) : FromUtf8(shown);
}

QString withUnit(const ParameterDef* row, const QString& value)
{
    return row == nullptr ? value : FromUtf8(WithUnit(*row, value.toStdString()));
}

QString partOf(TextId list, std::size_t index, std::int32_t language)
{
    return Text(list, language).section(u'|', static_cast<int>(index), static_cast<int>(index));
}

QString identityText(const modPassport::Entry& entry, std::int32_t language)
{
    const auto named = [&](TextId id, const std::string& text) {
        return text.empty() ? QString() : Text(id, language).arg(plain(Utf8Of(text)));
    };
    const SensorIdentity& sensor = entry.identity;
    QStringList parts{
        SerialText(sensor.SerialNo, language),
        plain(Utf8Of(sensor.DeviceType)),
        named(TextId::PassportVersion, sensor.SWVersion),
        named(TextId::PassportBuild, sensor.SWBuild),
        plain(Utf8Of(sensor.SWDate)),
        plain(Utf8Of(sensor.Attenuator)),
        entry.replaced.empty()
            ? QString()
            : Text(TextId::PassportReplaced, language).arg(SerialText(CodePageBytes(entry.replaced), language))};
    parts.removeAll(QString());
    return parts.join(QStringLiteral(", "));
}

} // namespace

QString Time(double time)
{
    const auto ms = std::llround(time * kMsPerDay);
    const QDateTime dayZero(QDate(1899, 12, 30), QTime(0, 0), Qt::UTC);
    return dayZero.addMSecs(ms).toString(QStringLiteral("dd.MM.yyyy HH:mm:ss"));
}

QString EventName(modPassport::Event event, std::int32_t language)
{
    return partOf(TextId::PassportEvents, static_cast<std::size_t>(event), language);
}

QString ParameterName(const ParameterDef& row, std::int32_t language)
{
    return QStringLiteral("%1 (%2)").arg(Text(row.labelId, language).trimmed(), FromUtf8(row.code));
}

QString ChangeText(const modPassport::Change& change, const Style& style)
{
    const ParameterDef* row = ParameterOfCode(change.code);
    const QString name = row == nullptr ? plain(change.code) : ParameterName(*row, style.language);
    const QString values = change.before == change.wanted
                               ? withUnit(row, valueText(row, change.before, style))
                               : QStringLiteral("%1 → %2").arg(valueText(row, change.before, style),
                                                               withUnit(row, valueText(row, change.wanted, style)));
    const QString text = QStringLiteral("%1: %2").arg(name, values);
    if (!change.readBack) {
        return Text(TextId::PassportNotReadBack, style.language).arg(text);
    }
    return *change.readBack == change.wanted ? text
                                             : Text(TextId::PassportReadBack, style.language)
                                                   .arg(text, withUnit(row, valueText(row, *change.readBack, style)));
}

QStringList Lines(const modPassport::Entry& entry, const Style& style)
{
    QStringList lines;
    if (entry.event == modPassport::Event::Identity) {
        lines += identityText(entry, style.language);
    }
    for (const modPassport::Change& change : entry.changes) {
        lines += ChangeText(change, style);
    }
    return lines;
}

QString Result(const modPassport::Entry& entry, std::int32_t language)
{
    const QStringList words{QStringLiteral("verified"), QStringLiteral("differs"), QStringLiteral("failed")};
    const qsizetype word = words.indexOf(FromUtf8(entry.result));
    return word < 0 ? QString() : partOf(TextId::PassportResults, static_cast<std::size_t>(word), language);
}

QString Whole(const modPassport::Entry& entry, const Style& style)
{
    const QString version =
        entry.version.empty() ? QString() : Text(TextId::PassportVersion, style.language).arg(plain(entry.version));
    QStringList head{Time(entry.time),
                     EventName(entry.event, style.language),
                     Result(entry, style.language),
                     plain(entry.user),
                     plain(entry.port),
                     version};
    head.removeAll(QString());
    return (QStringList(head.join(QStringLiteral(", "))) + Lines(entry, style)).join(QStringLiteral("\n    "));
}

} // namespace PassportText
