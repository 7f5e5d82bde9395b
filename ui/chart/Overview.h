// The overview below the chart: the whole session or recording as a band of lowest and highest values, with its gaps,
// its marks, and the window that the chart shows as a frame that can be dragged and stretched.
#pragma once

#include <QWidget>

#include <cstdint>

class ChartPanel;
class clsSession;

class Overview : public QWidget {
    Q_OBJECT

public:
    explicit Overview(QWidget* parent);

    /// Shows what a session has measured, and moves a chart. Call it once; both must outlive the overview.
    void Follow(clsSession& session, ChartPanel& chart);
    void Localise(std::int32_t language);
};
