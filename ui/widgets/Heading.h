// The program's name, its version and the operating system, as the start-up and the About window show them.
#pragma once

class QLayout;
class QWidget;

/// Three labels: "lblProduct", "lblVersion" and one with this object name for the operating system.
QLayout* BuildHeading(QWidget& window, const char* systemLabelName);
