// A label with one line of plain text, aligned left or right, that measures and draws it itself. It is for texts that
// change all the time: a bare label lays out a paragraph for each, or a whole document if it can have the focus.
#pragma once

#include <QHash>
#include <QLabel>
#include <QStaticText>

#include <functional>

class QPainter;

class LineLabel : public QLabel {
    Q_OBJECT

public:
    /// With an elide mode a long text does not widen the window: dots replace what has no room. The owner sets the tool
    /// tip.
    explicit LineLabel(QWidget* parent, Qt::TextElideMode mode = Qt::ElideNone);

    /// Lets `ground` draw what lies behind the text, at 0, 0 and as large as the label; nothing else is painted for a
    /// new text. The picture must cover the label.
    void DrawGroundBy(std::function<void(QPainter&)> ground);

    /// Draws the text in the palette's colour for disabled text, because it is out of date. The label stays enabled.
    void ShowStale(bool stale);
    bool IsStale() const { return m_stale; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    /// Draws the text on its ground; the pen has its colour.
    virtual void drawContent(QPainter& painter);

private:
    struct Character {
        QStaticText text;
        double width = 0.0;
    };

    void layOut();
    void drawLine(QPainter& painter);
    void drawFigure(QPainter& painter);
    QPointF cornerOf(const QSizeF& size) const;

    Qt::TextElideMode m_mode;
    bool m_stale = false;
    std::function<void(QPainter&)> m_ground;
    QHash<QChar, Character> m_characters; ///< of all figures so far
    QStaticText m_line;
    QString m_laidOut;
    int m_laidOutWidth = 0;
};
