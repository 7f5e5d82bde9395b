#include "ui/main/ToolBar.h"

#include <QAction>
#include <QEvent>
#include <QLayout>

ToolBar::ToolBar(QWidget* parent) : QToolBar(parent)
{
    setMovable(false);
    setFloatable(false);
    setContextMenuPolicy(Qt::PreventContextMenu); // Qt's own menu would hide the bar for good
    setFocusPolicy(Qt::NoFocus);                  // menus and keys do all of it; Tab goes to the controls
    const int size = fontMetrics().height();
    setIconSize(QSize(size, size));
}

void ToolBar::Add(QAction& action, std::optional<Symbol> symbol, Words words)
{
    action.setIconVisibleInMenu(false);
    addAction(&action);
    m_buttons.push_back({&action, symbol, words});
    if (symbol) {
        action.setIcon(IconOf(*symbol));
    }
    widgetForAction(&action)->setObjectName(action.objectName()); // the help finds its topic by the name
}

void ToolBar::Show(QAction& action, Symbol symbol)
{
    for (Button& button : m_buttons) {
        if (button.action == &action && button.symbol != symbol) {
            button.symbol = symbol;
            action.setIcon(IconOf(symbol));
        }
    }
}

void ToolBar::setWords(Words words)
{
    if (m_words == words) {
        return;
    }
    m_words = words;
    for (const Button& button : m_buttons) {
        const bool speaks = button.words != None && button.words <= words;
        button.action->setPriority(speaks ? QAction::NormalPriority : QAction::LowPriority);
    }
    setToolButtonStyle(words == None ? Qt::ToolButtonIconOnly : Qt::ToolButtonTextBesideIcon);
}

void ToolBar::Measure()
{
    const auto widthWith = [this](Words words) {
        m_words.reset();
        setWords(words);
        layout()->invalidate();
        return layout()->sizeHint().width();
    };
    m_allWidth = widthWith(All);
    m_importantWidth = widthWith(Important);
    fit();
}

void ToolBar::fit()
{
    setWords(width() >= m_allWidth ? All : width() >= m_importantWidth ? Important : None);
}

void ToolBar::resizeEvent(QResizeEvent* event)
{
    QToolBar::resizeEvent(event);
    fit();
}

void ToolBar::changeEvent(QEvent* event)
{
    QToolBar::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange ||
        event->type() == QEvent::ThemeChange) {
        drawIcons();
    }
}

void ToolBar::drawIcons()
{
    for (const Button& button : m_buttons) {
        if (button.symbol) {
            button.action->setIcon(IconOf(*button.symbol));
        }
    }
}
