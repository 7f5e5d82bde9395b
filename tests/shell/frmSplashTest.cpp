// The start-up window, offscreen.
#include "shell/frmSplash.h"

#include "device/modPComm.h"
#include "shell/Help.h"

#include <QComboBox>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>

#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

struct Splash {
    std::string file = std::filesystem::temp_directory_path() / ("orvex-splash-" + std::to_string(getpid()) + ".ini");
    modGlobals::Settings settings{.IniFile = file, .Baudrate = 57600, .Comport = 300};
    modPComm::PortDevices devices;
    Help help{settings, "/folder"};
    frmSplash window{settings, devices, help};

    ~Splash() { std::filesystem::remove(file); }
    QComboBox* List(const char* name) const { return window.findChild<QComboBox*>(QLatin1String(name)); }
    QPushButton* Button(const char* name) const { return window.findChild<QPushButton*>(QLatin1String(name)); }
    void ChooseLanguage(int index) const
    {
        List("cmbLanguage")->setCurrentIndex(index);
        emit List("cmbLanguage")->activated(index); // as a click in the list does
    }
};

TEST(StartUpWindow, ShowsTheSettingsAndKeepsThemOnOK)
{
    Splash splash;
    EXPECT_EQ(splash.List("cmbComPort")->count(), 255);
    EXPECT_EQ(splash.List("cmbComPort")->currentText(), "COM 1") << "300 is no port";
    EXPECT_EQ(splash.settings.Comport, 300) << "the setting changes only on OK";
    EXPECT_EQ(splash.List("cmbBaudrate")->currentText(), "9600") << "57600 is no rate of the sensor";
    EXPECT_EQ(splash.settings.Baudrate, 9600);
    EXPECT_TRUE(splash.window.findChild<QLabel*>("lblVersion")->text().startsWith(u'V'));

    splash.List("cmbComPort")->setCurrentIndex(6);
    splash.List("cmbBaudrate")->setCurrentIndex(5);
    splash.ChooseLanguage(1);
    splash.Button("cmdOK")->click();
    EXPECT_EQ(splash.window.result(), QDialog::Accepted);
    const modGlobals::Settings kept = modGlobals::LoadGlobalSettings(splash.file, '.');
    EXPECT_EQ(kept.Comport, 7);
    EXPECT_EQ(kept.Baudrate, 38400);
    EXPECT_EQ(kept.Language, LanguageEnglish);
}

TEST(StartUpWindow, LanguageChangesEveryTextBothWays)
{
    const Splash splash;
    const auto texts = [&] {
        QStringList all{splash.window.windowTitle(), splash.Button("cmdOK")->text(), splash.Button("cmdExit")->text()};
        for (const char* name : {"lblSelectLanguage", "lblLanguage", "lblSelectInterface", "lblComPort"}) {
            all += splash.window.findChild<QLabel*>(QLatin1String(name))->text();
        }
        return all;
    };
    const QStringList german = texts();
    for (int round = 0; round < 10; ++round) {
        splash.ChooseLanguage(1);
        const QStringList english = texts();
        for (int i = 0; i < german.size(); ++i) {
            EXPECT_NE(english[i], german[i]);
        }
        EXPECT_EQ(english[3], "Please select your language");
        splash.ChooseLanguage(0);
        EXPECT_EQ(texts(), german);
    }
}

TEST(StartUpWindow, ExitAndCloseBoxRejectWithoutSavingAndEscapeDoesNothing)
{
    for (const bool byButton : {true, false}) {
        Splash splash;
        QSignalSpy rejected(&splash.window, &QDialog::rejected);
        splash.window.show();
        QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
        QCoreApplication::sendEvent(&splash.window, &escape);
        EXPECT_TRUE(splash.window.isVisible());
        EXPECT_EQ(rejected.count(), 0);
        byButton ? splash.Button("cmdExit")->click() : static_cast<void>(splash.window.close());
        EXPECT_FALSE(splash.window.isVisible());
        EXPECT_EQ(rejected.count(), 1);
        EXPECT_FALSE(std::filesystem::exists(splash.file));
    }
}

} // namespace
