// The manual inside the program: pages, links, pop-up texts, and the viewer.
#include "sensor/Parameters.h"
#include "tests/support/Desk.h"
#include "texts/modFunctions.h"
#include "ui/help/frmHelp.h"
#include "ui/help/modHTMLHelp.h"
#include "ui/main/frmSplash.h"
#include "ui/widgets/QtText.h"

#include <QAbstractItemView>
#include <QDir>
#include <QLineEdit>
#include <QMenu>
#include <QRegularExpression>
#include <QTextBlock>
#include <QTextBrowser>
#include <QToolButton>
#include <QTreeWidget>

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

namespace {

QString read(const QString& name)
{
    QFile file(":/help/" + name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QStringList matches(const QString& text, const char* pattern)
{
    QStringList found;
    for (auto match = QRegularExpression(pattern).globalMatch(text); match.hasNext();) {
        found += match.next().captured(1);
    }
    return found;
}

TEST(Manual, EveryLinkLeadsSomewhereAndBothLanguagesHaveTheSameSections)
{
    const QStringList pages = QDir(":/help").entryList({"*.htm"});
    EXPECT_GE(pages.size(), 7);
    for (const QString& page : pages) {
        const QString text = read(page);
        EXPECT_EQ(matches(text, "<title>(.+)</title>").size(), 1) << qPrintable(page);
        for (const QString& link : matches(text, "(?:href|src)=\"([^\"]+)\"")) {
            const QString target = link.section(u'#', 0, 0), anchor = link.section(u'#', 1);
            const QString linked = read(target.isEmpty() ? page : target);
            EXPECT_FALSE(linked.isEmpty()) << qPrintable(page + " to " + link);
            EXPECT_TRUE(anchor.isEmpty() || linked.contains("name=\"" + anchor + "\"")) << qPrintable(page + link);
        }
        const QString english = read(QString(page).replace("_de", "_en"));
        EXPECT_EQ(matches(text, "<a name=\"(\\w+)\""), matches(english, "<a name=\"(\\w+)\"")) << qPrintable(page);
    }
}

TEST(Manual, EveryPictureIsOnAPageAndEveryTopicHasItsPage)
{
    const QStringList pages = QDir(":/help").entryList({"*.htm"});
    for (const QString& picture : QDir(":/help/images").entryList({"*.png"})) {
        const auto shows = [&](const QString& page) { return read(page).contains("images/" + picture); };
        EXPECT_TRUE(std::ranges::any_of(pages, shows)) << qPrintable(picture + " is on no page");
    }
    for (const QString& topic : read("Contents.txt").split(u'\n', Qt::SkipEmptyParts)) {
        for (const std::int32_t language : {LanguageGerman, LanguageEnglish}) {
            const std::string page = modHTMLHelp::TopicPage(topic.trimmed().toStdString(), language);
            EXPECT_TRUE(pages.contains(QString::fromStdString(page))) << page;
        }
    }
}

TEST(Manual, TablesHoldEveryParameterInTheWordsOfTheirLanguage)
{
    const std::pair<const char*, const char*> rows[] = {
        {"Protocol_en.htm", "<td>302</td><td>TimeOut in %</td><td>0, 25, 50, 100, 200</td>"},
        {"Protocol_de.htm", "<td>801</td><td>Lufttemperatur in °C mal 10</td><td>−100 bis 500</td>"},
        {"Protocol_en.htm", "<td>Data Output</td><td>C continuous, S single, R on request</td>"},
        {"Files_en.htm", "<td>NodeAddress</td><td>Profibus Address, 0 to 125; −1: serial device</td><td>−1</td>"},
        {"Files_de.htm", "<td>RainFilter</td><td>Regenfilter: 0 bis 2 für OFF, DISTECHO, PIXEL</td><td>0</td>"},
        {"RVQSettings_de.htm", "<td>Lufttemperatur</td><td>−10,0 bis 50,0&nbsp;°C</td><td>20,0&nbsp;°C</td>"},
        {"RVQSettings_en.htm",
         "<td>ON-Threshold Q1</td><td>−1,000,000 to 1,000,000&nbsp;mm</td><td>10,000&nbsp;mm</td>"},
        {"RVQSettings_en.htm", "<td>0, 25, 50, 100, 200&nbsp;%</td><td>Time-out of the measurement.</td>"},
    };
    for (const auto& [page, row] : rows) {
        EXPECT_TRUE(read(page).contains(row)) << page << ": " << row;
    }
    for (const ParameterDef& row : ParameterTable()) {
        const QString name = FromUtf8(modFunctions::GetText(row.labelId, LanguageEnglish)).trimmed();
        EXPECT_TRUE(read("Protocol_en.htm").contains("<td>" + FromUtf8(row.code) + "</td><td>" + name)) << row.code;
        EXPECT_TRUE(read("Files_en.htm").contains("<td>" + FromUtf8(row.key) + "</td><td>" + name)) << row.key;
        EXPECT_TRUE(read("RVQSettings_en.htm").contains("<td>" + name + "</td>")) << row.code;
    }
}

TEST(Manual, PopUpTextsAreTheSameTopicsInBothLanguages)
{
    const auto german = modHTMLHelp::PopUpTexts(read("RVQ_PopUps_De.txt").toStdString());
    const auto english = modHTMLHelp::PopUpTexts(read("RVQ_PopUps_En.txt").toStdString());
    EXPECT_EQ(german.size(), english.size());
    for (const auto& [topic, text] : german) {
        ASSERT_TRUE(english.contains(topic)) << topic;
        EXPECT_FALSE(text.empty() || english.at(topic).empty()) << topic;
        EXPECT_NE(text, english.at(topic)) << topic;
    }
}

TEST(Manual, APopUpTextGoesFromItsTopicToTheNext)
{
    const auto parsed = modHTMLHelp::PopUpTexts("lost\n# note\r\n.topic  a.b \r\none\r\n\r\ntwo\r\n.topic c\n");
    EXPECT_EQ(parsed.at("a.b"), "one two");
    EXPECT_EQ(parsed.at("c"), "");
}

struct StartUp : Desk {
    frmSplash splash{inGerman(), devices, help};

    StartUp() { splash.show(); }
    modGlobals::Settings& inGerman() { return settings = {.Language = LanguageGerman}; }
    frmHelp* Viewer() const { return splash.findChild<frmHelp*>(); }
    QTextBrowser* Page() const { return FindIn<QTextBrowser>(*Viewer(), "txtPage"); }
};

TEST(ContextHelp, F1ExplainsTheControlInTheChosenLanguageOrOpensTheWindowsPage)
{
    StartUp start;
    auto* list = start.splash.findChild<QWidget*>("cmbBaudrate");
    start.help.SetHelpFile();
    const QString german = start.help.PopUpText(*list);
    EXPECT_FALSE(german.isEmpty());
    start.settings.Language = LanguageEnglish;
    start.help.SetHelpFile();
    EXPECT_EQ(start.help.HelpFile(), start.folder.path.string() + "/RVQ.chm::/RVQ_PopUps_En.txt");
    EXPECT_NE(start.help.PopUpText(*list), german);

    PressKey(*list, Qt::Key_F1);
    EXPECT_EQ(start.Viewer(), nullptr) << "a control with a text of its own is explained on the spot";
    PressKey(start.splash, Qt::Key_F1);
    ASSERT_NE(start.Viewer(), nullptr);
    EXPECT_EQ(start.Page()->source().fileName(), "Splash_en.htm");
}

TEST(ContextHelp, MenusAndOpenListsBelongToTheirWindow)
{
    StartUp start;
    auto* list = start.splash.findChild<QComboBox*>("cmbComPort");
    list->showPopup();
    QWidget* popup = list->view()->window();
    ASSERT_NE(popup, &start.splash);
    EXPECT_EQ(start.help.PopUpText(*list->view()), start.help.PopUpText(*list));
    QMenu menu(&start.splash);
    menu.setObjectName("frmMain"); // so that it has topics
    QAction* item = menu.addAction("about");
    item->setObjectName("mnuHelpAbout");
    start.help.ExplainMenus(menu);
    EXPECT_FALSE(item->whatsThis().isEmpty());
    menu.popup({});
    PressKey(menu, Qt::Key_F1);
    menu.hide();
    ASSERT_NE(start.Viewer(), nullptr) << "no item is active: the window's page";
    PressKey(*start.Viewer(), Qt::Key_F1);
    EXPECT_EQ(start.splash.findChildren<frmHelp*>().size(), 1);
}

TEST(HelpViewer, SearchGoesThroughAllPagesAndRound)
{
    StartUp start;
    start.splash.findChild<QPushButton*>("cmdHelp")->click();
    auto* search = start.Viewer()->findChild<QLineEdit*>("txtSearch");
    const auto press = [&](const char* button) {
        start.Viewer()->findChild<QToolButton*>(button)->click();
        EXPECT_EQ(start.Page()->textCursor().selectedText().toLower(), search->text());
        return std::pair(start.Page()->source().fileName(), start.Page()->textCursor().position());
    };
    search->setText("temperatur"); // on most pages, but not on the one about the start-up window
    const auto first = press("cmdFindNext"), second = press("cmdFindNext");
    EXPECT_EQ(first.first, "Main_de.htm") << "the next page that has it";
    EXPECT_EQ(press("cmdFindPrevious"), first);
    auto last = press("cmdFindPrevious");
    EXPECT_EQ(last.first, "Trouble_de.htm") << "round the beginning";
    EXPECT_EQ(press("cmdFindNext"), first) << "round the end";
    std::set<QString> pages;
    for (auto place = second; place != first && pages.size() < 100; place = press("cmdFindNext")) {
        pages.insert(place.first);
    }
    EXPECT_GT(pages.size(), 5U);
}

TEST(HelpViewer, TheSectionThatTheRefusalNamesIsFoundByItsNumber)
{
    for (const std::int32_t language : {LanguageGerman, LanguageEnglish}) {
        StartUp start;
        start.settings.Language = language;
        start.splash.findChild<QPushButton*>("cmdHelp")->click();
        const QString box = FromUtf8(modFunctions::GetText(TextId::QuestionTransferFailure, language)).trimmed();
        const QString section = box.mid(box.indexOf("5.4."));
        auto* contents = FindIn<QTreeWidget>(*start.Viewer(), "tvContents");
        EXPECT_EQ(contents->findItems(section, Qt::MatchExactly | Qt::MatchRecursive).size(), 1) << qPrintable(section);
        start.Viewer()->findChild<QLineEdit*>("txtSearch")->setText(section);
        start.Viewer()->findChild<QToolButton*>("cmdFindNext")->click();
        EXPECT_EQ(start.Page()->textCursor().block().blockFormat().headingLevel(), 2) << qPrintable(section);
    }
}

TEST(ContextHelp, F1InABoxOpensTheSectionAboutIt)
{
    const std::pair<const char*, const char*> rows[] = {
        {"dlgFailure", "RVQSettings_de.htm#error"},
        {"frmFind", "Splash_de.htm#find"},
        {"frmTraffic", "Traffic_de.htm"},
    };
    for (const auto& [name, page] : rows) {
        StartUp start;
        QDialog box(&start.splash);
        box.setObjectName(name);
        box.show();
        PressKey(box, Qt::Key_F1);
        auto* viewer = box.findChild<frmHelp*>();
        ASSERT_NE(viewer, nullptr) << name;
        EXPECT_EQ(FindIn<QTextBrowser>(*viewer, "txtPage")->source().toString().toStdString(),
                  std::string("qrc:/help/") + page);
    }
}

TEST(ContextHelp, F1InAPartOfTheMainWindowOpensThePageAboutThatPart)
{
    const std::pair<const char*, const char*> rows[] = {
        {"fraLine", "Account_de.htm#line"},
        {"picGraph", "Looking_de.htm"},
        {"picOverview", "Looking_de.htm#overview"},
        {"fraStatistics", "Looking_de.htm#reading"},
    };
    for (const auto& [part, page] : rows) {
        StartUp start;
        QWidget frame(&start.splash);
        frame.setObjectName(part);
        QLabel figure(&frame);
        PressKey(figure, Qt::Key_F1);
        ASSERT_NE(start.Viewer(), nullptr) << part;
        EXPECT_EQ(start.Page()->source().toString().toStdString(), std::string("qrc:/help/") + page);
    }
}

TEST(HelpViewer, GoesBackAndForward)
{
    StartUp start;
    start.splash.findChild<QPushButton*>("cmdHelp")->click();
    ASSERT_NE(start.Viewer(), nullptr);
    EXPECT_EQ(start.Page()->source().fileName(), "Splash_de.htm");
    auto* back = start.Viewer()->findChild<QToolButton*>("cmdBack");
    auto* forward = start.Viewer()->findChild<QToolButton*>("cmdForward");
    EXPECT_FALSE(back->isEnabled());
    start.Viewer()->ShowPage("Main_de.htm");
    back->click();
    EXPECT_EQ(start.Page()->source().fileName(), "Splash_de.htm");
    forward->click();
    EXPECT_EQ(start.Page()->source().fileName(), "Main_de.htm");
    EXPECT_EQ(FindIn<QTreeWidget>(*start.Viewer(), "tvContents")->currentItem()->text(0), "Hauptfenster");
}

TEST(HelpViewer, SaysThatASearchFindsNothingAndStaysOnThePage)
{
    StartUp start;
    start.splash.findChild<QPushButton*>("cmdHelp")->click();
    auto* search = start.Viewer()->findChild<QLineEdit*>("txtSearch");
    auto* found = start.Viewer()->findChild<QLabel*>("lblFound");
    search->setText("no such words");
    start.Viewer()->findChild<QToolButton*>("cmdFindNext")->click();
    EXPECT_EQ(start.Page()->source().fileName(), "Splash_de.htm");
    EXPECT_EQ(found->text(), "Nicht gefunden");
    search->setText("temp");
    EXPECT_EQ(found->text(), "") << "said until the next text";
}

} // namespace
