// The statistics of what the chart shows, or of what lies between its cursors, what the cursors read, and the value
// under the pointer. Its numbers take as many lines as the width wants.
#pragma once

#include "plot/PlaceRange.h"
#include "texts/TextId.h"

#include <QElapsedTimer>
#include <QFrame>
#include <QString>

#include <cstdint>
#include <vector>

class ChartPanel;
class FigureLabel;
class LineLabel;
class QAction;
class QLabel;
class clsHistory;
struct Statistics;

class StatisticsPanel : public QFrame {
    Q_OBJECT

public:
    explicit StatisticsPanel(QWidget* parent);

    /// Shows the statistics of a chart. Call it once; the chart must outlive the panel.
    void Follow(ChartPanel& chart);
    void Localise(std::int32_t language);
    /// Everything that it says, as lines of name, tab and number.
    QString AsText() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Figure {
        QLabel* name;
        FigureLabel* number;
        TextId caption;
        int width = 0; ///< the number has needed once
    };
    /// The widths of what stands in it.
    struct Column {
        int name = 0, number = 0;
    };
    /// What the shown numbers were made from.
    struct Source {
        const clsHistory* history = nullptr;
        std::uint64_t version = 0;
        std::int32_t unit = -1;
        PlaceRange range;
        bool operator==(const Source&) const = default;
    };

    FigureLabel* addFigure(const char* name, TextId caption, TextId toolTip);
    void go(FigureLabel* from, int by);
    void lookAgain();
    void showAll();
    void showStatistics(const Statistics& figures);
    void showCursors();
    void show(FigureLabel& label, const QString& text);
    void showScope(bool isThinned);
    std::vector<Column> columnsOf(std::size_t count) const;
    std::vector<Column> columnsIn(int width, int gap) const;
    int place(int width, bool moves) const;
    void keepRoom();

    ChartPanel* m_chart = nullptr;
    std::int32_t m_language = 0;
    Source m_shown;
    bool m_follows = false; ///< the numbers change with every value
    QElapsedTimer m_sinceShown;
    std::vector<Figure> m_figures;
    QAction* mnuStatCopyAll = nullptr;
    LineLabel *lblPointer = nullptr, *lblStatScope = nullptr;
    FigureLabel *lblStatCount = nullptr, *lblStatValid = nullptr, *lblStatMinimum = nullptr, *lblStatMaximum = nullptr,
                *lblStatMean = nullptr, *lblStatDeviation = nullptr, *lblStatPeak = nullptr, *lblStatDrift = nullptr,
                *lblStatRate = nullptr;
    FigureLabel *lblCursorTime = nullptr, *lblCursorDistance = nullptr, *lblCursorSpeed = nullptr;
};
