#include "shell/OutlinedStyle.h"

#include <QPainter>
#include <QStyleOption>

namespace {

constexpr double kRadius = 2.0;
constexpr float kShare = 0.45F;
constexpr float kShareDisabled = 0.25F;

bool isDark(const QPalette& palette)
{
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

/// Between ground and text. A control with the focus, or the default button, has a colour of its own already.
void drawOutline(const QStyleOption& option, QPainter& painter, bool round)
{
    if (!isDark(option.palette) || option.state.testFlag(QStyle::State_HasFocus)) {
        return;
    }
    QColor color = option.palette.color(QPalette::Active, QPalette::WindowText);
    color.setAlphaF(option.state.testFlag(QStyle::State_Enabled) ? kShare : kShareDisabled);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(color);
    painter.setBrush(Qt::NoBrush);
    const QRectF frame = QRectF(option.rect).adjusted(0.5, 0.5, -0.5, -0.5);
    const double radius = round ? frame.width() / 2.0 : kRadius;
    painter.drawRoundedRect(frame, radius, radius);
    painter.restore();
}

bool isDefaultButton(const QStyleOption& option)
{
    const auto* button = qstyleoption_cast<const QStyleOptionButton*>(&option);
    return button != nullptr && button->features.testFlag(QStyleOptionButton::DefaultButton);
}

} // namespace

OutlinedStyle::OutlinedStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

void OutlinedStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                                  const QWidget* widget) const
{
    QProxyStyle::drawPrimitive(element, option, painter, widget);
    switch (element) {
    case PE_IndicatorCheckBox:
    case PE_FrameLineEdit:
    case PE_Frame:
    case PE_FrameMenu:
        drawOutline(*option, *painter, false);
        break;
    case PE_IndicatorRadioButton:
        drawOutline(*option, *painter, true);
        break;
    case PE_PanelButtonCommand:
        if (!isDefaultButton(*option)) {
            drawOutline(*option, *painter, false);
        }
        break;
    default:
        break;
    }
}

void OutlinedStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                                       const QWidget* widget) const
{
    QProxyStyle::drawComplexControl(control, option, painter, widget);
    if (control == CC_ComboBox) {
        drawOutline(*option, *painter, false);
    }
}
