// The text table and the conversions at the windows' edge.
#include "store/modGlobals.h"
#include "texts/modFunctions.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QAction>
#include <QDirIterator>
#include <QFile>
#include <QLabel>
#include <QRegularExpression>
#include <QTabWidget>
#include <QToolBar>
#include <QTreeWidget>

#include <cerrno>
#include <gtest/gtest.h>
#include <set>

namespace {

TEST(Texts, EveryRowHasTwoTextsAndAnIdOfItsOwn)
{
    struct Row {
        int id;
        const char *german, *english;
        bool same;
    };
    const Row rows[] = {
#define TEXT(id, german, english) {id, german, english, false},
#define SAME(id, text) {id, text, text, true},
#include "texts/StringTable.inc"
#undef SAME
#undef TEXT
    };
    std::set<int> ids;
    for (const Row& row : rows) {
        EXPECT_TRUE(ids.insert(row.id).second) << row.id << " stands twice";
        EXPECT_EQ(std::string_view(row.german) == row.english, row.same) << row.id;
        EXPECT_GE(row.id, 1000);
        EXPECT_LT(row.id, 1400);
        EXPECT_EQ(modFunctions::GetText(row.id, 0), row.german);
        EXPECT_EQ(modFunctions::GetText(row.id, 1000), row.english);
        EXPECT_FALSE(FromUtf8(row.german).contains(QChar::ReplacementCharacter)) << row.id;
    }
    EXPECT_EQ(modFunctions::GetText(1401, 1000), "");
}

TEST(Texts, EveryIdInTheCodeHasAText)
{
    const std::set<int> otherNumbers{1000, 1024, 1200, 1252}; // that are no ids
    static const QRegularExpression number("\\b1[0-3]\\d\\d\\b(?!\\.)"), noCode("//[^\n]*|\"[^\"\n]*\"");
    int ids = 0;
    for (const char* folder : {"app", "sensor", "session", "store", "ui"}) {
        for (QDirIterator files(QDir(ORVEX_SOURCE_DIR).filePath(folder), {"*.cpp", "*.h"}, QDir::Files,
                                QDirIterator::Subdirectories);
             files.hasNext();) {
            QFile source(files.next());
            ASSERT_TRUE(source.open(QIODevice::ReadOnly)) << qPrintable(source.fileName());
            const QString code = QString::fromUtf8(source.readAll()).remove(noCode);
            for (auto match = number.globalMatch(code); match.hasNext(); ++ids) {
                const int id = match.next().captured().toInt();
                EXPECT_TRUE(otherNumbers.contains(id) || !modFunctions::GetText(id, LanguageGerman).empty())
                    << id << " in " << qPrintable(source.fileName());
            }
        }
    }
    EXPECT_GT(ids, 250) << "some three hundred stand there: the files have not been found";
}

TEST(Texts, ReasonsOfTheSystemAreInTheLanguageOfTheWindow)
{
    for (const int number :
         {ENOSPC, EACCES, EPERM, ENOENT, EROFS, EISDIR, EIO, EFBIG, EDQUOT, ENAMETOOLONG, ELOOP, EMLINK, EBUSY}) {
        const std::error_code error(number, std::system_category());
        const QString english = FileErrorText(error, LanguageEnglish), german = FileErrorText(error, LanguageGerman);
        EXPECT_NE(english, german) << number;
        EXPECT_NE(english.toStdString(), error.message());
        EXPECT_EQ(FileErrorText(qt_error_string(number), LanguageGerman), german) << number;
    }
    EXPECT_EQ(FileErrorText(std::make_error_code(std::errc::host_unreachable), 0).toStdString(), "No route to host");
    EXPECT_EQ(FileErrorText(QStringLiteral("no words of the system"), 0), "no words of the system");
}

TEST(Localising, EveryKindOfControlTakesItsTextsById)
{
    QWidget form;
    SetTextIds(&form, 1110);
    const auto* label = new QLabel("as designed", &form);
    auto* tabs = new QTabWidget(&form);
    tabs->addTab(new QWidget, "a");
    tabs->addTab(new QWidget, "as designed");
    SetTabIds(*tabs, 0, 1101, 1113);
    auto* bar = new QToolBar(&form);
    SetButtonId(*bar->addAction("b"), 1126);
    auto* list = new QTreeWidget(&form);
    SetColumnId(*list, 0, 1122);
    LocaliseForm(form, LanguageEnglish);
    EXPECT_EQ(form.windowTitle(), "Measurement");
    EXPECT_EQ(label->text(), "as designed");
    EXPECT_EQ(tabs->tabText(0), "Serial Interface");
    EXPECT_EQ(tabs->tabToolTip(0), "Request temperature value during measurement");
    EXPECT_EQ(tabs->tabText(1), "as designed");
    EXPECT_EQ(bar->actions().front()->toolTip(), "&Connect");
    EXPECT_EQ(list->headerItem()->text(0), "Language");
    LocaliseForm(form, LanguageGerman);
    EXPECT_EQ(form.windowTitle(), "Messung");
    EXPECT_EQ(list->headerItem()->text(0), "Sprache");
}

TEST(Texts, BytesGoThereAndBack)
{
    std::string all;
    for (int byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
    }
    EXPECT_EQ(FromBytes(all).size(), 256);
    EXPECT_EQ(ToBytes(FromBytes(all)), all);
    EXPECT_EQ(FromBytes("23 \xB0\x43 \x80"), QStringLiteral("23 °C €"));
    EXPECT_EQ(ToBytes(QStringLiteral("aΩ😀ß")), "a??\xDF");
}

} // namespace
