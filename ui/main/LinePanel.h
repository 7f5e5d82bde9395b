// The frame that says what comes over the line: rates, losses and gaps. It can be copied as a table.
#pragma once

#include "session/SessionListener.h"
#include "texts/TextId.h"

#include <QGroupBox>

#include <cstdint>
#include <optional>

class LineLabel;
class QAction;
class QGridLayout;
class clsSession;

namespace modGlobals {
struct Settings;
}

class LinePanel : public QGroupBox, public SessionListener {
    Q_OBJECT

public:
    explicit LinePanel(QWidget* parent);
    ~LinePanel() override;

    /// Shows the account of a session. Call it once; both must outlive the panel.
    void Follow(clsSession& session, const modGlobals::Settings& settings);
    /// Sets the texts that the ids do not cover.
    void Localise();

    void Ticked() override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    LineLabel* addRow(QGridLayout& grid, const char* name, TextId caption, TextId toolTip);
    void showFigures();
    std::optional<double> recordedRate() const;
    void copy();

    clsSession* m_session = nullptr;
    const modGlobals::Settings* m_settings = nullptr;
    std::int32_t m_ticks = 0;

    LineLabel* lblReceivedRate = nullptr;
    LineLabel* lblRecordedRate = nullptr;
    LineLabel* lblValidShare = nullptr;
    LineLabel* lblNoEcho = nullptr;
    LineLabel* lblDamaged = nullptr;
    LineLabel* lblLongestGap = nullptr;
    QAction* mnuLineCopy = nullptr;
};
