#include "shell/Localise.h"

#include "shell/QtText.h"
#include "shell/modFunctions.h"

#include <QAbstractButton>
#include <QGroupBox>
#include <QLabel>
#include <QWidget>

namespace {

constexpr char kTag[] = "Tag";
constexpr char kToolTipText[] = "ToolTipText";

void setCaption(QWidget* control, const QString& caption)
{
    if (auto* label = qobject_cast<QLabel*>(control)) {
        label->setText(caption);
    } else if (auto* frame = qobject_cast<QGroupBox*>(control)) {
        frame->setTitle(caption);
    } else if (auto* button = qobject_cast<QAbstractButton*>(control)) {
        const QKeySequence shortcut = button->shortcut();
        button->setText(caption);
        if (!caption.contains(u'&')) {
            button->setShortcut(shortcut); // a new text takes it away
        }
    }
}

} // namespace

QString Text(std::int32_t id, std::int32_t language)
{
    return FromUtf8(modFunctions::GetText(id, language));
}

void SetTextIds(QWidget* control, std::int32_t tag, std::int32_t toolTipText)
{
    control->setProperty(kTag, tag);
    control->setProperty(kToolTipText, toolTipText);
}

void LocaliseForm(QWidget& form, std::int32_t language)
{
    form.setWindowTitle(Text(form.property(kTag).toInt(), language));
    for (QWidget* control : form.findChildren<QWidget*>()) {
        const QString caption = Text(control->property(kTag).toInt(), language);
        if (!caption.isEmpty()) {
            setCaption(control, caption);
        }
        const QString toolTip = Text(control->property(kToolTipText).toInt(), language);
        if (!toolTip.isEmpty()) {
            control->setToolTip(toolTip);
        }
    }
}
