// The program's help: topic pages in a viewer window, and a short text about the control that has the focus (F1) or is
// pointed at (Shift+F1, "What's this"). Lives as long as the program.
#pragma once

#include <QObject>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

class QWidget;

namespace modGlobals {
struct Settings;
}

class Help : public QObject {
    Q_OBJECT

public:
    /// `settings` must outlive the object and determines the language. Watches the keys of the whole program.
    Help(const modGlobals::Settings& settings, std::string programFolder);

    /// Loads the pop-up texts of the language. Call it at the start and after every switch of the language.
    void SetHelpFile();
    /// The help file with its pop-up text file, as set by the last `SetHelpFile`.
    const std::string& HelpFile() const { return m_helpFile; }

    /// Opens the viewer of `from`'s window, or brings it to the front, with a topic in the current language.
    void ShowHelpTopic(QWidget& from, std::string_view topic) const;
    /// Gives the window's menu items their "What's this" texts. Call it at the start and after every switch.
    void ExplainMenus(QWidget& window) const;
    /// The text about a control, or about the nearest control around it that has one; empty when there is none.
    QString PopUpText(const QWidget& control) const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QString find(const QWidget& window, const QObject& control) const;
    void explain(QWidget& control) const;
    bool explainMenuItem(QWidget& menu) const;

    const modGlobals::Settings& m_settings;
    std::string m_programFolder;
    std::string m_helpFile;
    std::map<std::string, std::string, std::less<>> m_popUps;
};
