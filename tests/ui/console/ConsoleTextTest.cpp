// The console window's text: rows, symbols and bounds.
#include "ui/console/ConsoleText.h"

#include <QMimeData>

#include <gtest/gtest.h>

namespace {

struct OpenText : ConsoleText {
    using ConsoleText::ConsoleText;
    using ConsoleText::createMimeDataFromSelection;
};

TEST(ConsoleText, RowsAreBoundedAndLongLinesComeBackWhole)
{
    OpenText text(nullptr, 5, 10);
    text.Append("one\r", Qt::gray);
    text.Append("\ntwo\rthree\n\n", Qt::gray); // a CR LF split between two reads, then each of the two alone
    EXPECT_EQ(text.WholeText(), "one\ntwo\nthree\n\n");
    text.Append(QString("a\x01\x7F") + QChar(0), Qt::gray);
    EXPECT_EQ(text.toPlainText().section(u'\n', -1), QStringLiteral("a␁␡␀"));

    text.Append("\n" + QString(35, u'x') + "\nend", Qt::gray);
    EXPECT_EQ(text.blockCount(), 5) << "four rows of the long line and the end";
    EXPECT_EQ(text.WholeText(), QString(35, u'x') + "\nend");
    text.selectAll();
    EXPECT_EQ(std::unique_ptr<QMimeData>(text.createMimeDataFromSelection())->text(), text.WholeText());
}

} // namespace
