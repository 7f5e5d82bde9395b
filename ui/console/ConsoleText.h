// The text of the console window: rows of coloured characters, as in a terminal.
#pragma once

#include <QPlainTextEdit>

class ConsoleText : public QPlainTextEdit {
    Q_OBJECT

public:
    ConsoleText(QWidget* parent, int rows, int columns);

    /// Appends at the end, which stays in view unless the user has scrolled back. CR, LF and CR LF end a row; other
    /// control characters appear as symbols.
    void Append(const QString& text, const QColor& colour);
    void Clear();
    /// The whole text; rows that were broken for their length are joined again.
    QString WholeText() const;

protected:
    QMimeData* createMimeDataFromSelection() const override;

private:
    QString textBetween(int from, int to) const;
    void appendRow(QTextCursor& end, const QString& row, const QTextCharFormat& format) const;

    int m_columns;
    bool m_afterReturn = false;
};
