// The status bar's panel for messages. Most of them stand for a single tick; the tool tip keeps the last ones with
// their time or says why there is no connection.
#pragma once

#include "port/SerialPort.h"
#include "session/SessionListener.h"
#include "ui/widgets/LineLabel.h"

#include <QDeadlineTimer>

#include <cstdint>
#include <utility>
#include <vector>

class clsSession;

namespace modGlobals {
struct Settings;
}

class MessagePanel : public LineLabel, public SessionListener {
    Q_OBJECT

public:
    explicit MessagePanel(QWidget* parent) : LineLabel(parent, Qt::ElideRight) {}
    ~MessagePanel() override;

    /// Shows what a session says; to be called once. Both must outlive the panel.
    void Follow(clsSession& session, const modGlobals::Settings& settings);
    /// A message that stays long enough to be read; an empty one clears the panel.
    void ShowMessage(const QString& message);
    /// The same, and a note among the faults.
    void ShowFailure(const QString& message);

    void ShowStatus(std::int32_t panel, std::string_view text) override;
    void RecordingFailed(const std::error_code& why) override;
    void RecordingNotClosed(const std::filesystem::path& file, const std::error_code& why) override;

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
    clsSession* m_session = nullptr;
    const modGlobals::Settings* m_settings = nullptr;
    void note(const QString& message, double time);

    QDeadlineTimer m_stays; ///< until then the message stays
    QString m_failure;
    std::vector<std::pair<QString, QString>> m_notes; ///< the newest time of each message, the newest first
    bool m_hasNews = false;                           ///< the tool tip is to be made anew
};

/// Why a port cannot be opened; empty when there is no reason.
QString OpenFailureText(const OpenFailure& failure, std::int32_t language);
