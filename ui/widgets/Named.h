// Creates a control with its name, by which style sheets, accessibility tools, the help and the tests find it.
#pragma once

#include <QLatin1String>
#include <QWidget>

#include <utility>

template <typename Widget, typename... Arguments>
Widget* Named(const char* name, Arguments&&... arguments)
{
    auto* widget = new Widget(std::forward<Arguments>(arguments)...);
    widget->setObjectName(QLatin1String(name));
    return widget;
}
