// The status bar's panel for messages. Most of them are over with the next tick, and nobody could read them: they go a
// moment later, with a step of the clock beside them, so that the bar neither flashes nor is painted twice. Another one
// replaces them at once. The tool tip keeps the last ones with their time or says why there is no connection.
#pragma once

#include "shell/LineLabel.h"

#include <QDeadlineTimer>

#include <cstdint>
#include <utility>
#include <vector>

namespace modPComm {
struct OpenFailure;
}

class MessagePanel : public LineLabel {
    Q_OBJECT

public:
    using LineLabel::LineLabel;

    /// What the dialogue with the sensor says at `time`, in days since 1899-12-30; it waits until a message has stood
    /// long enough. Empty: nothing any more; what stands there goes in `Settle`.
    void ShowStatus(const QString& message, double time);
    /// Clears a status that is over and could be read; for each step of the bar's clock.
    void Settle();
    /// A message that stays long enough to be read; an empty one clears the panel.
    void ShowMessage(const QString& message, double time);
    /// Keeps the tool tip, and in it first of all why the port cannot be opened; empty for an open one. For every tick.
    /// Whether that reason is another one than before.
    bool Explain(const QString& failure);
    const QString& Failure() const { return m_failure; }

private:
    void showText(const QString& message);
    void note(const QString& message, double time);

    QDeadlineTimer m_stays;    ///< until then the message stays
    QDeadlineTimer m_readable; ///< until then a status that is over can still be read
    bool m_isOver = false;     ///< the status shown is
    QString m_failure;
    std::vector<std::pair<QString, QString>> m_notes; ///< the newest time of each message, the newest first
    bool m_hasNews = false;                           ///< the tool tip is to be made anew
};

/// Why a port cannot be opened; empty when there is no reason.
QString OpenFailureText(const modPComm::OpenFailure& failure, std::int32_t language);
