// The overview below the chart: the whole session or recording as a band of lowest and highest values, with its gaps,
// its marks, and the window that the chart shows as a frame that can be dragged and stretched.
#pragma once

#include "session/SessionListener.h"
#include "session/modOverview.h"
#include "ui/chart/OverviewBand.h"

#include <QElapsedTimer>
#include <QWidget>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

class ChartPanel;
class clsSession;
struct ChartColors;

class Overview : public QWidget, private SessionListener {
    Q_OBJECT

public:
    explicit Overview(QWidget* parent);
    ~Overview() override;

    /// Shows what a session has measured, and moves a chart. Call it once; both must outlive the overview.
    void Follow(clsSession& session, ChartPanel& chart);
    void Localise(std::int32_t language);

    /// Called with what there is to say about a mark that was changed here.
    std::function<void(const QString& message)> News;

    /// What is shown of what, for those who cannot see it.
    QString Description() const;
    /// What lies at a point: a mark, a gap with its reason, or the time.
    QString ExplanationAt(const QPointF& point) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    /// What the band was drawn from.
    struct Drawn {
        const clsHistory* history = nullptr;
        std::uint64_t version = 0, marks = 0;
        std::size_t size = 0;
        bool showZero = false;
        bool operator==(const Drawn&) const = default;
    };
    struct Drag {
        modOverview::Part part = modOverview::Part::Inside;
        double place = 0.0; ///< where the frame was taken hold of
        PlaceRange range;   ///< of the chart then
    };

    void PlaybackGoesOn() override;
    void PlaybackEnds(const std::filesystem::path& /*file*/, const modPlayback::Loaded& /*loaded*/) override
    {
        refresh();
    }

    void refresh();
    Drawn present() const;
    bool isDueAfter(int time_ms, const Drawn& now) const;
    bool isEmpty() const;
    bool isLive() const;
    PlaceRange all() const;
    QRectF band() const;
    QRectF frame() const;
    double xOf(double place) const;
    double placeAt(double x) const;
    std::optional<std::size_t> markAt(const QPointF& point) const;
    void drawSigns(QPainter& painter, const ChartColors& colors) const;
    void drawFrame(QPainter& painter, const ChartColors& colors) const;
    void drawLabels(QPainter& painter, const ChartColors& colors) const;
    void show(const PlaceRange& range);
    void follow();
    void showAll();
    void goTo(double place);
    bool moveByKey(const QKeyEvent& event);
    bool markByKey(const QKeyEvent& event);
    void chooseMark(int step);
    /// The chosen mark, while the marks are those among which it was chosen.
    std::optional<std::size_t> chosen() const;
    void editMark(std::size_t mark);
    void removeMark(std::size_t mark);
    void tell(const QString& message) const;
    void describe();

    clsSession* m_session = nullptr;
    ChartPanel* m_chart = nullptr;
    std::int32_t m_language = 0;
    OverviewBand m_band;
    Drawn m_drawn;
    QElapsedTimer m_sinceDrawn;
    QRectF m_shownFrame;
    std::optional<Drag> m_drag;
    std::optional<std::size_t> m_mark; ///< that the keys have chosen
    std::uint64_t m_markVersion = 0;   ///< the marks among which they have
};
