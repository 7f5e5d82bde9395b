// The text table and the conversions between core and windows.
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
        TextId textId;
        int id;
        const char *german, *english;
        bool same;
    };
    const Row rows[] = {
#define TEXT(id, name, german, english) {TextId::name, id, german, english, false},
#define SAME(id, name, text) {TextId::name, id, text, text, true},
#include "texts/StringTable.inc"
#undef SAME
#undef TEXT
    };
    std::set<int> ids;
    for (const Row& row : rows) {
        EXPECT_TRUE(ids.insert(row.id).second) << row.id << " stands twice";
        EXPECT_EQ(std::string_view(row.german) == row.english, row.same) << row.id;
        EXPECT_GE(row.id, 1000);
        EXPECT_LT(row.id, 2000);
        EXPECT_EQ(modFunctions::GetText(row.textId, 0), row.german);
        EXPECT_EQ(modFunctions::GetText(row.textId, 1000), row.english);
        EXPECT_FALSE(FromUtf8(row.german).contains(QChar::ReplacementCharacter)) << row.id;
    }
    EXPECT_EQ(modFunctions::GetText(TextId::None, 1000), "");
}

TEST(Texts, EveryTextIsShownSomewhere)
{
    std::set<QString> unused{
#define TEXT(id, name, german, english) #name,
#define SAME(id, name, text) #name,
#define NEUTRAL(id, name, text) #name,
#include "texts/NeutralTable.inc"
#include "texts/StringTable.inc"
#undef NEUTRAL
#undef SAME
#undef TEXT
    };
    static const QRegularExpression use("\\bTextId::(\\w+)"), noCode("//[^\n]*");
    for (const char* folder : {"app", "cli", "port", "sensor", "session", "store", "texts", "ui"}) {
        for (QDirIterator files(QDir(ORVEX_SOURCE_DIR).filePath(folder), {"*.cpp", "*.h", "*.inc"}, QDir::Files,
                                QDirIterator::Subdirectories);
             files.hasNext();) {
            QFile source(files.next());
            ASSERT_TRUE(source.open(QIODevice::ReadOnly)) << qPrintable(source.fileName());
            const QString code = QString::fromUtf8(source.readAll()).remove(noCode);
            for (auto match = use.globalMatch(code); match.hasNext();) {
                unused.erase(match.next().captured(1));
            }
        }
    }
    for (const QString& name : unused) {
        ADD_FAILURE() << "nothing shows " << qPrintable(name);
    }
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
    SetTextIds(&form, TextId::FrameMeasurement);
    const auto* label = new QLabel("as designed", &form);
    auto* tabs = new QTabWidget(&form);
    tabs->addTab(new QWidget, "a");
    tabs->addTab(new QWidget, "as designed");
    SetTabIds(*tabs, 0, TextId::FrameSerialInterface, TextId::CheckTemperature);
    auto* bar = new QToolBar(&form);
    SetButtonId(*bar->addAction("b"), TextId::ButtonConnect);
    auto* list = new QTreeWidget(&form);
    SetColumnId(*list, 0, TextId::CaptionLanguage);
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
