#include "ui/help/Help.h"

#include "store/modGlobals.h"
#include "ui/help/frmHelp.h"
#include "ui/help/modHTMLHelp.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/QtText.h"

#include <QAction>
#include <QApplication>
#include <QFile>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QWhatsThis>
#include <QWidget>

#include <utility>

namespace {

/// The page about the window as a whole.
struct WindowTopic {
    std::string_view window, topic;
};
constexpr WindowTopic kWindowTopics[] = {
    {"frmMain", "Main"},
    {"frmSplash", "Splash"},
    {"frmFind", "Splash#find"},
    {"frmConsole", "Console"},
    {"frmTraffic", "Traffic"},
    {"frmTextWindow", "LargeDisplay"},
    {"frmChartSettings", "ChartSettings"},
    {"frmRecorder", "Recorder"},
    {"frmRVQ", "RVQSettings"},
    {"frmPassport", "RVQSettings#passport"},
    {"frmCompare", "RVQSettings#compare"},
    {"frmSheet", "RVQSettings#print"},
    {"dlgFailure", "RVQSettings#error"},
    {"dlgOverwrite", "RVQSettings#config"},
    {"dlgChanged", "RVQSettings#config"},
    {"dlgUnsent", "RVQSettings#unsent"},
    {"dlgWithoutBackup", "RVQSettings#backup"},
    {"frmHelp", "Help"},
};

/// The page about a part of a window; F1 opens it there.
struct PartTopic {
    std::string_view part, topic;
};
constexpr PartTopic kPartTopics[] = {
    {"fraLine", "Account#line"},
    {"picGraph", "Looking"},
    {"picOverview", "Looking#overview"},
    {"fraStatistics", "Looking#reading"},
};

/// The window that a control belongs to; a menu or an open list belongs to the window it is attached to.
template <typename Widget>
Widget* ownWindow(Widget& control)
{
    Widget* window = control.window();
    while ((window->windowType() == Qt::Popup || window->windowType() == Qt::ToolTip) &&
           window->parentWidget() != nullptr) {
        window = window->parentWidget()->window();
    }
    return window;
}

std::string_view topicOf(const QString& window)
{
    for (const WindowTopic& row : kWindowTopics) {
        if (window == FromUtf8(row.window)) {
            return row.topic;
        }
    }
    return modHTMLHelp::kStart;
}

/// Empty for a control whose part of the window has no page of its own.
std::string_view topicOfPart(const QWidget& control)
{
    for (const QWidget* widget = &control; widget != nullptr; widget = widget->parentWidget()) {
        for (const PartTopic& row : kPartTopics) {
            if (widget->objectName() == FromUtf8(row.part)) {
                return row.topic;
            }
        }
    }
    return {};
}

} // namespace

Help::Help(const modGlobals::Settings& settings, std::string programFolder)
    : m_settings(settings), m_programFolder(std::move(programFolder))
{
    SetHelpFile();
    qApp->installEventFilter(this);
}

void Help::SetHelpFile()
{
    m_helpFile = modHTMLHelp::HelpFile(m_programFolder, m_settings.Language);
    QFile file(FromUtf8(modHTMLHelp::kFolder) + FromUtf8(modHTMLHelp::PopUpFile(m_settings.Language)));
    m_popUps.clear();
    if (file.open(QIODevice::ReadOnly)) {
        m_popUps = modHTMLHelp::PopUpTexts(file.readAll().toStdString());
    }
}

void Help::ShowHelpTopic(QWidget& from, std::string_view topic) const
{
    // A child of the calling window: a modal window would block any other viewer.
    QWidget* owner = ownWindow(from);
    auto* viewer = qobject_cast<frmHelp*>(owner);
    if (viewer == nullptr) {
        viewer = owner->findChild<frmHelp*>(QString(), Qt::FindDirectChildrenOnly);
    }
    if (viewer == nullptr) {
        viewer = new frmHelp(*owner, m_settings);
    }
    viewer->show(); // first, because pictures are fitted to the width of the page
    viewer->ShowPage(FromUtf8(modHTMLHelp::TopicPage(topic, m_settings.Language)));
    viewer->raise();
    viewer->activateWindow();
}

void Help::ExplainMenus(QWidget& window) const
{
    for (QAction* action : window.findChildren<QAction*>()) {
        action->setWhatsThis(find(window, *action));
    }
}

QString Help::PopUpText(const QWidget& control) const
{
    const QWidget* window = ownWindow(control);
    for (const QWidget* widget = &control; widget != nullptr && widget != window; widget = widget->parentWidget()) {
        if (const QString text = find(*window, *widget); !text.isEmpty()) {
            return text;
        }
    }
    return {};
}

QString Help::find(const QWidget& window, const QObject& control) const
{
    const QString topic = window.objectName() + u'.' + control.objectName();
    const auto row = m_popUps.find(topic.toStdString());
    return row == m_popUps.end() ? QString() : FromUtf8(row->second);
}

void Help::explain(QWidget& control) const
{
    if (const std::string_view part = topicOfPart(control); !part.empty()) {
        ShowHelpTopic(control, part);
        return;
    }
    const QString text = PopUpText(control);
    if (text.isEmpty()) {
        ShowHelpTopic(control, topicOf(ownWindow(control)->objectName()));
    } else {
        QWhatsThis::showText(control.mapToGlobal(control.rect().bottomLeft()), text, &control);
    }
}

bool Help::explainMenuItem(QWidget& menu) const
{
    const auto* shown = qobject_cast<QMenu*>(&menu);
    QAction* item = shown == nullptr ? nullptr : shown->activeAction();
    if (item == nullptr || item->whatsThis().isEmpty()) {
        return false;
    }
    QWhatsThis::showText(shown->mapToGlobal(shown->actionGeometry(item).bottomLeft()), item->whatsThis(), &menu);
    return true;
}

bool Help::eventFilter(QObject* watched, QEvent* event)
{
    const QEvent::Type type = event->type();
    if (type != QEvent::KeyPress && type != QEvent::QueryWhatsThis && type != QEvent::WhatsThis) {
        return false; // every event of the program passes through here
    }
    auto* control = qobject_cast<QWidget*>(watched);
    if (control == nullptr) {
        return false;
    }
    switch (type) {
    case QEvent::KeyPress: {
        const auto* key = static_cast<QKeyEvent*>(event);
        const bool isHelp = key->key() == Qt::Key_F1 && (key->modifiers() & ~Qt::ShiftModifier) == Qt::NoModifier;
        if (!isHelp || control->inherits("QWhatsThat")) { // any key closes an explanation
            return false;
        }
        Guarded([&] {
            if (key->modifiers() == Qt::ShiftModifier) {
                QWhatsThis::enterWhatsThisMode();
            } else if (!explainMenuItem(*control)) {
                explain(*control);
            }
        });
        return true;
    }
    case QEvent::QueryWhatsThis:
        event->setAccepted(!PopUpText(*control).isEmpty());
        return true;
    case QEvent::WhatsThis:
        QWhatsThis::showText(static_cast<QHelpEvent*>(event)->globalPos(), PopUpText(*control), control);
        return true;
    default:
        return false;
    }
}
