// A text box for a number. Its keys are filtered, and pasted text is taken as one number or not at all. The typed text
// is checked on leaving the box and on Enter, which presses no button.
#pragma once

#include "texts/TextId.h"

#include <QLineEdit>

#include <functional>
#include <string>

class NumberEdit : public QLineEdit {
    Q_OBJECT

public:
    /// Typed comma and point both become `decimalSeparator`. The group separators of pasted numbers are the locale's.
    NumberEdit(QWidget* parent, char decimalSeparator);

    /// Turns the typed text, which is empty or a number, into the text to be shown.
    std::function<std::string(const std::string& typed)> Check;
    /// The window's texts by id; a tool tip uses them to say why a text was not taken.
    std::function<QString(TextId id)> Words;
    /// Shows any text, unfiltered. A text that is not a number comes back to it.
    void ShowText(const std::string& text);
    /// Says something in a tool tip at the box, after the click that may have left it.
    void Explain(const QString& words);

protected:
    /// Undo and redo belong to the window, which knows all of its boxes.
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    class Filter;

    void check(int explainAfter_ms);
    bool isNumber(const QString& text) const;
    void explain(const QString& words, int after_ms);
    QString noNumber() const;

    char m_decimalSeparator, m_groupSeparator;
    Filter* m_filter;
    bool m_typing = false; ///< a key causes the present change
    QString m_before;      ///< the text before it was edited
};

/// For the destructor of a window whose boxes call it: they go after its members, and a box that goes loses the focus.
void SilenceNumberEdits(QWidget& window);
