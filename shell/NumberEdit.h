// A text box for a number: its keys are filtered, pasted text likewise, and what was typed is checked on leaving the
// box and on Enter, which presses no button.
#pragma once

#include <QLineEdit>

#include <functional>
#include <string>

class NumberEdit : public QLineEdit {
    Q_OBJECT

public:
    /// Comma and point both become `decimalSeparator`.
    NumberEdit(QWidget* parent, char decimalSeparator);

    /// From the typed text to the text that is shown instead.
    std::function<std::string(const std::string& typed)> Check;
    /// Shows any text, unfiltered.
    void ShowText(const std::string& text);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void check();

    QValidator* m_filter;
};
