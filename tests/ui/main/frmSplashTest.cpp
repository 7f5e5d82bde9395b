// The start-up window, offscreen.
#include "ui/main/frmSplash.h"

#include "tests/support/Desk.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

struct Splash : Desk {
    std::string file = folder.path / "RVQ.ini";
    frmSplash window{kept(file), devices, help};

    modGlobals::Settings& kept(const std::string& iniFile)
    {
        return settings = {.IniFile = iniFile, .Baudrate = 57600, .Comport = 300};
    }
    QComboBox& List(const char* name) const { return *FindIn<QComboBox>(window, name); }
    QStringList Texts() const
    {
        QStringList all{window.windowTitle(), FindIn(window, "cmdOK")->text()};
        for (const char* name : {"lblSelectLanguage", "lblLanguage", "lblSelectInterface", "lblComPort"}) {
            all += FindIn<QLabel>(window, name)->text();
        }
        return all;
    }
    void Click(const char* name) const { FindIn(window, name)->click(); }
};

TEST(StartUpWindow, ShowsTheSettingsInTheirLanguageAndKeepsThemOnOK)
{
    Splash splash;
    EXPECT_EQ(splash.List("cmbComPort").count(), 255);
    EXPECT_EQ(splash.List("cmbComPort").currentText(), "COM 1") << "300 is no port";
    EXPECT_EQ(splash.settings.Comport, 300) << "the setting changes only on OK";
    EXPECT_EQ(splash.List("cmbBaudrate").currentText(), "9600") << "57600 is no rate of the sensor";
    EXPECT_EQ(splash.settings.Baudrate, 9600);
    EXPECT_TRUE(splash.window.findChild<QLabel*>("lblVersion")->text().startsWith(u'V'));

    splash.List("cmbComPort").setCurrentIndex(6);
    splash.List("cmbBaudrate").setCurrentIndex(5);
    const QStringList german = splash.Texts();
    Choose(splash.List("cmbLanguage"), 1);
    for (int i = 0; i < german.size(); ++i) {
        EXPECT_NE(splash.Texts()[i], german[i]);
    }
    Choose(splash.List("cmbLanguage"), 0);
    EXPECT_EQ(splash.Texts(), german);
    Choose(splash.List("cmbLanguage"), 1);
    splash.Click("cmdOK");
    EXPECT_EQ(splash.window.result(), QDialog::Accepted);
    const modGlobals::Settings kept = modGlobals::LoadGlobalSettings(splash.file, '.');
    EXPECT_EQ(kept.Comport, 7);
    EXPECT_EQ(kept.Baudrate, 38400);
    EXPECT_EQ(kept.Language, LanguageEnglish);
}

TEST(StartUpWindow, ListOfPortsLooksForDevicesEachTimeItOpens)
{
    Splash splash;
    const std::string device = splash.folder.path / "sensor";
    splash.devices.Override(2, device);
    splash.devices.Override(7, "tcp://[::1]:4001");
    auto& ports = splash.List("cmbComPort");
    splash.window.show();
    ports.setCurrentIndex(1);
    QSignalSpy changes(&ports, &QComboBox::currentTextChanged);
    for (const bool isThere : {false, true, false}) {
        SCOPED_TRACE(isThere ? "with the device" : "without");
        isThere ? std::filesystem::create_symlink("/dev/null", device)
                : static_cast<void>(std::filesystem::remove(device));
        ports.showPopup();
        const int row = ports.findText("COM 2");
        const auto data = [&](int role) { return ports.itemData(row, role).toString().toStdString(); };
        EXPECT_EQ(ports.itemData(row, Qt::FontRole).value<QFont>().bold(), isThere);
        EXPECT_EQ(ports.currentText(), "COM 2");
        EXPECT_EQ(data(Qt::UserRole), isThere ? device : "") << "beside the port";
        EXPECT_EQ(data(Qt::AccessibleDescriptionRole), isThere ? device : "");
        EXPECT_EQ(data(Qt::ToolTipRole), isThere ? device + "\n/dev/null" : device);
        EXPECT_EQ(ports.itemData(ports.findText("COM 7"), Qt::UserRole), "tcp://[::1]:4001")
            << "whether it answers or not";
        ports.hidePopup();
    }
    EXPECT_EQ(changes.count(), 0) << "the port is the same";
}

TEST(StartUpWindow, SaysThatANumberLeadsToAnotherDeviceUntilItIsConfirmed)
{
    Splash splash;
    splash.devices.Use([](std::string_view key) { return std::string(key == "COM7" ? "/dev/null" : ""); });
    splash.settings.Devices.Remember(7, "/dev/serial/by-id/usb-Maker_UART_A1-if00-port0");
    splash.settings.Language = LanguageEnglish;
    splash.window.show();
    const auto* warning = FindIn<QLabel>(splash.window, "lblPortWarning");
    EXPECT_FALSE(warning->isVisible());
    Choose(splash.List("cmbComPort"), 6);
    EXPECT_TRUE(warning->isVisible());
    EXPECT_EQ(warning->text(), "COM 7 now leads to another device: /dev/null. Last time it was Maker UART A1.");
    splash.Click("cmdOK");
    EXPECT_EQ(modGlobals::LoadGlobalSettings(splash.file, '.').Devices.Of(7), "/dev/null");
}

TEST(StartUpWindow, ExitAndCloseBoxRejectWithoutSavingAndEscapeDoesNothing)
{
    for (const bool byButton : {true, false}) {
        Splash splash;
        QSignalSpy rejected(&splash.window, &QDialog::rejected);
        splash.window.show();
        PressKey(splash.window, Qt::Key_Escape);
        EXPECT_TRUE(splash.window.isVisible());
        EXPECT_EQ(rejected.count(), 0);
        byButton ? splash.Click("cmdExit") : static_cast<void>(splash.window.close());
        EXPECT_FALSE(splash.window.isVisible());
        EXPECT_EQ(rejected.count(), 1);
        EXPECT_FALSE(std::filesystem::exists(splash.file));
    }
}

} // namespace
