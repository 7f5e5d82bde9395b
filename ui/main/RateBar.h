// A bar that says that the sensor was found at another baud rate, with the way back to the former one.
#pragma once

#include <QFrame>

#include <cstdint>

class QLabel;
class QPushButton;
class QToolButton;

class RateBar : public QFrame {
    Q_OBJECT

public:
    /// Hidden at first. The bar is "fraRate" with "lblRate", "cmdRateBack" and "cmdDismissRate".
    explicit RateBar(QWidget* parent);

    /// Shows that the sensor answers at `rate` now and no longer at `former` (bit/s).
    void Tell(std::int32_t former, std::int32_t rate);
    /// Call it in every tick: another rate or port than the one that was told takes the bar away.
    void Follow(std::int32_t port, std::int32_t rate);
    void Localise(std::int32_t language);
    std::int32_t Former() const { return m_former; }

signals:
    void back();

private:
    void showText();

    std::int32_t m_language = 0, m_former = 0, m_rate = 0, m_port = 0;
    QLabel* lblRate;
    QPushButton* cmdRateBack;
    QToolButton* cmdDismissRate;
};
