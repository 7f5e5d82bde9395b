#include "ui/widgets/WrappedLabel.h"

#include <QResizeEvent>
#include <QTextLayout>

WrappedLabel::WrappedLabel(QWidget* parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed); // a long text must not widen the window
}

void WrappedLabel::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    if (event->size().width() != event->oldSize().width()) {
        if (!m_lines.isEmpty()) {
            fitLines();
        }
        updateGeometry();
    }
}

void WrappedLabel::ShowLines(const QStringList& lines, int mostRows, const QString& more)
{
    m_lines = lines;
    m_mostRows = mostRows;
    m_more = more;
    fitLines();
}

void WrappedLabel::fitLines()
{
    QStringList shown;
    int left = m_mostRows;
    for (qsizetype i = 0; i < m_lines.size(); ++i) {
        const qsizetype others = m_lines.size() - i - 1;
        const int room = others == 0 ? left : left - 1; // a row for those that follow
        if (room == 0) {
            shown += m_more.arg(others + 1);
            break;
        }
        int rows = 0;
        shown += cut(m_lines[i], room, rows);
        left -= rows;
    }
    setText(shown.join(u'\n'));
}

/// The line with so many rows at most, and how many it has.
QString WrappedLabel::cut(const QString& line, int mostRows, int& rows) const
{
    QTextLayout layout(line, font());
    layout.beginLayout();
    qsizetype lastRow = 0;
    for (rows = 0;; ++rows) {
        QTextLine row = layout.createLine();
        if (!row.isValid()) {
            return line;
        }
        if (rows == mostRows) {
            break;
        }
        row.setLineWidth(contentsRect().width());
        lastRow = row.textStart();
    }
    return line.left(lastRow) + fontMetrics().elidedText(line.mid(lastRow), Qt::ElideRight, contentsRect().width());
}
