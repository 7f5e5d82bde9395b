// Qt's Fusion style with outlines that stay visible on dark grounds and in high contrast. Fusion makes an outline a
// little darker than the window: on a dark window check boxes, text boxes and buttons lose theirs, on a black one an
// unticked box disappears, and on a white one it is pale. Long lists open as lists instead of menus, and the frame of a
// group needs no picture.
#pragma once

#include <QProxyStyle>

class OutlinedStyle : public QProxyStyle {
public:
    OutlinedStyle();

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                            const QWidget* widget) const override;
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* returned) const override;
    QIcon standardIcon(StandardPixmap icon, const QStyleOption* option, const QWidget* widget) const override;
};
