// The status bar's panel for messages. Most messages last a single tick; the tool tip keeps the last ones with their
// times or says why there is no connection.
#pragma once

#include "port/SerialPort.h"
#include "session/SessionListener.h"
#include "ui/widgets/LineLabel.h"

#include <QDeadlineTimer>

#include <cstdint>
#include <utility>
#include <vector>

class clsSession;
struct WriteReport;

namespace modGlobals {
struct Settings;
}

class MessagePanel : public LineLabel, public SessionListener {
    Q_OBJECT

public:
    explicit MessagePanel(QWidget* parent) : LineLabel(parent, Qt::ElideRight) {}
    ~MessagePanel() override;

    /// Shows the messages of a session. Call it once; both must outlive the panel.
    void Follow(clsSession& session, const modGlobals::Settings& settings);
    /// Shows a message that stays long enough to be read; an empty one clears the panel.
    void ShowMessage(const QString& message);
    /// The same, and notes it as a fault.
    void ShowFailure(const QString& message);
    /// Shows what became of a write to the sensor; in red unless it is verified.
    void ShowReport(const WriteReport& report);

    void ShowStatus(StatusPanel panel, std::string_view text) override;
    void RecordingFailed(const std::error_code& why) override;
    void RecordingNotClosed(const std::filesystem::path& file, const std::error_code& why) override;
    void PlaybackEnds(const std::filesystem::path& file, const modPlayback::Loaded& loaded) override;

    /// Shows the status of the dialogue with the sensor at `time`, in days since 1899-12-30. It waits until the current
    /// message has been shown long enough.
    void ShowStatus(const QString& message, double time);
    /// Shows a message that stays long enough to be read; an empty one clears the panel.
    void ShowMessage(const QString& message, double time);
    /// Updates the tool tip, which first says why the port cannot be opened; `failure` is empty for an open port. Call
    /// it in every tick. Returns whether the reason has changed.
    bool Explain(const QString& failure);
    const QString& Failure() const { return m_failure; }

private:
    clsSession* m_session = nullptr;
    const modGlobals::Settings* m_settings = nullptr;
    void note(const QString& message, double time);
    void setRed(bool red);

    QDeadlineTimer m_stays; ///< the message stays until then
    QString m_failure;
    std::vector<std::pair<QString, QString>> m_notes; ///< the latest time of each message, the newest first
    bool m_hasNews = false;                           ///< the tool tip is out of date
};

/// Why a port cannot be opened; empty when there is no reason.
QString OpenFailureText(const OpenFailure& failure, std::int32_t language);
