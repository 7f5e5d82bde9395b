// A bar above a window's content that says what has happened and offers the way back.
#pragma once

class QFrame;
class QPushButton;
class QToolButton;
class QWidget;

/// Lays out what is in the bar: the words, the button of the way back, and the one that closes it. It begins hidden.
void LayOutBar(QFrame& bar, QWidget& words, QPushButton& back, QToolButton& dismiss);
