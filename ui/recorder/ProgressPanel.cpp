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

RecordTexts TextsOf(const clsRecorder& recorder, std::int32_t language)
{
    const auto text = [language](TextId id) { return Text(id, language); };
    const RecordFigures figures = recorder.Figures();
    const bool hasLines = recorder.Lines() > 0;
    RecordTexts texts;
    texts.state = hasLines                         ? text(TextId::RecorderRecording).arg(recorder.Lines())
                  : recorder.WaitsForTemperature() ? text(TextId::RecorderAwaitsTemperature)
                                                   : text(TextId::RecorderAwaitsValue);
    texts.duration = DurationText(figures.duration_s);
    texts.size = SizeText(static_cast<double>(figures.bytes));
    if (figures.rate) {
        texts.rate = FromUtf8(modAccountText::Rate(*figures.rate, DecimalSeparator()));
    }
    if (figures.free) {
        texts.free = text(TextId::RecorderFree).arg(SizeText(static_cast<double>(*figures.free)));
    }
    if (figures.rate && static_cast<double>(figures.waiting) > kBehind_s * std::max(*figures.rate, 1.0)) {
        texts.warnings += text(TextId::RecorderDiskSlow).arg(figures.waiting);
    }
    if (figures.isShort) {
        texts.warnings += text(TextId::RecorderSpaceShort);
    }
    if (hasLines && figures.silence_s >= kSilence_s) {
        texts.warnings += text(TextId::RecorderSilence).arg(std::floor(figures.silence_s));
    }
    texts.isWaiting = !hasLines && figures.duration_s >= kSilence_s;
    return texts;
}

QPixmap WarningSign(const QWidget& widget, int size)
{
    return widget.style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(size, size);
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
    lblNotice->setTextFormat(Qt::PlainText);
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
    const RecordTexts texts = TextsOf(recorder, language);
    ShowText(*lblDuration, hasAny ? texts.duration : QString());
    ShowText(*lblSize, hasAny ? texts.size : QString());
    ShowText(*lblRate, runs ? texts.rate : QString());
    ShowText(*lblFree, runs ? texts.free : QString());

    QStringList notice = runs ? texts.warnings : QStringList();
    if (m_wordsLeft-- > 0) {
        notice.prepend(m_word);
    }
    const QString words = notice.join(u'\n');
    if (lblNotice->text() != words) {
        lblNotice->setText(words);
        lblSign->setToolTip(PlainToolTip(words));
        lblSign->setPixmap(words.isEmpty() ? QPixmap() : WarningSign(*this, lblSign->width()));
    }
}

void ProgressPanel::Say(const QString& word)
{
    m_word = word;
    m_wordsLeft = word.isEmpty() ? 0 : kWordStays;
}
