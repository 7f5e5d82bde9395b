#include "monitor/MessagePanel.h"

#include "device/modPComm.h"
#include "shell/Localise.h"
#include "shell/QtText.h"
#include "shell/modAPI.h"

#include <QFile>
#include <QStringList>

#include <algorithm>

namespace {

constexpr int kStays_ms = 10000;
constexpr int kReadable_ms = 2000;
constexpr std::size_t kNotes = 6;

enum TextId : std::int32_t {
    TextNoDeviceOfPort = 1180,
    TextNoSuchDevice = 1181,
    TextBusy = 1182,
    TextNoPermission = 1183,
    TextNotATerminal = 1184,
    TextOtherFailure = 1185,
};

} // namespace

void MessagePanel::ShowStatus(const QString& message, double time)
{
    if (message.isEmpty()) {
        m_isOver = true; // Deliberate: the text is not cleared yet, see Settle
        return;
    }
    const bool isBack = std::exchange(m_isOver, false);
    if (m_stays.hasExpired()) {
        if (isBack || text() != message) {
            m_readable.setRemainingTime(kReadable_ms);
        }
        showText(message);
    }
    note(message, time);
}

/// Deliberate: what the dialogue cleared stands on for up to three seconds, "Comport not open" of a port that has just
/// been opened, too. Nobody could read what stands for a single tick.
void MessagePanel::Settle()
{
    if (m_isOver && m_readable.hasExpired() && m_stays.hasExpired()) {
        showText({});
    }
}

void MessagePanel::showText(const QString& message)
{
    if (text() != message) {
        setText(message);
    }
}

void MessagePanel::ShowMessage(const QString& message, double time)
{
    m_stays.setRemainingTime(message.isEmpty() ? 0 : kStays_ms);
    m_isOver = false;
    setText(message);
    if (!message.isEmpty()) {
        note(message, time);
    }
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
    setToolTip(lines.join(u'\n'));
    return isNew;
}

void MessagePanel::note(const QString& message, double time)
{
    std::pair noted(message, FromUtf8(modAPI::TimeOfDayText(time)));
    if (!m_notes.empty() && m_notes.front() == noted) {
        return;
    }
    std::erase_if(m_notes, [&](const auto& earlier) { return earlier.first == message; });
    m_notes.insert(m_notes.begin(), std::move(noted));
    m_notes.resize(std::min(m_notes.size(), kNotes));
    m_hasNews = true;
}

QString OpenFailureText(const modPComm::OpenFailure& failure, std::int32_t language)
{
    using modPComm::OpenProblem;
    const QString device = QFile::decodeName(failure.device.c_str());
    switch (failure.problem) {
    case OpenProblem::None:
        break;
    case OpenProblem::NoDevice:
        return device.isEmpty() ? Text(TextNoDeviceOfPort, language) : Text(TextNoSuchDevice, language).arg(device);
    case OpenProblem::Busy:
        return Text(TextBusy, language).arg(device);
    case OpenProblem::NoPermission:
        return Text(TextNoPermission, language).arg(device, QString::fromStdString(failure.group));
    case OpenProblem::NotATerminal:
        return Text(TextNotATerminal, language).arg(device);
    case OpenProblem::Other:
        return Text(TextOtherFailure, language).arg(device, QString::fromStdString(failure.reason));
    }
    return {};
}
