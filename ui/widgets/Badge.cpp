#include "ui/widgets/Badge.h"

#include "base/Days.h"
#include "session/modPassportText.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QDateTime>
#include <QPainter>
#include <QStringList>

#include <cmath>

namespace {

/// To the minute, as in the lines of the recording.
QString minuteText(double time)
{
    const auto ms = std::llround(time * kMsPerDay); // the last bits of a day must not move a full minute
    const QDateTime dayZero(QDate(1899, 12, 30), QTime(0, 0), Qt::UTC);
    return dayZero.addMSecs(ms).toString(QStringLiteral("dd.MM.yyyy HH:mm"));
}

} // namespace

QString SerialText(const std::string& serial, std::int32_t language)
{
    return FromUtf8(modPassportText::SerialText(serial, language));
}

QString BadgeText(const ValueOrigin& origin, std::int32_t language)
{
    QStringList words;
    if (origin.recorded) {
        words += Text(TextId::BadgeRecording, language).arg(minuteText(*origin.recorded));
    }
    if (origin.simulated) {
        words += Text(TextId::BadgeSimulated, language);
    }
    if (origin.recorded) {
        words += SerialText(origin.serial, language); // last: if there is no room for all, the legend says it, too
    }
    words.removeAll(QString());
    return words.join(QStringLiteral(", "));
}

Badge::Badge(QWidget* parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setContentsMargins(QMargins(4, 2, 4, 2) * fontMetrics().height() / 8);
    hide();
}

void Badge::ShowBadge(const QString& text, int room)
{
    m_room = room;
    ShowText(*this, text);
    update(); // the box lies outside of what a label draws again
    setVisible(!text.isEmpty());
}

/// A part that no longer has room in a line begins the next one.
QString Badge::lines() const
{
    const QMargins margins = contentsMargins();
    const int room = m_room - margins.left() - margins.right();
    QStringList lines;
    for (const QString& part : text().split(QStringLiteral(", "))) {
        const QString longer = lines.isEmpty() ? part : lines.last() + QStringLiteral(", ") + part;
        if (lines.isEmpty() || fontMetrics().horizontalAdvance(longer) > room) {
            lines += part;
        } else {
            lines.last() = longer;
        }
    }
    return lines.join(QStringLiteral(",\n"));
}

QSize Badge::sizeHint() const
{
    return fontMetrics().size(0, lines()).grownBy(contentsMargins());
}

void Badge::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(palette().color(foregroundRole()));
    const QSize size = sizeHint();
    const QRectF box(width() - size.width(), (height() - size.height()) / 2, size.width(), size.height());
    const double radius = fontMetrics().height() / 4.0;
    painter.drawRoundedRect(box.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    painter.drawText(box, Qt::AlignCenter, lines());
}
