#include "ui/main/MessagePanel.h"

#include "base/modAPI.h"
#include "port/SerialPort.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QFile>
#include <QStringList>

#include <algorithm>

namespace {

constexpr int kStays_ms = 10000;
constexpr std::size_t kNotes = 6;

} // namespace

void MessagePanel::ShowStatus(const QString& message, double time)
{
    if (text() != message && m_stays.hasExpired()) {
        setText(message);
    }
    note(message, time);
}

void MessagePanel::ShowMessage(const QString& message, double time)
{
    m_stays.setRemainingTime(message.isEmpty() ? 0 : kStays_ms);
    setText(message);
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
    setToolTip(lines.join(u'\n'));
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
    const QString device = QFile::decodeName(failure.device.c_str());
    switch (failure.problem) {
    case OpenProblem::None:
        break;
    case OpenProblem::NoDevice:
        return device.isEmpty() ? Text(TextId::PortWithoutDevice, language)
                                : Text(TextId::PortDeviceMissing, language).arg(device);
    case OpenProblem::Busy:
        return Text(TextId::PortBusy, language).arg(device);
    case OpenProblem::NoPermission:
        return Text(TextId::PortNoPermission, language).arg(device, QString::fromStdString(failure.group));
    case OpenProblem::NotATerminal:
        return Text(TextId::PortNotSerial, language).arg(device);
    case OpenProblem::Other:
        return Text(TextId::PortOtherFailure, language).arg(device, QString::fromStdString(failure.reason));
    }
    return {};
}
