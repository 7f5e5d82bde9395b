// What a window needs in a test: settings, ports with the simulated sensor behind COM 1, configurations, help and a
// folder of its own. Also finds and uses its controls.
#pragma once

#include "port/clsPosixPort.h"
#include "session/clsSession.h"
#include "simulator/clsSimulatedSensor.h"
#include "store/clsConfigLibrary.h"
#include "tests/support/TemporaryFolder.h"
#include "ui/help/Help.h"
#include "ui/main/frmMain.h"
#include "ui/widgets/QtText.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QtTest/QTest>
#include <QtTest/qtestspontaneevent.h>

#include <functional>
#include <memory>
#include <stdexcept>

template <typename Widget = QPushButton>
Widget* FindIn(const QObject& window, const std::string& name)
{
    auto* widget = window.findChild<Widget*>(QString::fromStdString(name));
    return widget != nullptr ? widget : throw std::runtime_error(name);
}

/// Does what a click on a line of the list does.
inline void Choose(QComboBox& list, int index)
{
    list.setCurrentIndex(index);
    emit list.activated(index);
}

inline void PressKey(QObject& target, Qt::Key key)
{
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
    QApplication::sendEvent(&target, &press);
}

/// Does what the close button in the window's frame does; returns whether the window agrees to close.
inline bool CloseByFrame(QWidget& window)
{
    QCloseEvent byTheFrame;
    QSpontaneKeyEvent::setSpontaneous(&byTheFrame);
    qApp->notify(&window, &byTheFrame);
    return byTheFrame.isAccepted();
}

/// Handles events until the condition holds, for at most half a minute: a machine that builds beside it may stop for
/// many seconds.
inline bool Until(const std::function<bool()>& condition)
{
    return QTest::qWaitFor(condition, 30000);
}

struct Desk {
    TemporaryFolder folder;
    modPComm::PortDevices devices;
    modGlobals::Settings settings{.Language = LanguageEnglish};
    clsConfigLibrary library{{}};
    Help help{settings, folder.path};
    std::unique_ptr<clsSession> session;
    std::unique_ptr<frmMain> window;

    /// Opens the main window, closing one that is open.
    void Open()
    {
        window.reset();
        session = std::make_unique<clsSession>(std::make_unique<clsPosixPort>(devices), settings, folder.path / "REC",
                                               DecimalSeparator());
        window = std::make_unique<frmMain>(settings, *session, devices, frmMain::Storage{library, folder.path}, help);
        window->show();
    }
    template <typename Widget = QPushButton>
    Widget* Find(const char* name) const
    {
        return FindIn<Widget>(*window, name);
    }
    std::string Text(const char* label) const { return Find<QLabel>(label)->text().toStdString(); }
    void Trigger(const char* action) const { Find<QAction>(action)->trigger(); }
    bool Connects() const
    {
        return Until([&] { return Find("cmdStart")->isEnabled(); });
    }
};

/// A desk with a sensor behind COM 1 and the main window open.
struct MainDesk : Desk {
    simulator::clsSimulatedSensor sensor;

    /// Its terminal has a name of its own: the number of one that is unplugged is another test's next.
    explicit MainDesk(const simulator::SensorOptions& options = {}) : sensor(options, folder.path / "sensor")
    {
        devices.Override(1, sensor.Path());
        Open();
    }
    ~MainDesk() { window.reset(); }
};
