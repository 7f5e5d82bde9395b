#include "ui/main/MessagePanel.h"

#include "base/modAPI.h"
#include "port/modOpenFailure.h"
#include "session/clsSession.h"
#include "session/modReportText.h"
#include "store/modGlobals.h"
#include "store/modSidecar.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QFile>
#include <QStringList>

#include <algorithm>

namespace {

constexpr int kStays_ms = 10000;
constexpr std::size_t kNotes = 6;

} // namespace

MessagePanel::~MessagePanel()
{
    if (m_session != nullptr) {
        m_session->Leave(*this);
    }
}

void MessagePanel::Follow(clsSession& session, const modGlobals::Settings& settings)
{
    m_session = &session;
    m_settings = &settings;
    session.Listen(*this);
}

void MessagePanel::ShowStatus(StatusPanel panel, std::string_view text)
{
    if (panel == PanelMessages) {
        ShowStatus(FromUtf8(text), m_session->Device().CurrentTime());
    }
}

void MessagePanel::ShowMessage(const QString& message)
{
    ShowMessage(message, m_session->Device().CurrentTime());
}

void MessagePanel::ShowFailure(const QString& message)
{
    ShowMessage(message);
    NoteFault(message.toUtf8().constData());
}

void MessagePanel::ShowReport(const WriteReport& report)
{
    QStringList parts{FromUtf8(modReportText::Summary(report, m_settings->Language, DecimalSeparator()))};
    const auto lines = modReportText::Lines(report, DecimalSeparator(), m_settings->Language);
    if (!lines.empty()) {
        parts += FromUtf8(lines.front());
    }
    ShowMessage(parts.join(u' '));
    setRed(report.result != WriteResult::Verified);
}

void MessagePanel::setRed(bool red)
{
    QPalette colors;
    if (red) {
        const bool dark = QPalette().color(QPalette::Window).lightness() < 128;
        colors.setColor(QPalette::WindowText, dark ? QColor(255, 120, 120) : QColor(190, 0, 0));
    }
    setPalette(colors);
}

void MessagePanel::RecordingFailed(const std::error_code& why)
{
    ShowFailure(Text(TextId::RecorderEnded, m_settings->Language).arg(FileErrorText(why, m_settings->Language)));
}

void MessagePanel::RecordingNotClosed(const std::filesystem::path& file, const std::error_code& why)
{
    ShowFailure(Text(TextId::FailureNotSaved, m_settings->Language)
                    .arg(QFile::decodeName(file.c_str()), FileErrorText(why, m_settings->Language)));
}

void MessagePanel::PlaybackEnds(const std::filesystem::path& file, const modPlayback::Loaded& loaded)
{
    using enum modPlayback::SidecarUse;
    if (loaded.sidecar == Unreadable || loaded.sidecar == Foreign) {
        const TextId what = loaded.sidecar == Foreign ? TextId::SidecarForeign : TextId::SidecarUnreadable;
        const QString name = QFile::decodeName(modSidecar::SidecarOf(file).filename().c_str());
        ShowFailure(Text(what, m_settings->Language).arg(name));
    }
}

void MessagePanel::ShowStatus(const QString& message, double time)
{
    if (text() != message && m_stays.hasExpired()) {
        setText(message);
        setRed(false);
    }
    note(message, time);
}

void MessagePanel::ShowMessage(const QString& message, double time)
{
    m_stays.setRemainingTime(message.isEmpty() ? 0 : kStays_ms);
    setText(message);
    setRed(false);
    note(message, time);
}

bool MessagePanel::Explain(const QString& failure)
{
    const bool isNew = failure != m_failure;
    m_failure = failure;
    if (!std::exchange(m_hasNews, false) && !isNew) {
        return false;
    }
    QStringList lines{m_failure};
    lines.removeAll({});
    for (const auto& [message, time] : m_notes) {
        lines += time + u' ' + message;
    }
    setToolTip(PlainToolTip(lines.join(u'\n')));
    return isNew;
}

void MessagePanel::note(const QString& message, double time)
{
    if (message.isEmpty()) {
        return;
    }
    std::pair noted(message, FromUtf8(modAPI::TimeOfDayText(time)));
    if (!m_notes.empty() && m_notes.front() == noted) {
        return;
    }
    std::erase_if(m_notes, [&](const auto& earlier) { return earlier.first == message; });
    m_notes.insert(m_notes.begin(), std::move(noted));
    m_notes.resize(std::min(m_notes.size(), kNotes));
    m_hasNews = true;
}

QString OpenFailureText(const OpenFailure& failure, std::int32_t language)
{
    return FromUtf8(modOpenFailure::Text(failure, language));
}
