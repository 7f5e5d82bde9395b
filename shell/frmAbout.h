// The About window: the program's version and the operating system.
#pragma once

#include <QDialog>

#include <cstdint>

class frmAbout : public QDialog {
    Q_OBJECT

public:
    /// `language` is the offset of the texts.
    frmAbout(QWidget* parent, std::int32_t language);
};
