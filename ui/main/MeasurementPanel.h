// The frame with the current measurement: connection lamp, distance and temperature with their ages, and the buttons
// for start and stop. A badge says when the values are not live. It also owns the large display.
#pragma once

#include "session/SessionListener.h"
#include "session/ValueOrigin.h"
#include "session/clsValueAge.h"

#include <QGroupBox>
#include <QPointer>

#include <cstdint>
#include <optional>

class Badge;
class LampShape;
class KeptRoom;
class LineLabel;
class QAction;
class QCheckBox;
class QLabel;
class QPushButton;
class ValueLabel;
class clsSession;
class frmTextWindow;

namespace modGlobals {
struct Settings;
}

class MeasurementPanel : public QGroupBox, public SessionListener {
    Q_OBJECT

public:
    explicit MeasurementPanel(QWidget* parent);
    ~MeasurementPanel() override;

    /// Shows a session and sends it the operator's commands. Call it once; both must outlive the panel.
    void Follow(clsSession& session, const modGlobals::Settings& settings);
    /// Sets the texts that the ids do not cover: accessible names, shortcuts, the words of the lamp.
    void Localise();
    /// Shows how old the values are. Call it in every tick, also while a recording is played.
    void ShowAges();
    /// Opens the large display.
    void ShowLargeDisplay();
    /// What the buttons for start and stop and for a single value do, with their state, for other places.
    QAction& StartAction() const { return *tlbStart; }
    QAction& SingleAction() const { return *tlbSingle; }
    bool IsRunning() const { return m_running; }
    /// Has the actions take the buttons' keys, which do nothing while the frame is folded away.
    void KeysToActions(bool folded);
    /// Makes the number as large as the window allows: it grows with the window.
    void FitNumber(const QSize& windowSize);
    /// Puts the focus on the start button.
    void FocusStart();

    void ShowDialogue(std::int32_t commStatus) override;
    void ShowRule(const ControlRule& rule) override;
    void ShowDistance(const std::string& distance) override;
    void ShowTemperature(const std::string& temperature) override;
    void ShowRunning(bool running) override;
    void ShowShutDown(bool shutDown) override;
    void PlaybackBegins() override;
    void PlaybackEnds(const std::filesystem::path& file, const modPlayback::Loaded& loaded) override;

private:
    void build();
    void style();
    void setTextIds();
    void cmdStart_Click();
    void cmdSingleValue_Click();
    void showAge(LineLabel& value, LineLabel& line, const QString& age, const ValueOrigin& origin);
    void showBadge();
    QString noteOnLargeDisplay(const QString& age) const;
    QString stateInWords() const;
    void buildActions();
    void giveKeys();

    clsSession* m_session = nullptr;
    const modGlobals::Settings* m_settings = nullptr;
    clsValueAge m_distanceAge, m_temperatureAge;
    ValueOrigin m_distanceOrigin, m_temperatureOrigin;
    ValueOrigin m_saidOrigin; ///< in the badge
    std::int32_t m_saidLanguage = -1;
    bool m_running = false;
    std::int32_t m_shownDialogue = -1;
    std::optional<ControlRule> m_shownRule;
    QPointer<frmTextWindow> m_textWindow;
    double m_growth = 0.0; ///< of the number
    bool m_folded = false;

    QAction* tlbStart = nullptr;
    QAction* tlbSingle = nullptr;
    QLabel* lblMeasCaption = nullptr;
    LineLabel* lblMeasAge = nullptr;
    KeptRoom* m_roomOfValue = nullptr;
    ValueLabel* lblMeasValue = nullptr;
    QLabel* lblTempCaption = nullptr;
    LineLabel* lblTemperature = nullptr;
    LineLabel* lblTempAge = nullptr;
    QLabel* lblAge = nullptr;
    Badge* lblBadge = nullptr;
    QLabel* lblShutDown = nullptr;
    QLabel* lblLamp = nullptr;
    LampShape* shpLamp = nullptr;
    QPushButton* cmdStart = nullptr;
    QPushButton* cmdSingleValue = nullptr;
    QCheckBox* chkTempMeasurement = nullptr;
};
