// The statistics of what the chart shows, or of what lies between its cursors, and what the cursors read.
#pragma once

#include <QFrame>
#include <QString>

#include <cstdint>

class ChartPanel;

class StatisticsPanel : public QFrame {
    Q_OBJECT

public:
    explicit StatisticsPanel(QWidget* parent);

    /// Shows the statistics of a chart. Call it once; the chart must outlive the panel.
    void Follow(ChartPanel& chart);
    void Localise(std::int32_t language);
    /// Everything that it says, as lines of name, tab and number.
    QString AsText() const;
};
