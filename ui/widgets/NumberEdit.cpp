#include "ui/widgets/NumberEdit.h"

#include "base/Numbers.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/QtText.h"

#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QLocale>
#include <QScopedValueRollback>
#include <QTimer>
#include <QToolTip>
#include <QValidator>

#include <algorithm>

namespace {

constexpr int kAtOnce_ms = 0;
constexpr int kAfterClick_ms = 300;       // the mouse-up of the click that left the box would hide a tool tip
constexpr qsizetype kLongestNumber = 300; // characters; a double can still hold such a number
constexpr QChar kMinus(0x2212), kApostrophe(0x2019);

char keyOf(QChar typed)
{
    return typed == kMinus ? '-' : typed.toLatin1();
}

/// The locale's group separator. Non-breaking blanks and typographic apostrophes count as their simple forms, because
/// programs differ in which of them they write.
char groupSeparator()
{
    const QString separator = QLocale().groupSeparator();
    const QChar first = separator.isEmpty() ? QChar(u'\0') : separator.front();
    return first.isSpace() ? ' ' : first == kApostrophe ? '\'' : first.toLatin1();
}

QString simpleForm(QString text)
{
    text = text.trimmed();
    for (QChar& c : text) {
        if (c == kMinus) {
            c = u'-';
        } else if (c == kApostrophe) {
            c = u'\'';
        } else if (c.category() == QChar::Separator_Space) {
            c = u' ';
        }
    }
    return text;
}

} // namespace

/// Removes keys that are not part of a number. Leaves the box unchanged when a pasted text is not a number.
class NumberEdit::Filter : public QValidator {
public:
    explicit Filter(NumberEdit& box) : QValidator(&box), m_box(box) {}

    State validate(QString& input, int& position) const override
    {
        const bool isPlain = std::ranges::all_of(input, [this](QChar c) {
            return c >= u' ' && FilteredKey(c.toLatin1(), m_box.m_decimalSeparator) == c.toLatin1();
        });
        if (!isPlain) {
            m_box.m_typing ? filterKeys(input, position) : takePasted(input, position);
        }
        m_shown = input;
        return Acceptable;
    }
    void Shown(const QString& text) { m_shown = text; }

private:
    void filterKeys(QString& input, int& position) const
    {
        QString kept;
        int keptPosition = 0;
        for (qsizetype i = 0; i < input.size(); ++i) {
            if (input[i] < u' ') {
                continue; // typed control characters never get here
            }
            if (const auto key = FilteredKey(keyOf(input[i]), m_box.m_decimalSeparator)) {
                kept += QLatin1Char(*key);
                keptPosition += i < position ? 1 : 0;
            }
        }
        input = kept;
        position = keptPosition;
    }
    void takePasted(QString& input, int& position) const
    {
        const auto number = PastedNumber(ToBytes(simpleForm(input)), m_box.m_decimalSeparator, m_box.m_groupSeparator);
        if (!number) {
            m_box.explain(m_box.noNumber(), kAtOnce_ms);
        }
        input = number ? FromBytes(*number) : m_shown;
        position = static_cast<int>(input.size());
    }

    NumberEdit& m_box;
    mutable QString m_shown; ///< the text before the change that is being validated
};

NumberEdit::NumberEdit(QWidget* parent, char decimalSeparator)
    : QLineEdit(parent), m_decimalSeparator(decimalSeparator), m_groupSeparator(groupSeparator()),
      m_filter(new Filter(*this))
{
    setValidator(m_filter);
}

void NumberEdit::ShowText(const std::string& text)
{
    setValidator(nullptr);
    setText(FromBytes(text));
    m_before = this->text();
    m_filter->Shown(m_before);
    setValidator(m_filter);
}

void NumberEdit::Explain(const QString& words)
{
    explain(words, kAfterClick_ms);
}

bool NumberEdit::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->matches(QKeySequence::Undo) || key->matches(QKeySequence::Redo)) {
            event->ignore();
            return true;
        }
    }
    return QLineEdit::event(event);
}

void NumberEdit::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        check(kAtOnce_ms);
        event->accept();
        return;
    }
    const QScopedValueRollback typing(m_typing, !event->matches(QKeySequence::Paste));
    QLineEdit::keyPressEvent(event);
}

/// Some input methods deliver every key in this way.
void NumberEdit::inputMethodEvent(QInputMethodEvent* event)
{
    const QScopedValueRollback typing(m_typing, event->commitString().size() <= 1);
    QLineEdit::inputMethodEvent(event);
}

void NumberEdit::focusInEvent(QFocusEvent* event)
{
    if (isNumber(text())) {
        m_before = text();
    }
    QLineEdit::focusInEvent(event);
}

void NumberEdit::focusOutEvent(QFocusEvent* event)
{
    if (event->reason() != Qt::PopupFocusReason) { // the box's own context menu
        check(kAfterClick_ms);
    }
    QLineEdit::focusOutEvent(event);
}

void NumberEdit::check(int explainAfter_ms)
{
    Guarded([&] {
        if (!Check || !isEnabled()) {
            return;
        }
        if (text().trimmed().isEmpty() || isNumber(text())) {
            ShowText(Check(ToBytes(text())));
        } else {
            ShowText(ToBytes(m_before));
            explain(noNumber(), explainAfter_ms);
        }
    });
}

bool NumberEdit::isNumber(const QString& text) const
{
    return CDbl(ToBytes(text.left(kLongestNumber)), m_decimalSeparator).has_value();
}

void NumberEdit::explain(const QString& words, int after_ms)
{
    const auto show = [this, words] {
        if (!words.isEmpty() && isVisible()) {
            QToolTip::showText(mapToGlobal(rect().bottomLeft()), words, this);
        }
    };
    QTimer::singleShot(after_ms, this, [show] { Guarded(show); });
}

QString NumberEdit::noNumber() const
{
    return Words ? Words(TextId::ToolTipNoNumber) : QString();
}

void SilenceNumberEdits(QWidget& window)
{
    for (NumberEdit* box : window.findChildren<NumberEdit*>()) {
        box->Check = nullptr;
        box->blockSignals(true);
    }
}
