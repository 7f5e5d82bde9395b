// The status bar's panel for messages. Most of them stand for a single tick; the tool tip keeps the last ones with
// their time or says why there is no connection.
#pragma once

#include "ui/widgets/LineLabel.h"

#include <QDeadlineTimer>

#include <cstdint>
#include <utility>
#include <vector>

struct OpenFailure;

class MessagePanel : public LineLabel {
    Q_OBJECT

public:
    using LineLabel::LineLabel;

    /// What the dialogue with the sensor says at `time`, in days since 1899-12-30; it waits until a message has stood
    /// long enough.
    void ShowStatus(const QString& message, double time);
    /// A message that stays long enough to be read; an empty one clears the panel.
    void ShowMessage(const QString& message, double time);
    /// Keeps the tool tip, and in it first of all why the port cannot be opened; empty for an open one. For every tick.
    /// Whether that reason is another one than before.
    bool Explain(const QString& failure);
    const QString& Failure() const { return m_failure; }

private:
    void note(const QString& message, double time);

    QDeadlineTimer m_stays; ///< until then the message stays
    QString m_failure;
    std::vector<std::pair<QString, QString>> m_notes; ///< the newest time of each message, the newest first
    bool m_hasNews = false;                           ///< the tool tip is to be made anew
};

/// Why a port cannot be opened; empty when there is no reason.
QString OpenFailureText(const OpenFailure& failure, std::int32_t language);
