// The viewer of the help pages: contents, the page, search in all pages, back and forward.
#pragma once

#include <QWidget>

#include <vector>

class QLabel;
class QLineEdit;
class QTextBrowser;
class QToolButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace modGlobals {
struct Settings;
}

class frmHelp : public QWidget {
    Q_OBJECT

public:
    /// A separate window that closes with `owner`. `settings` must outlive it.
    frmHelp(QWidget& owner, const modGlobals::Settings& settings);

    /// Shows a page of the program's help, for example "Main_de.htm".
    void ShowPage(const QString& page);

protected:
    void changeEvent(QEvent* event) override;

private:
    struct Page {
        QString file, text;
    };

    QToolButton* addButton(const char* name, const char* text, const QKeySequence& shortcut);
    QLayout* buildBar();
    void connectControls();
    void localise();
    void showInOtherLanguage();
    void fillContents();
    void addSections(QTreeWidgetItem& page, const QString& file);
    void markPage(const QString& page);
    void find(bool backwards);
    bool findInPage(bool backwards);
    bool findInOtherPages(bool backwards);

    const modGlobals::Settings& m_settings;
    std::vector<Page> m_pages; ///< all pages of the language, in the order of the contents
    QToolButton* cmdBack;
    QToolButton* cmdForward;
    QLineEdit* txtSearch;
    QToolButton* cmdFindPrevious;
    QToolButton* cmdFindNext;
    QLabel* lblFound;
    QTreeWidget* tvContents;
    QTextBrowser* txtPage;
};
