// A window's texts in the current language. A control holds the id of its caption in the property "Tag" and that of
// its tool tip in "ToolTipText", a window that of its title in "Tag"; so the texts follow every later switch.
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

/// Sets a text that is another one. The same again would lay the window out anew, at worst twenty times a second.
void ShowText(QLabel& label, const QString& text);

/// Stores the id of a caption (or of a window's title) and of a tool tip.
void SetTextIds(QWidget* control, TextId tag, TextId toolTipText = TextId::None);

/// The same for a tab, for a button of a tool bar (its tool tip) and for a column of a list.
void SetTabIds(QTabWidget& tabs, int index, TextId tag, TextId toolTipText = TextId::None);
void SetButtonId(QAction& button, TextId toolTipText);
void SetColumnId(QTreeWidget& list, int column, TextId tag);

/// Rewrites title, captions and tool tips of a window. What has no id, or one without a text, keeps what it shows.
/// Fonts stay the desktop's.
void LocaliseForm(QWidget& form, std::int32_t language);

/// After a switch of the language: localises every open window, then sends it `QEvent::LanguageChange` for what its
/// ids do not cover, menus for instance. The standard dialogs follow if the system has their texts.
void LocaliseOpenWindows(std::int32_t language);
