#include "ui/widgets/Badge.h"

#include "base/Days.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QDateTime>
#include <QPainter>
#include <QStringList>

#include <cmath>

namespace {

constexpr qsizetype kLongestSerial = 20;

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
    QString number = FromBytes(serial).simplified();
    if (number.size() > kLongestSerial) {
        number = number.left(kLongestSerial - 1) + QChar(u'…');
    }
    return number.isEmpty() ? number : Text(TextId::SerialNumber, language).arg(number);
}

QString BadgeText(const ValueOrigin& origin, std::int32_t language)
{
    QStringList words;
    if (origin.recorded) {
        words += Text(TextId::BadgeRecording, language).arg(minuteText(*origin.recorded));
        words += SerialText(origin.serial, language);
    }
    if (origin.simulated) {
        words += Text(TextId::BadgeSimulated, language);
    }
    words.removeAll(QString());
    return words.join(QStringLiteral(", "));
}

Badge::Badge(QWidget* parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    setWordWrap(true);
    setContentsMargins(QMargins(4, 2, 4, 2) * fontMetrics().height() / 8);
    hide();
}

void Badge::paintEvent(QPaintEvent* event)
{
    QLabel::paintEvent(event);
    const QRect text =
        fontMetrics().boundingRect(contentsRect(), static_cast<int>(alignment()) | Qt::TextWordWrap, this->text());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(palette().color(foregroundRole()));
    const QRectF box = QRectF(text.marginsAdded(contentsMargins())).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.drawRoundedRect(box, fontMetrics().height() / 4.0, fontMetrics().height() / 4.0);
}

void Badge::ShowBadge(const QString& text)
{
    ShowText(*this, text);
    setVisible(!text.isEmpty());
}
