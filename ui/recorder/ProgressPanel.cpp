#include "ui/recorder/ProgressPanel.h"

#include "session/modAccountText.h"
#include "ui/widgets/LineLabel.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

/// A sensor that measures now and then is not told of every pause.
constexpr double kSilence_s = 5.0;
/// A disk that is so far behind is worth a word.
constexpr double kBehind_s = 5.0;
constexpr std::int32_t kWordStays = 16; // times half a second

} // namespace

QString DurationText(double seconds)
{
    const auto whole = static_cast<std::int64_t>(seconds);
    const auto two = [](std::int64_t number) { return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0')); };
    return two(whole / 3600) + u':' + two(whole / 60 % 60) + u':' + two(whole % 60);
}

QString SizeText(double bytes)
{
    constexpr std::array<const char*, 5> kSizes{"B", "KiB", "MiB", "GiB", "TiB"};
    std::size_t unit = 0;
    while (unit + 1 < kSizes.size() && bytes >= (unit == 0 ? 1000.0 : 999.95)) {
        bytes /= 1024.0;
        ++unit;
    }
    QString number = QString::number(bytes, 'f', unit == 0 ? 0 : 1);
    number.replace(u'.', QLatin1Char(DecimalSeparator()));
    return number + QChar(QChar::Nbsp) + QLatin1String(kSizes.at(unit));
}

QStringList RecordWarnings(const clsRecorder& recorder, std::int32_t language)
{
    const RecordFigures figures = recorder.Figures();
    QStringList warnings;
    if (figures.rate && static_cast<double>(figures.waiting) > kBehind_s * std::max(*figures.rate, 1.0)) {
        warnings += Text(TextId::RecorderDiskSlow, language).arg(figures.waiting);
    }
    if (figures.isShort) {
        warnings += Text(TextId::RecorderSpaceShort, language);
    }
    if (recorder.Lines() > 0 && figures.silence_s >= kSilence_s) {
        warnings += Text(TextId::RecorderSilence, language).arg(std::floor(figures.silence_s));
    }
    return warnings;
}

void DrawRecordMark(QPainter& painter, const QRectF& area)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(217, 48, 37));
    painter.drawEllipse(area);
}

ProgressPanel::ProgressPanel(QWidget* parent)
    : QWidget(parent), lblDuration(new LineLabel(this)), lblSize(new LineLabel(this)), lblRate(new LineLabel(this)),
      lblFree(new LineLabel(this)), lblSign(new QLabel(this)), lblNotice(new QLabel(this))
{
    auto* figures = new QHBoxLayout;
    for (const auto& [label, name, toolTip, widest] :
         {std::tuple(lblDuration, "lblDuration", TextId::ToolTipDuration, "0000:00:00"),
          {lblSize, "lblSize", TextId::ToolTipSize, "999.9 MiB"},
          {lblRate, "lblRate", TextId::ToolTipRate, "0000.0 /s"},
          {lblFree, "lblFree", TextId::ToolTipFree, "Free: 999.9 GiB"}}) {
        label->setObjectName(QLatin1String(name));
        label->setMinimumWidth(fontMetrics().horizontalAdvance(QLatin1String(widest)));
        SetTextIds(label, TextId::None, toolTip);
        figures->addWidget(label, 1);
    }
    const int line = fontMetrics().height();
    lblSign->setObjectName(QStringLiteral("lblSign"));
    lblSign->setFixedSize(line, line);
    lblNotice->setObjectName(QStringLiteral("lblNotice"));
    lblNotice->setWordWrap(true);
    lblNotice->setMinimumHeight(2 * line);
    lblNotice->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    auto* notice = new QHBoxLayout;
    notice->addWidget(lblSign, 0, Qt::AlignTop);
    notice->addWidget(lblNotice, 1);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addLayout(figures);
    column->addLayout(notice);
}

void ProgressPanel::Localise(std::int32_t language)
{
    for (const auto& [label, id] : {std::pair(lblDuration, TextId::ToolTipDuration),
                                    {lblSize, TextId::ToolTipSize},
                                    {lblRate, TextId::ToolTipRate},
                                    {lblFree, TextId::ToolTipFree}}) {
        label->setAccessibleName(Text(id, language));
    }
    lblSign->setAccessibleName(Text(TextId::AccessibleWarning, language));
    lblNotice->setAccessibleName(Text(TextId::AccessibleNotice, language));
}

void ProgressPanel::Show(const clsRecorder& recorder, std::int32_t language)
{
    const bool runs = recorder.Mode == RecorderRecording;
    const bool hasAny = runs || (recorder.LastMode() == RecorderRecording && recorder.Lines() > 0);
    const RecordFigures figures = recorder.Figures();
    ShowText(*lblDuration, hasAny ? DurationText(figures.duration_s) : QString());
    ShowText(*lblSize, hasAny ? SizeText(static_cast<double>(figures.bytes)) : QString());
    const bool hasRate = runs && figures.rate;
    ShowText(*lblRate, hasRate ? FromUtf8(modAccountText::Rate(*figures.rate, DecimalSeparator())) : QString());
    const QString free = runs && figures.free ? SizeText(static_cast<double>(*figures.free)) : QString();
    ShowText(*lblFree, free.isEmpty() ? free : Text(TextId::RecorderFree, language).arg(free));

    QStringList notice = runs ? RecordWarnings(recorder, language) : QStringList();
    if (m_wordsLeft-- > 0) {
        notice.prepend(m_word);
    }
    const QString words = notice.join(u'\n');
    if (lblNotice->text() != words) {
        lblNotice->setText(words);
        lblSign->setToolTip(words);
        const int size = lblSign->width();
        lblSign->setPixmap(words.isEmpty() ? QPixmap()
                                           : style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(size, size));
    }
}

void ProgressPanel::Say(const QString& word)
{
    m_word = word;
    m_wordsLeft = word.isEmpty() ? 0 : kWordStays;
}
