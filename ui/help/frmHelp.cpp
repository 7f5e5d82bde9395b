#include "ui/help/frmHelp.h"

#include "store/modGlobals.h"
#include "ui/help/modHTMLHelp.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/WindowPlace.h"

#include <QFile>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QScreen>
#include <QScrollBar>
#include <QShortcut>
#include <QSplitter>
#include <QStyle>
#include <QTextBlock>
#include <QTextBrowser>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr double kShareOfScreen = 0.9;
constexpr int kSectionLevel = 2;
constexpr int kLink = Qt::UserRole; // in a line of the contents: the page, with "#anchor" for a section

QUrl urlOf(const QString& page)
{
    return QUrl(QStringLiteral("qrc") + FromUtf8(modHTMLHelp::kFolder) + page);
}

QString pageOf(const QUrl& url)
{
    return url.fileName();
}

QString readText(const QString& file)
{
    QFile source(FromUtf8(modHTMLHelp::kFolder) + file);
    return source.open(QIODevice::ReadOnly) ? QString::fromUtf8(source.readAll()) : QString();
}

QString anchorIn(const QTextBlock& block)
{
    for (auto part = block.begin(); !part.atEnd(); ++part) {
        const QStringList names = part.fragment().charFormat().anchorNames();
        if (!names.isEmpty()) {
            return names.front();
        }
    }
    return {};
}

/// Scales pictures down to the page; the view itself would do so coarsely.
class PageView : public QTextBrowser {
public:
    using QTextBrowser::QTextBrowser;

protected:
    QVariant loadResource(int type, const QUrl& name) override
    {
        const QVariant loaded = QTextBrowser::loadResource(type, name);
        if (type != QTextDocument::ImageResource) {
            return loaded;
        }
        QImage picture = QImage::fromData(loaded.toByteArray());
        const int room = viewport()->width() - 2 * static_cast<int>(document()->documentMargin());
        if (room > 0 && picture.width() > room) {
            picture = picture.scaledToWidth(qRound(room * devicePixelRatioF()), Qt::SmoothTransformation);
            picture.setDevicePixelRatio(devicePixelRatioF());
        }
        return picture;
    }
};

} // namespace

frmHelp::frmHelp(QWidget& owner, const modGlobals::Settings& settings)
    : QWidget(&owner, Qt::Window), m_settings(settings)
{
    setObjectName(QStringLiteral("frmHelp"));
    SetTextIds(this, TextId::TitleHelp);
    tvContents = new QTreeWidget(this);
    tvContents->setObjectName(QStringLiteral("tvContents"));
    tvContents->setHeaderHidden(true);
    txtPage = new PageView(this);
    txtPage->setObjectName(QStringLiteral("txtPage"));
    txtPage->document()->setDocumentMargin(fontMetrics().height());
    txtPage->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn); // pictures are fitted before the page's length is known
    auto* columns = new QSplitter(this);
    columns->addWidget(tvContents);
    columns->addWidget(txtPage);
    columns->setStretchFactor(1, 1);
    columns->setSizes({fontMetrics().height() * 16, fontMetrics().height() * 54});
    auto* rows = new QVBoxLayout(this);
    rows->addLayout(buildBar());
    rows->addWidget(columns, 1);
    resize((QSize(72, 48) * fontMetrics().height()).boundedTo(screen()->availableSize() * kShareOfScreen));
    new WindowPlace(*this, m_settings.IniFile);
    connectControls();
    localise();
}

void frmHelp::ShowPage(const QString& page)
{
    txtPage->setSource(urlOf(page));
}

void frmHelp::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        localise();
    }
    QWidget::changeEvent(event);
}

QToolButton* frmHelp::addButton(const char* name, const char* text, const QKeySequence& shortcut)
{
    auto* button = new QToolButton(this);
    button->setObjectName(QLatin1String(name));
    button->setText(QString::fromUtf8(text));
    button->setAutoRaise(true);
    button->setShortcut(shortcut);
    return button;
}

QLayout* frmHelp::buildBar()
{
    cmdBack = addButton("cmdBack", "←", QKeySequence(Qt::ALT | Qt::Key_Left));
    cmdForward = addButton("cmdForward", "→", QKeySequence(Qt::ALT | Qt::Key_Right));
    cmdFindPrevious = addButton("cmdFindPrevious", "↑", QKeySequence(Qt::SHIFT | Qt::Key_F3));
    cmdFindNext = addButton("cmdFindNext", "↓", QKeySequence(Qt::Key_F3));
    SetTextIds(cmdBack, TextId::None, TextId::ToolTipBack);
    SetTextIds(cmdForward, TextId::None, TextId::ToolTipForward);
    SetTextIds(cmdFindPrevious, TextId::None, TextId::ToolTipFindPrevious);
    SetTextIds(cmdFindNext, TextId::None, TextId::ToolTipFindNext);
    txtSearch = new QLineEdit(this);
    txtSearch->setObjectName(QStringLiteral("txtSearch"));
    txtSearch->setClearButtonEnabled(true);
    txtSearch->setMaximumWidth(fontMetrics().height() * 20);
    lblFound = new QLabel(this);
    lblFound->setObjectName(QStringLiteral("lblFound"));
    auto* bar = new QHBoxLayout;
    bar->addWidget(cmdBack);
    bar->addWidget(cmdForward);
    bar->addStretch(1);
    bar->addWidget(lblFound);
    bar->addWidget(txtSearch, 1);
    bar->addWidget(cmdFindPrevious);
    bar->addWidget(cmdFindNext);
    return bar;
}

void frmHelp::connectControls()
{
    connect(cmdBack, &QToolButton::clicked, txtPage, &QTextBrowser::backward);
    connect(cmdForward, &QToolButton::clicked, txtPage, &QTextBrowser::forward);
    connect(txtPage, &QTextBrowser::backwardAvailable, cmdBack, &QToolButton::setEnabled);
    connect(txtPage, &QTextBrowser::forwardAvailable, cmdForward, &QToolButton::setEnabled);
    connect(txtPage, &QTextBrowser::sourceChanged, this,
            [this](const QUrl& url) { Guarded([&] { markPage(pageOf(url)); }); });
    connect(tvContents, &QTreeWidget::itemClicked, this,
            [this](QTreeWidgetItem* item) { Guarded([&] { ShowPage(item->data(0, kLink).toString()); }); });
    connect(tvContents, &QTreeWidget::itemActivated, this,
            [this](QTreeWidgetItem* item) { Guarded([&] { ShowPage(item->data(0, kLink).toString()); }); });
    connect(txtSearch, &QLineEdit::returnPressed, this, [this] { Guarded([this] { find(false); }); });
    connect(txtSearch, &QLineEdit::textChanged, lblFound, &QLabel::clear);
    connect(cmdFindNext, &QToolButton::clicked, this, [this] { Guarded([this] { find(false); }); });
    connect(cmdFindPrevious, &QToolButton::clicked, this, [this] { Guarded([this] { find(true); }); });
    connect(new QShortcut(QKeySequence::Find, this), &QShortcut::activated, txtSearch, [this] {
        txtSearch->setFocus();
        txtSearch->selectAll();
    });
    connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this, &QWidget::close);
    cmdBack->setEnabled(false);
    cmdForward->setEnabled(false);
}

void frmHelp::localise()
{
    LocaliseForm(*this, m_settings.Language);
    txtSearch->setPlaceholderText(Text(TextId::PlaceholderSearch, m_settings.Language));
    txtSearch->setAccessibleName(Text(TextId::PlaceholderSearch, m_settings.Language));
    tvContents->setAccessibleName(Text(TextId::AccessibleContents, m_settings.Language));
    txtPage->setAccessibleName(Text(TextId::TitleHelp, m_settings.Language));
    for (QToolButton* button : findChildren<QToolButton*>(Qt::FindDirectChildrenOnly)) {
        button->setAccessibleName(button->toolTip());
    }
    lblFound->clear();
    fillContents();
    if (!txtPage->source().isEmpty()) {
        showInOtherLanguage();
    }
}

/// Shows the same page at about the same place. Back must not lead to the other language.
void frmHelp::showInOtherLanguage()
{
    const std::string page = pageOf(txtPage->source()).toStdString();
    const double place = txtPage->verticalScrollBar()->value();
    const double before = std::max(txtPage->verticalScrollBar()->maximum(), 1);
    ShowPage(FromUtf8(modHTMLHelp::TopicPage(modHTMLHelp::TopicOfPage(page), m_settings.Language)));
    txtPage->clearHistory();
    txtPage->verticalScrollBar()->setValue(qRound(place / before * txtPage->verticalScrollBar()->maximum()));
    markPage(pageOf(txtPage->source())); // the page may be the same although the contents are new
}

void frmHelp::fillContents()
{
    tvContents->clear();
    m_pages.clear();
    for (const QString& topic : readText(QStringLiteral("Contents.txt")).split(u'\n', Qt::SkipEmptyParts)) {
        const QString page = FromUtf8(modHTMLHelp::TopicPage(topic.trimmed().toStdString(), m_settings.Language));
        auto* item = new QTreeWidgetItem(tvContents);
        item->setData(0, kLink, page);
        addSections(*item, page);
    }
}

void frmHelp::addSections(QTreeWidgetItem& page, const QString& file)
{
    QTextDocument document;
    document.setHtml(readText(file));
    m_pages.push_back({file, document.toPlainText()});
    page.setText(0, document.metaInformation(QTextDocument::DocumentTitle));
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const QString anchor = anchorIn(block);
        if (block.blockFormat().headingLevel() == kSectionLevel && !anchor.isEmpty()) {
            auto* section = new QTreeWidgetItem(&page, {block.text()});
            section->setData(0, kLink, QString(file + u'#' + anchor));
        }
    }
}

void frmHelp::markPage(const QString& page)
{
    for (int i = 0; i < tvContents->topLevelItemCount(); ++i) {
        QTreeWidgetItem* item = tvContents->topLevelItem(i);
        const bool isCurrent = item->data(0, kLink).toString() == page;
        item->setExpanded(isCurrent);
        if (isCurrent && (tvContents->currentItem() == nullptr || tvContents->currentItem()->parent() != item)) {
            tvContents->setCurrentItem(item);
        }
    }
    lblFound->clear();
}

/// Goes to the next match, first in the page, then in the pages after it and, past the last, from the first on.
void frmHelp::find(bool backwards)
{
    const QString wanted = txtSearch->text();
    if (wanted.isEmpty()) {
        return;
    }
    const bool found = findInPage(backwards) || findInOtherPages(backwards);
    lblFound->setText(found ? QString() : Text(TextId::StatusNotFound, m_settings.Language));
}

bool frmHelp::findInPage(bool backwards)
{
    return txtPage->find(txtSearch->text(), backwards ? QTextDocument::FindBackward : QTextDocument::FindFlags());
}

/// The shown page comes last, searched from its other end.
bool frmHelp::findInOtherPages(bool backwards)
{
    const auto isShown = [shown = pageOf(txtPage->source())](const Page& page) { return page.file == shown; };
    const std::size_t count = m_pages.size();
    const auto shown = static_cast<std::size_t>(std::ranges::find_if(m_pages, isShown) - m_pages.begin());
    for (std::size_t step = 1; step <= count; ++step) {
        const Page& page = m_pages[(shown + (backwards ? count - step : step)) % count];
        if (page.text.contains(txtSearch->text(), Qt::CaseInsensitive)) {
            if (!isShown(page)) {
                ShowPage(page.file);
            }
            txtPage->moveCursor(backwards ? QTextCursor::End : QTextCursor::Start);
            return findInPage(backwards);
        }
    }
    return false;
}
