// The program's name, its version and the operating system, as the start-up and the About window show them.
#pragma once

class QLayout;
class QWidget;

/// Three labels: "lblProduct", "lblVersion" and the operating system under the given name.
QLayout* BuildHeading(QWidget& window, const char* platformName);
