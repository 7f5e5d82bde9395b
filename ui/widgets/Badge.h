// Says that values are not live: "SIMULATED", "RECORDING of 20.11.2026 14:03, SN 004711". The same words stand beside
// the number, in the chart and in the title of the window. Here: the words, and the box beside the number.
#pragma once

#include "session/ValueOrigin.h"

#include <QLabel>
#include <QString>

#include <cstdint>
#include <string>

/// "SN 004711"; empty without a number. A sensor may send anything, so a long one is cut.
QString SerialText(const std::string& serial, std::int32_t language);

/// Empty for live values.
QString BadgeText(const ValueOrigin& origin, std::int32_t language);

/// An outlined box around its text, on the right; hidden without one.
class Badge : public QLabel {
    Q_OBJECT

public:
    explicit Badge(QWidget* parent);

    /// A text that needs more than `room` takes more lines.
    void ShowBadge(const QString& text, int room);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString lines() const;

    int m_room = 0;
};
