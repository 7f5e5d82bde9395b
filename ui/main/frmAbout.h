// The About window: the program's version and the operating system.
#pragma once

#include <QDialog>

namespace modGlobals {
struct Settings;
}

class frmAbout : public QDialog {
    Q_OBJECT

public:
    frmAbout(QWidget* parent, const modGlobals::Settings& settings);
};
