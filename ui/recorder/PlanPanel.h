// What the operator wants of a recording: its name, every value or one a tick, and when another file begins.
#pragma once

#include <QString>
#include <QWidget>

#include <cstdint>
#include <functional>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;

namespace modGlobals {
struct Settings;
}

class PlanPanel : public QWidget {
    Q_OBJECT

public:
    /// `settings` must outlive the panel, which keeps the choices in them.
    PlanPanel(QWidget* parent, modGlobals::Settings& settings);

    /// The name that was typed; empty when the recorder is to choose one.
    QString Name() const;
    void ClearName();
    /// Called with the reason when a name is refused.
    std::function<void(const QString&)> Refused = [](const QString&) {};
    /// Called with the name when the operator wants the last recording to have it.
    std::function<void(const QString&)> Rename = [](const QString&) {};

    /// Follows what the recorder does: a plan cannot be changed while it is carried out, except for `chkEveryValue`.
    void ShowRule(bool isIdle, bool canRename);
    /// Sets the texts in the current language.
    void Localise();

private:
    void keep();
    void refuse();

    modGlobals::Settings& m_settings;
    bool m_isIdle = true, m_canRename = false;
    QLabel* lblName;
    QLineEdit* txtName;
    QPushButton* cmdRename;
    QLabel* lblNewFile;
    QComboBox* cmbNewFile;
    QSpinBox* txtFileSize;
    QCheckBox* chkEveryValue;
};
