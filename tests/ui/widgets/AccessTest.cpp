// Every window in both languages, as it is for users who work by keyboard, use a screen reader, or just read: each
// control has a name, no two actions of a window have the same mnemonic, and no text is cut off.
#include "tests/support/Desk.h"
#include "ui/main/RateBar.h"
#include "ui/main/ValueLabel.h"
#include "ui/main/frmFind.h"
#include "ui/main/frmSplash.h"
#include "ui/recorder/LoadProgress.h"
#include "ui/settings/frmRVQ.h"
#include "ui/settings/frmSheet.h"
#include "ui/widgets/Localise.h"

#include <QAbstractScrollArea>
#include <QGroupBox>
#include <QMenu>
#include <QMenuBar>
#include <QTabBar>
#include <QTimer>

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <set>

namespace {

std::string place(const QWidget& window, const QObject& object)
{
    const QString name = object.objectName();
    return (window.objectName() + u' ' + (name.isEmpty() ? object.metaObject()->className() : name)).toStdString();
}

/// The visible controls of the window itself, without the parts of Qt's own controls.
QList<QWidget*> shownControls(const QWidget& window)
{
    QList<QWidget*> shown;
    for (QWidget* control : window.findChildren<QWidget*>()) {
        const bool isPart = control->objectName().startsWith(QLatin1String("qt_")) ||
                            qobject_cast<QComboBox*>(control->parentWidget()) != nullptr ||
                            qobject_cast<QAbstractScrollArea*>(control->parentWidget()) != nullptr;
        if (control->window() == &window && control->isVisible() && !isPart) {
            shown += control;
        }
    }
    return shown;
}

/// What a screen reader calls a control. Its value is not a name, though Qt offers that of a list as one.
void expectNames(const QWidget& window)
{
    std::set<const QWidget*> labelled;
    for (const auto* label : window.findChildren<QLabel*>()) {
        labelled.insert(label->text().isEmpty() ? nullptr : label->buddy());
    }
    for (const QWidget* control : shownControls(window)) {
        const auto* button = qobject_cast<const QAbstractButton*>(control);
        const bool takesInput = control->focusPolicy() != Qt::NoFocus || button != nullptr ||
                                control->contextMenuPolicy() == Qt::CustomContextMenu;
        const bool isNamed = !control->accessibleName().isEmpty() ||
                             (button != nullptr ? !button->text().isEmpty() : labelled.contains(control));
        if (takesInput && qobject_cast<const QTabBar*>(control) == nullptr) { // its tabs have names
            EXPECT_TRUE(isNamed) << place(window, *control);
        }
    }
}

/// The mnemonics of one place where they must differ: a window with its menu bar, or a menu.
struct Mnemonics {
    std::map<QString, std::string> owners;

    void Add(const QKeySequence& key, const std::string& where)
    {
        const auto [entry, isNew] = owners.emplace(key.toString(), where);
        EXPECT_TRUE(isNew || key.isEmpty()) << key.toString().toStdString() << ": " << where << ", " << entry->second;
    }
    void AddItems(const QWidget& menu, const QWidget& window)
    {
        for (const QAction* action : menu.actions()) {
            Add(QKeySequence::mnemonic(action->text()), place(window, *action));
        }
    }
};

void expectMnemonics(const QWidget& window)
{
    Mnemonics ofWindow;
    for (const QWidget* control : shownControls(window)) {
        const std::string where = place(window, *control);
        if (const auto* button = qobject_cast<const QAbstractButton*>(control)) {
            ofWindow.Add(button->shortcut(), where);
        } else if (const auto* label = qobject_cast<const QLabel*>(control); label != nullptr && label->buddy()) {
            ofWindow.Add(QKeySequence::mnemonic(label->text()), where);
        } else if (qobject_cast<const QMenuBar*>(control) != nullptr) {
            ofWindow.AddItems(*control, window);
        } else if (const auto* tabs = qobject_cast<const QTabBar*>(control)) {
            for (int i = 0; i < tabs->count(); ++i) {
                ofWindow.Add(QKeySequence::mnemonic(tabs->tabText(i)), where);
            }
        }
    }
    for (const QMenu* menu : window.findChildren<QMenu*>()) {
        Mnemonics().AddItems(*menu, window);
    }
}

void expectWholeTexts(const QWidget& window)
{
    for (const QWidget* control : shownControls(window)) {
        const auto* label = qobject_cast<const QLabel*>(control);
        const bool holdsText = label != nullptr || qobject_cast<const QAbstractButton*>(control) != nullptr ||
                               qobject_cast<const QComboBox*>(control) != nullptr;
        if (qobject_cast<const QGroupBox*>(control) != nullptr) {
            EXPECT_GE(control->width(), control->minimumSizeHint().width()) << place(window, *control);
        } else if (label != nullptr && label->wordWrap()) {
            EXPECT_GE(control->height(), control->heightForWidth(control->width())) << place(window, *control);
        } else if (holdsText && control->sizePolicy().horizontalPolicy() != QSizePolicy::Ignored) {
            EXPECT_GE(control->width(), control->sizeHint().width()) << place(window, *control);
            EXPECT_GE(control->height(), control->sizeHint().height()) << place(window, *control);
        }
    }
}

/// The program with a sensor and with every window open that the main window can open.
struct Program : Desk {
    simulator::clsSimulatedSensor sensor;

    explicit Program(std::int32_t language)
    {
        settings = {.Language = language};
        devices.Simulate(1, sensor.Path());
        help.SetHelpFile();
        LocaliseOpenWindows(language);
    }

    static void LookAtAll(std::set<std::string>& seen)
    {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            const bool isOurs = window->objectName().startsWith(QLatin1String("frm")) ||
                                window->objectName().startsWith(QLatin1String("dlg"));
            if (!window->isVisible() || !isOurs) {
                continue;
            }
            seen.insert(window->objectName().toStdString());
            EXPECT_FALSE(window->windowTitle().isEmpty()) << qPrintable(window->objectName());
            expectNames(*window);
            expectMnemonics(*window);
            settle();
            expectWholeTexts(*window);
            if (window->objectName() != QLatin1String("frmTextWindow")) { // it fits its letters to any size
                const QSize size = window->size();
                window->resize(1, 1); // as small as the window allows
                settle();
                expectWholeTexts(*window);
                window->resize(size);
            }
        }
    }

    /// Lays out what a tick has just shown.
    static void settle()
    {
        for (int i = 0; i < 3; ++i) { // a text that wraps asks for its height once it has its width
            QApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        }
    }
};

/// The questions of the settings window, and what a long recording shows while it is loaded.
void lookAtBoxes(const frmRVQ& window, std::int32_t language, std::set<std::string>& seen)
{
    const QString question = QStringLiteral("?");
    for (const auto& ask : {std::function([&] { window.Boxes.Failure(question, question); }),
                            std::function([&] { window.Boxes.Unsent(question, true); }),
                            std::function([&] { window.Boxes.WithoutBackup(question); }),
                            std::function([&] { window.Boxes.Overwrite(question); })}) {
        QTimer::singleShot(0, &window, [&seen] {
            Program::LookAtAll(seen);
            QApplication::activeModalWidget()->close();
        });
        ask();
    }
    QWidget& main = *window.parentWidget();
    LoadProgress loading(main, language);
    EXPECT_TRUE(Until([&] { return loading.GoOn(0.5) && main.findChild<QWidget*>("dlgLoading") != nullptr; }));
    Program::LookAtAll(seen);
}

class Access : public testing::TestWithParam<std::int32_t> {};

TEST_P(Access, EveryWindowNamesItsControlsHasDistinctMnemonicsAndCutsNoText)
{
    Program program(GetParam());
    std::set<std::string> seen;
    {
        frmSplash splash(program.settings, program.devices, program.help);
        splash.show();
        QApplication::processEvents();
        Program::LookAtAll(seen);
    }
    program.settings.Comport = 255; // no device: the chart offers the simulated sensor
    program.Open();
    frmMain& window = *program.window;
    window.StartSimulatedSensor = [] { return 1; };
    const auto* firstSteps = program.Find<QWidget>("fraFirstSteps");
    EXPECT_TRUE(Until([&] { return firstSteps->isVisible(); }));
    Program::LookAtAll(seen);
    program.Find<QAbstractButton>("cmdSimulatedSensor")->click();
    emit program.Find<ValueLabel>("lblMeasValue")->clicked();
    for (const char* action :
         {"mnuPopUpYscaleSettings", "mnuOptionConsole", "mnuOptionsTraffic", "mnuHelpAbout", "mnuRecorder",
          "mnuConfigurationCompare", "mnuConfigurationPassport", "mnuConfigurationRVQ"}) {
        program.Trigger(action);
    }
    program.help.ShowHelpTopic(window, "Main");
    EXPECT_TRUE(Until([&] { return !program.Text("lblMeasValue").empty(); }));
    EXPECT_FALSE(firstSteps->isVisible());
    WriteReport write;
    write.serialNo = program.session->SerialNo();
    write.before = write.after = program.session->Device().Parameters();
    write.after.Offset += 77;
    write.values = {{&RowOf(&ParameterSet::Offset), 0, 77, 77, ValueOutcome::Taken}};
    write.frames = write.sent = 1;
    write.isReadBack = true;
    write.result = WriteResult::Verified;
    program.session->Writes().Note(write, "COM 1");
    for (const QWidget* bar : window.findChildren<QWidget*>("fraUndo")) {
        EXPECT_TRUE(Until([&] { return bar->isVisible(); }));
    }
    auto* rateBar = program.Find<RateBar>("fraRate");
    rateBar->Tell(38400, program.settings.Baudrate);
    EXPECT_TRUE(rateBar->isVisible());
    frmFind find(window, GetParam(), program.devices, {});
    find.show();
    frmSheet sheet(window, program.settings, "");
    sheet.show();
    Program::LookAtAll(seen);
    lookAtBoxes(*program.Find<frmRVQ>("frmRVQ"), GetParam(), seen);
    EXPECT_EQ(seen, (std::set<std::string>{"dlgFailure", "dlgLoading", "dlgOverwrite", "dlgUnsent", "dlgWithoutBackup",
                                           "frmAbout", "frmChartSettings", "frmCompare", "frmConsole", "frmFind",
                                           "frmHelp", "frmMain", "frmPassport", "frmRVQ", "frmRecorder", "frmSheet",
                                           "frmSplash", "frmTextWindow", "frmTraffic"}));
    window.close();
}

INSTANTIATE_TEST_SUITE_P(Languages, Access, testing::Values(LanguageGerman, LanguageEnglish),
                         [](const auto& language) { return language.param == LanguageGerman ? "German" : "English"; });

} // namespace
