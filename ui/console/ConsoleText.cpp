#include "ui/console/ConsoleText.h"

#include <QFontDatabase>
#include <QMimeData>
#include <QScrollBar>
#include <QTextBlock>

#include <algorithm>

namespace {

constexpr int kBrokenRow = 1; // state of a row that continues in the next one
constexpr char16_t kControlPictures = 0x2400;
constexpr char16_t kDelete = 0x7F;
constexpr char16_t kDeletePicture = 0x2421;

QChar visible(QChar c)
{
    const char16_t code = c.unicode();
    if (code < u' ' && code != u'\t') {
        return QChar(static_cast<char16_t>(kControlPictures + code));
    }
    return code == kDelete ? QChar(kDeletePicture) : c;
}

} // namespace

ConsoleText::ConsoleText(QWidget* parent, int rows, int columns) : QPlainTextEdit(parent), m_columns(columns)
{
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setUndoRedoEnabled(false);
    setMaximumBlockCount(rows);
    setLineWrapMode(QPlainTextEdit::NoWrap);
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    QPalette black = palette();
    black.setColor(QPalette::Base, Qt::black);
    black.setColor(QPalette::Text, Qt::lightGray);
    setPalette(black);
}

void ConsoleText::Append(const QString& text, const QColor& colour)
{
    QScrollBar* bar = verticalScrollBar();
    const bool follows = bar->value() == bar->maximum();
    QTextCharFormat format;
    format.setForeground(colour);
    QTextCursor end(document());
    end.movePosition(QTextCursor::End);
    end.beginEditBlock();
    QString row;
    for (const QChar c : text) {
        const bool pairEnds = m_afterReturn && c == u'\n';
        m_afterReturn = c == u'\r';
        if (pairEnds) {
            continue;
        }
        if (c == u'\r' || c == u'\n') {
            appendRow(end, row, format);
            end.insertBlock();
            row.clear();
        } else {
            row += visible(c);
        }
    }
    appendRow(end, row, format);
    end.endEditBlock();
    if (follows) {
        bar->setValue(bar->maximum());
    }
}

void ConsoleText::Clear()
{
    clear();
    m_afterReturn = false;
}

/// A line without an end, as binary formats send it, would otherwise become a single row.
void ConsoleText::appendRow(QTextCursor& end, const QString& row, const QTextCharFormat& format) const
{
    qsizetype done = 0;
    while (done < row.size()) {
        if (end.positionInBlock() >= m_columns) {
            end.block().setUserState(kBrokenRow);
            end.insertBlock();
        }
        const qsizetype room = std::min<qsizetype>(row.size() - done, m_columns - end.positionInBlock());
        end.insertText(row.mid(done, room), format);
        done += room;
    }
}

QString ConsoleText::textBetween(int from, int to) const
{
    QString text;
    for (QTextBlock row = document()->findBlock(from); row.isValid() && row.position() <= to; row = row.next()) {
        const int begin = std::max(from - row.position(), 0);
        text += row.text().mid(begin, std::max(to - row.position() - begin, 0));
        if (to >= row.position() + row.length() && row.userState() != kBrokenRow) {
            text += u'\n';
        }
    }
    return text;
}

QString ConsoleText::WholeText() const
{
    return textBetween(0, document()->characterCount() - 1);
}

QMimeData* ConsoleText::createMimeDataFromSelection() const
{
    auto* selected = new QMimeData;
    selected->setText(textBetween(textCursor().selectionStart(), textCursor().selectionEnd()));
    return selected;
}
