#include "ui/chart/PlaceText.h"

#include "base/Days.h"
#include "session/clsHistory.h"
#include "session/modReadingText.h"
#include "ui/widgets/QtText.h"

#include <QDate>

#include <algorithm>
#include <cmath>

QString PlaceText(const clsHistory& history, double place, int decimals)
{
    const clsTimeLine& times = history.Times();
    const double exactly = times.TimeOf(place);
    if (!(exactly >= kFirstDay && exactly < kEndOfDays)) {
        return {};
    }
    const double perDay = kSecondsPerDay * std::pow(10.0, decimals);
    // Cut, so that a day ends with its last second; but recorded times may be a millisecond early.
    const double early = std::min(1.0 / kMsPerDay, 0.5 / perDay);
    const double time = std::floor((exactly + early) * perDay) / perDay;
    const QString text = FromUtf8(modReadingText::TimeOfDay(time, decimals, DecimalSeparator()));
    const PlaceRange range = history.Range();
    if (std::floor(times.TimeOf(range.begin)) == std::floor(times.TimeOf(range.end))) {
        return text;
    }
    const QDate day = QDate(1899, 12, 30).addDays(static_cast<qint64>(std::floor(time)));
    return day.toString(QStringLiteral("dd.MM.yyyy ")) + text; // as in recordings
}
