#include "ui/widgets/Localise.h"

#include "texts/modFunctions.h"
#include "ui/widgets/QtText.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QGroupBox>
#include <QLabel>
#include <QLibraryInfo>
#include <QTabBar>
#include <QTabWidget>
#include <QTranslator>
#include <QTreeWidget>
#include <QVariant>
#include <QWidget>

namespace {

constexpr char kTag[] = "Tag";
constexpr char kToolTipText[] = "ToolTipText";

/// The id in the form that a Qt property holds.
int number(TextId id)
{
    return static_cast<int>(id);
}

template <typename Set>
void setIfKnown(const QVariant& id, std::int32_t language, const Set& set)
{
    if (const QString text = Text(static_cast<TextId>(id.toInt()), language); !text.isEmpty()) {
        set(text);
    }
}

void localiseLabel(QWidget& control, std::int32_t language)
{
    setIfKnown(control.property(kTag), language,
               [&](const QString& text) { static_cast<QLabel&>(control).setText(text); });
}

void localiseTabStrip(QWidget& control, std::int32_t language)
{
    auto& tabs = static_cast<QTabWidget&>(control);
    for (int i = 0; i < tabs.count(); ++i) {
        const QPoint ids = tabs.tabBar()->tabData(i).toPoint();
        setIfKnown(ids.x(), language, [&](const QString& text) { tabs.setTabText(i, text); });
        setIfKnown(ids.y(), language, [&](const QString& text) { tabs.setTabToolTip(i, text); });
    }
}

void localiseToolbar(QWidget& control, std::int32_t language)
{
    for (QAction* button : control.actions()) {
        setIfKnown(button->property(kToolTipText), language, [&](const QString& text) { button->setToolTip(text); });
    }
}

void localiseListView(QWidget& control, std::int32_t language)
{
    QTreeWidgetItem* header = static_cast<QTreeWidget&>(control).headerItem();
    for (int i = 0; i < header->columnCount(); ++i) {
        setIfKnown(header->data(i, Qt::UserRole), language, [&](const QString& text) { header->setText(i, text); });
    }
}

/// Four kinds of control are localised in their own way. No window uses the ids of tab strip, tool bar and list view
/// today.
struct ControlKind {
    const char* className;
    void (*localise)(QWidget& control, std::int32_t language);
};

constexpr ControlKind kKinds[] = {
    {"QLabel", localiseLabel},
    {"QTabWidget", localiseTabStrip},
    {"QToolBar", localiseToolbar},
    {"QTreeWidget", localiseListView},
};

void setCaption(QWidget& control, const QString& caption)
{
    if (auto* frame = qobject_cast<QGroupBox*>(&control)) {
        frame->setTitle(caption);
    } else if (auto* button = qobject_cast<QAbstractButton*>(&control)) {
        const QKeySequence shortcut = button->shortcut();
        button->setText(caption);
        if (!caption.contains(u'&')) {
            button->setShortcut(shortcut); // setting the text removes it
        }
    }
}

void localiseControl(QWidget& control, std::int32_t language)
{
    for (const ControlKind& row : kKinds) {
        if (control.inherits(row.className)) {
            row.localise(control, language);
        }
    }
    setIfKnown(control.property(kTag), language, [&](const QString& text) { setCaption(control, text); });
    setIfKnown(control.property(kToolTipText), language, [&](const QString& text) { control.setToolTip(text); });
}

} // namespace

QString Text(TextId id, std::int32_t language)
{
    return FromUtf8(modFunctions::GetText(id, language));
}

void ShowText(QLabel& label, const QString& text)
{
    if (label.text() != text) {
        label.setText(text);
    }
}

void SetTextIds(QWidget* control, TextId tag, TextId toolTipText)
{
    control->setProperty(kTag, number(tag));
    control->setProperty(kToolTipText, number(toolTipText));
}

void SetTabIds(QTabWidget& tabs, int index, TextId tag, TextId toolTipText)
{
    tabs.tabBar()->setTabData(index, QPoint(number(tag), number(toolTipText)));
}

void SetButtonId(QAction& button, TextId toolTipText)
{
    button.setProperty(kToolTipText, number(toolTipText));
}

void SetColumnId(QTreeWidget& list, int column, TextId tag)
{
    list.headerItem()->setData(column, Qt::UserRole, number(tag));
}

void LocaliseForm(QWidget& form, std::int32_t language)
{
    setIfKnown(form.property(kTag), language, [&](const QString& text) { form.setWindowTitle(text); });
    for (QWidget* control : form.findChildren<QWidget*>()) {
        if (control->window() == &form) { // an open window above this one localises itself
            localiseControl(*control, language);
        }
    }
}

void LocaliseOpenWindows(std::int32_t language)
{
    delete qApp->findChild<QTranslator*>();
    auto* standardTexts = new QTranslator(qApp);
    if (language == LanguageGerman &&
        standardTexts->load(QStringLiteral("qtbase_de"), QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        QCoreApplication::installTranslator(standardTexts);
    }
    for (QWidget* window : QApplication::topLevelWidgets()) {
        LocaliseForm(*window, language);
        QEvent change(QEvent::LanguageChange);
        QApplication::sendEvent(window, &change);
    }
}
