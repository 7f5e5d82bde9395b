// The program's name, its version and the operating system, as shown in the start-up and About windows.
#pragma once

class QLayout;
class QWidget;

/// Three labels: "lblProduct", "lblVersion" and, for the operating system, one with the given object name.
QLayout* BuildHeading(QWidget& window, const char* systemLabelName);
