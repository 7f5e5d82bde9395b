// A label whose text takes as many lines as its width needs. A bare label makes its window believe that the text always
// needs the height of its narrowest shape.
#pragma once

#include <QLabel>
#include <QStringList>

class WrappedLabel : public QLabel {
public:
    explicit WrappedLabel(QWidget* parent);

    bool hasHeightForWidth() const override { return false; }
    QSize sizeHint() const override { return {0, heightForWidth(width())}; }
    QSize minimumSizeHint() const override { return sizeHint(); }

    /// Shows as many of the lines as there is room for in so many rows, and then `more` with the number of the others
    /// for its %1. A line that has not room enough ends with dots.
    void ShowLines(const QStringList& lines, int mostRows, const QString& more);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QString cut(const QString& line, int mostRows, int& rows) const;
    void fitLines();

    QStringList m_lines; ///< that are fitted to the width
    int m_mostRows = 0;
    QString m_more;
};
