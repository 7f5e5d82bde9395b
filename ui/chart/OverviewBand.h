// The picture of a whole history as a band of lowest and highest values, one column a pixel, with its gaps. It is drawn
// anew only when it has to be.
#pragma once

#include "plot/modTimeScale.h"
#include "session/clsHistory.h"

#include <QImage>
#include <QSize>

#include <vector>

struct ChartColors;

class OverviewBand {
public:
    /// Draws a stretch of a history in `size` units with `ratio` pixels per unit.
    void Draw(const clsHistory& history, const PlaceRange& all, bool showZero, const QSize& size, double ratio,
              const ChartColors& colors);
    const QImage& Picture() const { return m_picture; }
    /// The gaps that the picture shows, and where the line was lost, however short.
    const std::vector<HistoryGap>& Gaps() const { return m_gaps; }
    /// Where the clock was set, as far as the places are `kApart` units from each other.
    const std::vector<modTimeScale::ClockChange>& ClockChanges() const { return m_clockChanges; }
    static constexpr double kApart = 10.0;

private:
    void findGaps(const clsHistory& history, const PlaceRange& all);
    void findClockChanges(const clsTimeLine& times, const PlaceRange& all, double apart);
    void drawGaps(QPainter& painter, const PlaceRange& all, const ChartColors& colors) const;
    void drawColumns(QPainter& painter, int thinnest, const QColor& color) const;

    QImage m_picture;
    TimeWindow m_window;
    std::vector<ValueSummary> m_columns;
    std::vector<HistoryGap> m_gaps;
    std::vector<modTimeScale::ClockChange> m_clockChanges;
};
