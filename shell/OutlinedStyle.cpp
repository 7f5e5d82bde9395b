#include "shell/OutlinedStyle.h"

#include <QPainter>
#include <QStyleOption>

namespace {

constexpr double kRadius = 2.0;
constexpr float kShare = 0.45F;
constexpr float kShareDisabled = 0.25F;

constexpr int kWhite = 250; // and more: a theme of high contrast

bool needsOutlines(const QPalette& palette)
{
    const int ground = palette.color(QPalette::Window).lightness();
    return ground < palette.color(QPalette::WindowText).lightness() || ground >= kWhite;
}

/// Between ground and text.
void drawOutline(const QStyleOption& option, QPainter& painter, bool round = false)
{
    if (!needsOutlines(option.palette)) {
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

/// What has the focus, or is the default button, has an outline of a colour of its own already.
bool isMarked(const QStyleOption& option)
{
    const auto* button = qstyleoption_cast<const QStyleOptionButton*>(&option);
    const bool isDefault = button != nullptr && button->features.testFlag(QStyleOptionButton::DefaultButton);
    return isDefault || option.state.testFlags(QStyle::State_HasFocus | QStyle::State_KeyboardFocusChange);
}

} // namespace

OutlinedStyle::OutlinedStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

void OutlinedStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                                  const QWidget* widget) const
{
    QProxyStyle::drawPrimitive(element, option, painter, widget);
    switch (element) {
    case PE_Frame:
    case PE_FrameGroupBox:
    case PE_FrameMenu:
        drawOutline(*option, *painter);
        break;
    case PE_FrameLineEdit:
        if (!option->state.testFlag(State_HasFocus)) {
            drawOutline(*option, *painter);
        }
        break;
    case PE_IndicatorCheckBox:
    case PE_PanelButtonCommand:
        if (!isMarked(*option)) {
            drawOutline(*option, *painter);
        }
        break;
    case PE_IndicatorRadioButton:
        if (!isMarked(*option)) {
            drawOutline(*option, *painter, true);
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
    if (control == CC_ComboBox && !isMarked(*option)) {
        drawOutline(*option, *painter);
    }
}
