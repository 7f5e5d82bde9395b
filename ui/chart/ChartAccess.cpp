#include "ui/chart/ChartAccess.h"

#include "ui/chart/ChartPanel.h"

#include <QAccessibleWidget>

namespace {

/// Texts are made when somebody asks for them.
class ChartAccess : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit ChartAccess(ChartPanel& chart) : QAccessibleWidget(&chart, QAccessible::Chart), m_chart(chart) {}

    QString text(QAccessible::Text what) const override
    {
        if (what == QAccessible::Description) {
            return m_chart.Describe();
        }
        return what == QAccessible::Value ? m_chart.ReadingText(m_chart.ReadAloud()) : QAccessibleWidget::text(what);
    }
    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ValueInterface ? static_cast<QAccessibleValueInterface*>(this)
                                                   : QAccessibleWidget::interface_cast(type);
    }
    QVariant currentValue() const override
    {
        const auto reading = m_chart.ReadAloud();
        return reading && reading->value_mm ? QVariant(*reading->value_mm / m_chart.Unit_mm()) : QVariant();
    }
    void setCurrentValue(const QVariant&) override {} // it is measured
    QVariant maximumValue() const override { return m_chart.YMaximum(); }
    QVariant minimumValue() const override { return m_chart.YMinimum(); }
    QVariant minimumStepSize() const override { return {}; }

private:
    ChartPanel& m_chart;
};

QAccessibleInterface* accessOf(const QString& /*className*/, QObject* object)
{
    auto* chart = qobject_cast<ChartPanel*>(object);
    return chart != nullptr ? new ChartAccess(*chart) : nullptr;
}

} // namespace

void InstallChartAccess()
{
    QAccessible::installFactory(accessOf); // a second time changes nothing
}
