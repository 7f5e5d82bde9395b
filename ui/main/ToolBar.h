// The tool bar of the main window. It shows the actions of the menus and of the measurement; words stand beside the
// pictures where the window is wide enough for them.
#pragma once

#include "ui/main/Icons.h"

#include <QToolBar>

#include <cstdint>
#include <optional>
#include <vector>

class ToolBar : public QToolBar {
    Q_OBJECT

public:
    explicit ToolBar(QWidget* parent);

    /// How many of the buttons show their words beside the picture.
    enum Words : std::uint8_t { None, Important, All };

    /// Adds an action, with the picture if it has one, and says from when on it shows its words; with `None` it never
    /// does.
    void Add(QAction& action, std::optional<Symbol> symbol, Words words);
    /// Another picture for an action.
    void Show(QAction& action, Symbol symbol);
    /// Call it when the words have changed.
    void Measure();

protected:
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void setWords(Words words);
    void fit();
    void drawIcons();

    struct Button {
        QAction* action;
        std::optional<Symbol> symbol;
        Words words;
    };
    std::vector<Button> m_buttons;
    int m_importantWidth = 0, m_allWidth = 0; ///< what the bar needs with these words
    std::optional<Words> m_words;
};
