// A window's texts in the current language. A control holds the id of its caption in the property "Tag" and that of its
// tool tip in "ToolTipText"; a window holds that of its title in "Tag". So the texts follow every later switch.
#pragma once

#include "texts/TextId.h"

#include <QString>

#include <cstdint>

class QAction;
class QLabel;
class QTabWidget;
class QTreeWidget;
class QWidget;

/// The text in the language with this offset; empty for `None`.
QString Text(TextId id, std::int32_t language);

/// Sets the text only if it differs: setting the same again would lay out the window anew, up to twenty times a second.
void ShowText(QLabel& label, const QString& text);

/// Stores the id of a caption (or of a window's title) and of a tool tip.
void SetTextIds(QWidget* control, TextId tag, TextId toolTipText = TextId::None);

/// The same for a tab, for a button of a tool bar (its tool tip) and for a column of a list. No window uses these three
/// today; they belong to the kinds of control that `LocaliseForm` covers.
void SetTabIds(QTabWidget& tabs, int index, TextId tag, TextId toolTipText = TextId::None);
void SetButtonId(QAction& button, TextId toolTipText);
void SetColumnId(QTreeWidget& list, int column, TextId tag);

/// Rewrites title, captions and tool tips of a window. A control without an id, or with an id that has no text, keeps
/// what it shows. The fonts remain those of the desktop.
void LocaliseForm(QWidget& form, std::int32_t language);

/// Call it after a switch of the language. Localises every open window, then sends it `QEvent::LanguageChange` for what
/// its ids do not cover, such as menus. The standard dialogs follow if the system has their texts.
void LocaliseOpenWindows(std::int32_t language);
