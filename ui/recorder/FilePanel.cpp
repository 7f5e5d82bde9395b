#include "ui/recorder/FilePanel.h"

#include "session/clsSession.h"
#include "store/modGlobals.h"
#include "store/modRecent.h"
#include "ui/recorder/Playing.h"
#include "ui/recorder/ProgressPanel.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QFile>
#include <QFileInfo>
#include <QFontMetricsF>
#include <QPainter>
#include <QPixmap>

#include <algorithm>
#include <utility>

FilePanel::~FilePanel()
{
    if (m_session != nullptr) {
        m_session->Leave(*this);
    }
}

void FilePanel::Follow(clsSession& session, const modGlobals::Settings& settings)
{
    m_session = &session;
    m_settings = &settings;
    session.Listen(*this);
}

void FilePanel::Localise()
{
    if (!m_playedFile.isEmpty() && text() == m_playedText) {
        explainPlayed();
    }
}

void FilePanel::ShowWarning(const QString& warning)
{
    if (text() == m_warning) {
        showFile(warning, warning);
    }
    m_warning = warning;
}

void FilePanel::RecordingStarted(const std::filesystem::path& file)
{
    m_recordedFile = QFile::decodeName(file.c_str());
    showFile(QStringLiteral("REC: %1 ").arg(m_recordedFile), m_recordedFile);
    if (m_session->Recorder().Lines() == 0) { // else it is another part
        modRecent::Add(m_settings->IniFile, file);
    }
}

void FilePanel::Ticked()
{
    constexpr std::int32_t kTicks = 500 / clsMeasurementLoop::kInterval_ms;
    const bool runs = m_session->Recorder().Mode == RecorderRecording;
    if (++m_ticks % kTicks == 0 || runs == m_figures.isEmpty()) {
        followRecording();
    }
}

/// The text says from the start which file is recorded; its figures join it, and go with the end.
void FilePanel::followRecording()
{
    const clsRecorder& recorder = m_session->Recorder();
    if (recorder.Mode == RecorderRecording) {
        showFigures(TextsOf(recorder, m_settings->Language));
        return;
    }
    const bool wasRunning = !std::exchange(m_figures, {}).isEmpty();
    setAccessibleName({}); // the text says it again
    setAccessibleDescription({});
    const QString file = QFile::decodeName(recorder.FileName.c_str());
    if (recorder.LastMode() == RecorderRecording && (wasRunning || file != m_recordedFile)) {
        m_recordedFile = file; // it may have been renamed
        const bool hasFile = recorder.Lines() > 0;
        showFile(hasFile ? file : m_warning, hasFile ? file : m_warning);
    }
}

/// What goes wrong takes the place of the file's name. What has no room is in the tool tip.
void FilePanel::showFigures(const RecordTexts& texts)
{
    const QStringList wrong = texts.isWaiting ? QStringList(texts.state) : texts.warnings;
    m_isWarning = !wrong.isEmpty();
    m_figures = {texts.duration, texts.size, m_isWarning ? wrong.first() : QFileInfo(m_recordedFile).fileName()};
    QStringList more{m_recordedFile, texts.state, texts.rate, texts.free};
    more.removeAll({});
    setToolTip(PlainToolTip((more + texts.warnings).join(u'\n')));
    const auto text = [this](TextId id) { return Text(id, m_settings->Language); };
    QStringList spoken = m_figures;
    if (m_isWarning) {
        spoken.last().prepend(text(TextId::AccessibleWarning) + QStringLiteral(": "));
    }
    setAccessibleName(text(TextId::RecordMark));
    setAccessibleDescription(spoken.join(QStringLiteral(", ")));
    update();
}

/// Every figure keeps its place, however the digits change.
void FilePanel::drawContent(QPainter& painter)
{
    if (m_figures.isEmpty()) {
        LineLabel::drawContent(painter);
        return;
    }
    const QFontMetricsF metrics(font());
    const double size = metrics.ascent() * 0.8;
    const double gap = metrics.horizontalAdvance(QStringLiteral("  "));
    painter.save();
    DrawRecordMark(painter, {0.0, (height() - size) / 2.0, size, size});
    painter.restore();
    double left = size + gap;
    for (qsizetype i = 0; i < m_figures.size(); ++i) {
        const bool isLast = i + 1 == m_figures.size();
        if (isLast && m_isWarning) {
            const int side = fontMetrics().height();
            painter.drawPixmap(QPointF(left, (height() - side) / 2.0), WarningSign(*this, side));
            left += side + gap / 2.0;
        }
        const QRectF room(left, 0.0, width() - left, height());
        const auto elided = m_isWarning ? Qt::ElideRight : Qt::ElideMiddle;
        const QString shown = isLast ? metrics.elidedText(m_figures[i], elided, room.width()) : m_figures[i];
        painter.drawText(room, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, shown);
        left += std::max(metrics.horizontalAdvance(m_figures[i]),
                         metrics.horizontalAdvance(i == 0 ? QStringLiteral("00:00:00") : QStringLiteral("888.8 MiB"))) +
                gap;
    }
}

void FilePanel::PlaybackBegins()
{
    showFile(Text(TextId::StatusLoading, m_settings->Language), {});
}

void FilePanel::PlaybackEnds(const std::filesystem::path& file, const modPlayback::Loaded& loaded)
{
    m_playedFile = QFile::decodeName(file.c_str());
    m_played = loaded;
    explainPlayed();
}

/// Shows the file, and whether all of it could be read and the chart has all of it.
void FilePanel::explainPlayed()
{
    const auto text = [this](TextId id) { return Text(id, m_settings->Language); };
    m_playedText =
        m_played.files > 1 ? text(TextId::PlayedParts).arg(m_playedFile).arg(m_played.files - 1) : m_playedFile;
    QString toolTip = m_playedText;
    if (m_played.outcome != modPlayback::Outcome::Complete) {
        toolTip += u'\n' + LoadedText(m_played, m_settings->Language);
    }
    const std::int64_t shown = CountIncomplete ? CountIncomplete() : -1;
    if (shown >= 0) {
        toolTip += u'\n' + text(TextId::ToolTipLastPoints).arg(m_played.lines).arg(shown);
    }
    showFile(m_playedText, toolTip);
}

void FilePanel::showFile(const QString& file, const QString& toolTip)
{
    setText(file);
    setToolTip(PlainToolTip(toolTip));
}
