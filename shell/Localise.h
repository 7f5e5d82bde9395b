// A window's texts in the current language. A control holds the German id of its caption in the property "Tag" and that
// of its tool tip in "ToolTipText", a window that of its title in "Tag"; so the texts follow every later switch.
#pragma once

#include <QString>

#include <cstdint>

class QWidget;

/// The text of a German id in the language with this offset; empty when there is none.
QString Text(std::int32_t id, std::int32_t language);

/// Stores the id of a caption (or of a window's title) and of a tool tip; 0: none.
void SetTextIds(QWidget* control, std::int32_t tag, std::int32_t toolTipText = 0);

/// Rewrites title, captions and tool tips of a window. A control whose id has no text keeps what it shows.
void LocaliseForm(QWidget& form, std::int32_t language);
