#include "ui/widgets/OutlinedStyle.h"

#include <QApplication>
#include <QComboBox>
#include <QGroupBox>
#include <QIconEngine>
#include <QPainter>
#include <QStyleOption>

#include <algorithm>

namespace {

constexpr double kRadius = 2.0;
constexpr float kShare = 0.45F;
constexpr float kShareDisabled = 0.25F;

// Fusion's frame of a group, as in its picture: in pixels, and black.
constexpr int kGroupMargin = 3;
constexpr QColor kPaleOutline(0, 0, 0, 24);
constexpr QColor kPaleGround(0, 0, 0, 3);

constexpr int kWhite = 250; // at least this bright: a high-contrast theme

bool needsOutlines(const QPalette& palette)
{
    const int ground = palette.color(QPalette::Window).lightness();
    return ground < palette.color(QPalette::WindowText).lightness() || ground >= kWhite;
}

/// A colour between ground and text.
QColor outlineColor(const QStyleOption& option)
{
    QColor color = option.palette.color(QPalette::Active, QPalette::WindowText);
    color.setAlphaF(option.state.testFlag(QStyle::State_Enabled) ? kShare : kShareDisabled);
    return color;
}

void drawFrame(QPainter& painter, const QRectF& frame, double radius, const QColor& line, const QBrush& ground)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(line);
    painter.setBrush(ground);
    painter.drawRoundedRect(frame.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    painter.restore();
}

void drawOutline(const QStyleOption& option, QPainter& painter, bool round = false)
{
    if (needsOutlines(option.palette)) {
        drawFrame(painter, option.rect, round ? option.rect.width() / 2.0 : kRadius, outlineColor(option), Qt::NoBrush);
    }
}

/// Below the group's title, as in Fusion. Fusion draws its own frame from a picture, and to read that, Qt searches all
/// picture plug-ins before the first window appears.
void drawGroupFrame(const QStyleOption& option, QPainter& painter, const QWidget* widget)
{
    const auto* group = qobject_cast<const QGroupBox*>(widget);
    const bool isBare = group != nullptr && group->title().isEmpty() && !group->isCheckable();
    const int indicator = QApplication::style()->pixelMetric(QStyle::PM_ExclusiveIndicatorHeight, &option, widget);
    const int title = isBare ? 0 : std::max(indicator, option.fontMetrics.height());
    const QRectF frame = QRectF(option.rect).adjusted(1, title + kGroupMargin + 1, 0, 0);
    drawFrame(painter, frame, kRadius, needsOutlines(option.palette) ? outlineColor(option) : kPaleOutline,
              kPaleGround);
}

/// Controls with the focus and default buttons already have a coloured outline.
bool isMarked(const QStyleOption& option)
{
    const auto* button = qstyleoption_cast<const QStyleOptionButton*>(&option);
    const bool isDefault = button != nullptr && button->features.testFlag(QStyleOptionButton::DefaultButton);
    return isDefault || option.state.testFlags(QStyle::State_HasFocus | QStyle::State_KeyboardFocusChange);
}

/// The arrow for entries that do not fit into a menu bar. The style's own reads seven pictures for each bar, shown or
/// not.
class ArrowIcon : public QIconEngine {
public:
    void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override
    {
        QStyleOption option;
        option.rect = rect;
        option.palette = QApplication::palette();
        QApplication::style()->drawPrimitive(QStyle::PE_IndicatorArrowRight, &option, painter);
    }
    QIconEngine* clone() const override { return new ArrowIcon; }
};

} // namespace

OutlinedStyle::OutlinedStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

void OutlinedStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                                  const QWidget* widget) const
{
    if (element == PE_FrameGroupBox) {
        drawGroupFrame(*option, *painter, widget);
        return;
    }
    QProxyStyle::drawPrimitive(element, option, painter, widget);
    switch (element) {
    case PE_Frame:
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

int OutlinedStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                             QStyleHintReturn* returned) const
{
    const auto* list = qobject_cast<const QComboBox*>(widget);
    if (hint == SH_ComboBox_Popup && list != nullptr && list->count() > list->maxVisibleItems()) {
        return 0; // opens a list with a scroll bar instead of a menu as high as the screen
    }
    return QProxyStyle::styleHint(hint, option, widget, returned);
}

QIcon OutlinedStyle::standardIcon(StandardPixmap icon, const QStyleOption* option, const QWidget* widget) const
{
    if (icon == SP_ToolBarHorizontalExtensionButton) {
        return QIcon(new ArrowIcon);
    }
    return QProxyStyle::standardIcon(icon, option, widget);
}
