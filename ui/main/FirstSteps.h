// Shown in an empty chart without a connection: how to connect, and buttons that look for the sensor and start the
// simulated one. A small sheet in the middle of the chart.
#pragma once

#include <QFrame>

#include <cstdint>

class QLabel;
class QPushButton;

class FirstSteps : public QFrame {
    Q_OBJECT

public:
    /// Hidden at first. It stays in the middle of `chart`.
    explicit FirstSteps(QWidget& chart);

    /// Shows why there is no connection, in the user's words; empty when nothing is known.
    void Explain(const QString& failure);
    /// Sets the texts in a language.
    void Localise(std::int32_t language);

    /// As wide as a line is easy to read; in a small chart the sheet is narrower and higher.
    QSize sizeHint() const override;

signals:
    void searched();
    void tried();

private:
    void showText();

    std::int32_t m_language = 0;
    QString m_failure;
    QLabel* lblFirstSteps;
    QPushButton* cmdFindSensor;
    QPushButton* cmdSimulatedSensor;
};
