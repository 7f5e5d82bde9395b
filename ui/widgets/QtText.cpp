#include "ui/widgets/QtText.h"

#include "base/CodePage.h"

#include <QLocale>
#include <QTextDocument>

char DecimalSeparator()
{
    const QString point = QLocale().decimalPoint();
    const char separator = point.isEmpty() ? '\0' : point.front().toLatin1();
    return separator != '\0' ? separator : '.'; // some scripts have their own sign, which no text here can hold
}

QString PlainToolTip(const QString& text)
{
    return Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text) : text;
}

QString FromBytes(std::string_view bytes)
{
    QString text = QString::fromLatin1(bytes.data(), static_cast<qsizetype>(bytes.size()));
    for (QChar& c : text) {
        const char16_t code = c.unicode();
        if (code >= kFirstHigh && code < kFirstHigh + kHighControls.size()) {
            c = QChar(kHighControls[code - kFirstHigh]);
        }
    }
    return text;
}

std::string ToBytes(const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    return CodePageBytes({utf8.constData(), static_cast<std::size_t>(utf8.size())});
}
