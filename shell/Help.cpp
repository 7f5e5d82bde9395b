#include "shell/Help.h"

#include "shell/Guarded.h"
#include "shell/QtText.h"
#include "shell/frmHelp.h"
#include "shell/modGlobals.h"
#include "shell/modHTMLHelp.h"

#include <QApplication>
#include <QFile>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QWhatsThis>
#include <QWidget>

#include <utility>

namespace {

constexpr std::string_view kInsideHelpFile = "::/";
constexpr std::string_view kStart = "Start";

/// The page about a window as a whole.
struct WindowTopic {
    std::string_view window, topic;
};
constexpr WindowTopic kWindowTopics[] = {
    {"frmMain", "Main"},
    {"frmSplash", "Splash"},
    {"frmConsole", "Console"},
};

std::string_view topicOf(const QString& window)
{
    for (const WindowTopic& row : kWindowTopics) {
        if (window == FromUtf8(row.window)) {
            return row.topic;
        }
    }
    return kStart;
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
    std::string_view name = modHTMLHelp::PopUpFile(m_settings.Language);
    name.remove_prefix(kInsideHelpFile.size());
    QFile file(QStringLiteral(":/help/") + FromUtf8(name));
    m_popUps.clear();
    if (file.open(QIODevice::ReadOnly)) {
        m_popUps = modHTMLHelp::PopUpTexts(file.readAll().toStdString());
    }
}

void Help::ShowHelpTopic(QWidget& from, std::string_view topic) const
{
    // A child of the window that asks: a modal one would block any other viewer.
    QWidget* owner = from.window();
    auto* viewer = owner->findChild<frmHelp*>(QString(), Qt::FindDirectChildrenOnly);
    if (viewer == nullptr) {
        viewer = new frmHelp(*owner, m_settings);
    }
    viewer->ShowPage(FromUtf8(modHTMLHelp::TopicPage(topic, m_settings.Language)));
    viewer->show();
    viewer->raise();
    viewer->activateWindow();
}

QString Help::PopUpText(const QWidget& control) const
{
    for (const QWidget* widget = &control; widget != nullptr; widget = widget->parentWidget()) {
        if (const std::string* text = find(*widget)) {
            return FromUtf8(*text);
        }
        if (widget->isWindow()) {
            break;
        }
    }
    return {};
}

const std::string* Help::find(const QWidget& control) const
{
    const QString topic = control.window()->objectName() + u'.' + control.objectName();
    const auto row = m_popUps.find(topic.toStdString());
    return row == m_popUps.end() ? nullptr : &row->second;
}

void Help::explain(QWidget& control) const
{
    const QString text = PopUpText(control);
    if (text.isEmpty()) {
        ShowHelpTopic(control, topicOf(control.window()->objectName()));
    } else {
        QWhatsThis::showText(control.mapToGlobal(control.rect().bottomLeft()), text, &control);
    }
}

bool Help::eventFilter(QObject* watched, QEvent* event)
{
    auto* control = qobject_cast<QWidget*>(watched);
    if (control == nullptr) {
        return false;
    }
    switch (event->type()) {
    case QEvent::KeyPress: {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() != Qt::Key_F1 || (key->modifiers() & ~Qt::ShiftModifier) != Qt::NoModifier) {
            return false;
        }
        Guarded([&] { key->modifiers() == Qt::ShiftModifier ? QWhatsThis::enterWhatsThisMode() : explain(*control); });
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
