// The list of ports, offscreen, with devices of a file system of the test's own.
#include "ui/widgets/PortList.h"

#include "tests/support/Desk.h"
#include "tests/support/FakeSystem.h"
#include "ui/widgets/PortModel.h"

#include <QAbstractItemView>
#include <QKeyEvent>
#include <QListView>
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

struct OpenList {
    FakeSystem system;
    modPComm::PortDevices devices;
    QWidget window;
    PortList list{&window};

    OpenList()
    {
        devices.Override(7, "tcp://crane:4001");
        list.LookIn(system.root);
        list.Fill(devices, 120);
        list.Localise(LanguageEnglish);
        window.resize(400, 100);
        window.show();
    }
    QListView& View() const { return *qobject_cast<QListView*>(list.view()); }
    void Type(const QString& text) const
    {
        for (const QChar letter : text) {
            QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(letter));
            QApplication::sendEvent(&View(), &press);
        }
    }
    /// The rows that are not hidden, headings in brackets.
    std::string Shown(int most) const
    {
        std::string rows;
        for (int row = 0; row < list.count() && most > 0; ++row) {
            if (!View().isRowHidden(row)) {
                const bool isHeading = list.itemData(row, PortModel::IsHeading).toBool();
                rows += (isHeading ? "[" : "") + list.itemText(row).toStdString() + (isHeading ? "] " : " ");
                --most;
            }
        }
        return rows;
    }
    std::string Details(int row) const { return list.itemData(row, PortModel::Details).toString().toStdString(); }
};

TEST(PortList, ShowsWhatIsThereFirstAndKeepsThePort)
{
    OpenList open;
    open.list.showPopup();
    EXPECT_EQ(open.Shown(4), "[No device found] [Lines over the network] COM 7 [Other ports] ");
    EXPECT_EQ(open.list.Port(), 120);
    open.list.hidePopup();
    open.system.AddUsb("ttyACM1", 4, {"Maker", "UART", "B2"});
    open.system.AddUsb("ttyUSB0", 3, {"Maker", "UART", "A1"});
    open.system.AddProcess(71, "terminal");
    open.system.OpenFile(71, 5, "/dev/ttyUSB0");
    QSignalSpy changes(&open.list, &QComboBox::currentIndexChanged);
    open.list.showPopup();
    EXPECT_EQ(open.Shown(6), "[Existing devices] COM 33 COM 66 [Lines over the network] COM 7 [Other ports] ");
    EXPECT_EQ(open.list.Port(), 120);
    EXPECT_EQ(changes.count(), 0);
    EXPECT_EQ(open.list.itemData(1, PortModel::Beside).toString(), "Maker UART");
    EXPECT_EQ(open.Details(2), "/dev/ttyACM1 – B2");
    EXPECT_TRUE(Until([&] { return open.Details(1) == "/dev/ttyUSB0 – A1 – in use by terminal (PID 71)"; }));
    PressKey(open.View(), Qt::Key_Home);
    EXPECT_EQ(open.View().currentIndex().row(), 1) << "a heading cannot be chosen";
}

/// The arrow keys of the closed list know what has come and gone meanwhile, also while it was open.
TEST(PortList, ArrowKeysGoFromOneExistingDeviceToTheNext)
{
    OpenList open;
    open.list.Fill(open.devices, 33);
    for (const char* name : {"ttyUSB0", "ttyUSB1", "ttyUSB2"}) {
        open.system.AddUsb(name, 3, {"Maker", "UART", name});
    }
    PressKey(open.list, Qt::Key_Down);
    EXPECT_EQ(open.list.Port(), 34);
    open.list.showPopup();
    open.system.Unplug("ttyUSB2");
    ASSERT_TRUE(Until([&] { return open.Details(3).ends_with("no longer there"); }));
    open.list.hidePopup();
    open.system.AddUsb("ttyACM0", 5, {"Maker", "UART", "C3"});
    PressKey(open.list, Qt::Key_Down);
    EXPECT_EQ(open.list.Port(), 65);
}

TEST(PortList, WhatIsTypedNarrowsItAndEnterChooses)
{
    OpenList open;
    open.system.AddUsb("ttyUSB0", 3, {"Maker", "UART", "A1"});
    open.system.AddUsb("ttyUSB1", 4, {"Other", "Cable", "B2"});
    QSignalSpy chosen(&open.list, &QComboBox::activated);
    QKeyEvent first(QEvent::KeyPress, Qt::Key_O, Qt::NoModifier, "o");
    QApplication::sendEvent(&open.list, &first);
    ASSERT_TRUE(open.View().isVisible()) << "typing opens the list";
    open.Type("ther c");
    EXPECT_EQ(open.Shown(9), "[Existing devices] COM 34 ");
    EXPECT_EQ(chosen.count(), 0);
    PressKey(open.View(), Qt::Key_Escape);
    EXPECT_TRUE(open.View().isVisible());
    EXPECT_EQ(open.Shown(4), "[Existing devices] COM 33 COM 34 [Lines over the network] ");
    open.Type("nonsense");
    EXPECT_EQ(open.Shown(9), "");
    PressKey(open.View(), Qt::Key_Return);
    EXPECT_EQ(chosen.count(), 0) << "nothing is found";
    PressKey(open.View(), Qt::Key_Escape);
    open.Type("com 3x");
    PressKey(open.View(), Qt::Key_Backspace);
    EXPECT_EQ(open.list.model()->data(open.View().currentIndex()).toString(), "COM 3") << "the number itself";
    EXPECT_EQ(open.Shown(5), "[Existing devices] COM 33 COM 34 [Other ports] COM 3 ");
    PressKey(open.View(), Qt::Key_Return);
    EXPECT_EQ(chosen.count(), 1);
    EXPECT_EQ(open.list.Port(), 3);
    EXPECT_EQ(open.list.currentText(), "COM 3");
}

TEST(PortList, DevicesThatComeAndGoDoNotMoveTheCurrentRow)
{
    for (const std::int32_t current : {34, 120}) { // below its beginning, and in its middle
        OpenList open;
        open.system.AddUsb("ttyUSB0", 3, {"Maker", "UART", "A1"});
        open.system.AddUsb("ttyUSB1", 4, {"Maker", "UART", "B2"});
        open.list.Fill(open.devices, current);
        open.list.showPopup();
        const int place = open.View().visualRect(open.View().currentIndex()).top();
        open.system.Unplug("ttyUSB0");
        open.system.AddUsb("ttyACM0", 5, {"Maker", "UART", "C3"});
        open.system.AddUsb("ttyXR0", 6, {"Maker", "UART", "D4"});
        ASSERT_TRUE(Until([&] { return open.Shown(4) == "[Existing devices] COM 33 COM 34 COM 65 "; }));
        EXPECT_EQ(open.Details(1), "/dev/ttyUSB0 – A1 – no longer there");
        EXPECT_EQ(open.list.itemText(4), "/dev/ttyXR0");
        EXPECT_EQ(open.View().visualRect(open.View().currentIndex()).top(), place) << current;
        EXPECT_EQ(open.list.Port(), current);
        EXPECT_EQ(open.list.model()->data(open.View().currentIndex()).toString(), PortName(current));
        open.list.hidePopup();
        open.list.showPopup();
        EXPECT_EQ(open.Shown(4), "[Existing devices] COM 34 COM 65 /dev/ttyXR0 ");
    }
}

} // namespace
