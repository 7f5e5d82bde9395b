#include "shell/NumberEdit.h"

#include "shell/Guarded.h"
#include "shell/Numbers.h"
#include "shell/QtText.h"

#include <QKeyEvent>
#include <QValidator>

namespace {

/// Refuses nothing, but leaves out what is no part of a number.
class KeyFilter : public QValidator {
public:
    KeyFilter(QObject* parent, char decimalSeparator) : QValidator(parent), m_decimalSeparator(decimalSeparator) {}

    State validate(QString& input, int& position) const override
    {
        QString kept;
        int keptPosition = 0;
        for (qsizetype i = 0; i < input.size(); ++i) {
            if (input[i] < u' ') {
                continue; // pasted; as keys they never come here
            }
            if (const auto key = FilteredKey(input[i].toLatin1(), m_decimalSeparator)) {
                kept += QLatin1Char(*key);
                keptPosition += i < position ? 1 : 0;
            }
        }
        input = kept;
        position = keptPosition;
        return Acceptable;
    }

private:
    char m_decimalSeparator;
};

} // namespace

NumberEdit::NumberEdit(QWidget* parent, char decimalSeparator)
    : QLineEdit(parent), m_filter(new KeyFilter(this, decimalSeparator))
{
    setValidator(m_filter);
}

void NumberEdit::ShowText(const std::string& text)
{
    setValidator(nullptr);
    setText(FromBytes(text));
    setValidator(m_filter);
}

void NumberEdit::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        check();
        event->accept();
        return;
    }
    QLineEdit::keyPressEvent(event);
}

void NumberEdit::focusOutEvent(QFocusEvent* event)
{
    if (event->reason() != Qt::PopupFocusReason) { // its own context menu
        check();
    }
    QLineEdit::focusOutEvent(event);
}

void NumberEdit::check()
{
    Guarded([this] {
        if (Check && isEnabled()) {
            ShowText(Check(ToBytes(text())));
        }
    });
}
