#include "ui/widgets/LineAccess.h"

#include "ui/widgets/LineLabel.h"

#include <QAccessibleWidget>

namespace {

/// The name is made when somebody asks for it: a number that announced each change could not be listened to.
class LineAccess : public QAccessibleWidget {
public:
    explicit LineAccess(LineLabel& label) : QAccessibleWidget(&label, QAccessible::StaticText), m_label(label) {}

    QString text(QAccessible::Text what) const override
    {
        if (what == QAccessible::Value) {
            return m_label.text();
        }
        const QString name = m_label.accessibleName();
        if (what != QAccessible::Name || name.endsWith(m_label.text())) {
            return QAccessibleWidget::text(what);
        }
        return name.isEmpty() ? m_label.text() : name + u' ' + m_label.text();
    }

private:
    LineLabel& m_label;
};

QAccessibleInterface* accessOf(const QString& /*className*/, QObject* object)
{
    auto* label = qobject_cast<LineLabel*>(object);
    return label != nullptr ? new LineAccess(*label) : nullptr;
}

} // namespace

void InstallLineAccess()
{
    QAccessible::installFactory(accessOf); // a second time changes nothing
}
