#include "ui/chart/PlaceText.h"

#include "base/Days.h"
#include "session/clsHistory.h"

#include <QDateTime>
#include <QLocale>

#include <cmath>

QString PlaceText(const clsHistory& history, double place, bool withTenths)
{
    const clsTimeLine& times = history.Times();
    const double time = times.TimeOf(place);
    if (!(time >= kFirstDay && time < kEndOfDays)) {
        return {};
    }
    const QDateTime dayZero(QDate(1899, 12, 30), QTime(0, 0), Qt::UTC);
    const double perUnit = withTenths ? 10.0 * kSecondsPerDay : kSecondsPerDay;
    const auto milliseconds = static_cast<qint64>(std::round(time * perUnit) * (kMsPerDay / perUnit));
    const QDateTime moment = dayZero.addMSecs(milliseconds);
    QString text = moment.toString(QStringLiteral("HH:mm:ss"));
    if (withTenths) {
        text += QLocale().decimalPoint() + QString::number(moment.time().msec() / 100);
    }
    const PlaceRange range = history.Range();
    if (std::floor(times.TimeOf(range.begin)) == std::floor(times.TimeOf(range.end))) {
        return text;
    }
    return QLocale().toString(moment.date(), QLocale::ShortFormat) + u' ' + text;
}
