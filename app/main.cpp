// The program RVQ: reads its options, puts a simulated sensor on COM 1 on request, and opens the main window.
#include "app/Output.h"
#include "app/Termination.h"
#include "base/Days.h"
#include "base/Numbers.h"
#include "base/modAPI.h"
#include "port/clsPorts.h"
#include "port/modLineUrl.h"
#include "port/modPComm.h"
#include "sensor/Parameters.h"
#include "session/clsSession.h"
#include "simulator/clsSimulatedSensor.h"
#include "store/clsConfigLibrary.h"
#include "store/modGlobals.h"
#include "texts/modFunctions.h"
#include "ui/help/Help.h"
#include "ui/main/frmMain.h"
#include "ui/main/frmSplash.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/OutlinedStyle.h"
#include "ui/widgets/QtText.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFile>
#include <QIcon>
#include <QPixmap>
#include <QTimer>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fontconfig/fontconfig.h>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

constexpr QLatin1String kScreenshotAfter_s("5");
constexpr int kIconAfter_ms = 100;
constexpr std::int32_t kDemoPort = 1;
constexpr int kBadArguments = 2;

struct Options {
    bool demo = false;
    bool connect = false; ///< skips the start-up window
    bool print = false;
    bool everySample = false;
    bool record = false;
    std::string folder, screenshot;
    std::int32_t screenshotAfter_ms = 0;
    std::optional<std::int32_t> language;
    std::vector<std::pair<std::int32_t, std::string>> ports;
};

/// The options, one character a byte, so that a name keeps its bytes whatever they are. Qt itself would replace bytes
/// that are not UTF-8.
QStringList argumentsOf(std::span<char*> words)
{
    QStringList arguments;
    for (const char* word : words) {
        arguments += QString::fromLatin1(word);
    }
    return arguments;
}

std::string bytesOf(const QString& argument)
{
    return argument.toLatin1().toStdString();
}

[[noreturn]] void refuse(const QString& why)
{
    std::fprintf(stderr, "RVQ: %s\nTry RVQ --help.\n", why.toLatin1().constData());
    std::exit(kBadArguments);
}

void readPorts(const QStringList& values, Options& options)
{
    for (const QString& value : values) {
        const auto sign = value.indexOf(u'=');
        const int port = value.left(sign).toInt();
        if (sign < 0 || port < 1 || port > modPComm::kPortCount || value.mid(sign + 1).isEmpty()) {
            refuse(QStringLiteral("--port takes N=DEVICE with N from 1 to %1, not \"%2\"")
                       .arg(QString::number(modPComm::kPortCount), value));
        }
        const std::string device = bytesOf(value.mid(sign + 1));
        if (modLineUrl::IsUrl(device) && !modLineUrl::Parse(device)) {
            refuse(QStringLiteral("--port: \"%1\" is not the address of a line; expected tcp://host:port or "
                                  "rfc2217://host:port")
                       .arg(value.mid(sign + 1)));
        }
        options.ports.emplace_back(port, device);
    }
}

std::int32_t readLanguage(const QString& code)
{
    if (code != QLatin1String("de") && code != QLatin1String("en")) {
        refuse(QStringLiteral("--language takes de or en"));
    }
    return code == QLatin1String("de") ? LanguageGerman : LanguageEnglish;
}

std::int32_t readMilliseconds(const QString& seconds)
{
    bool isNumber = false;
    const double number = seconds.toDouble(&isNumber);
    if (!isNumber || !(number >= 0.0 && number <= kSecondsPerDay)) {
        refuse(QStringLiteral("--after takes seconds from 0 to %1").arg(kSecondsPerDay, 0, 'f', 0));
    }
    return RoundHalfToEven(number * 1000.0).value_or(0);
}

Options readOptions(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Configures and monitors serial laser distance sensors."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption demo("demo",
                                  "Put a simulated sensor on COM 1 for this run and measure; no settings are kept.");
    const QCommandLineOption folder("folder", "Keep settings and recordings in <DIR>.", "DIR");
    const QCommandLineOption port("port",
                                  "Use a device, or a line tcp://host:port or rfc2217://host:port, for port "
                                  "number N for this run (repeatable).",
                                  "N=DEVICE");
    const QCommandLineOption language("language", "Language of the texts: de or en.", "de|en");
    const QCommandLineOption connect("connect", "Skip the start-up window and connect with the stored settings.");
    const QCommandLineOption screenshot("screenshot", "Save a picture of the main window as <FILE> and end.", "FILE");
    const QCommandLineOption after("after",
                                   QStringLiteral("Seconds before the picture is taken (%1).").arg(kScreenshotAfter_s),
                                   "SECONDS", kScreenshotAfter_s);
    const QCommandLineOption print("print", "Print distances to standard output, the newest one every 50 ms.");
    const QCommandLineOption every("every", "With --print: print every value that the sensor sends.");
    const QCommandLineOption record("record", "Connect with the stored settings, measure and record from the start.");
    parser.addOptions({demo, folder, port, language, connect, screenshot, after, print, every, record});
    if (!parser.parse(arguments)) {
        refuse(parser.errorText());
    }
    parser.process(arguments); // help and version
    if (const QStringList others = parser.positionalArguments(); !others.isEmpty()) {
        refuse(QStringLiteral("what is \"%1\"?").arg(others.front()));
    }
    if (parser.isSet(screenshot) && parser.value(screenshot).isEmpty()) {
        refuse(QStringLiteral("--screenshot takes the name of a file"));
    }
    if (parser.isSet(after) && !parser.isSet(screenshot)) {
        refuse(QStringLiteral("--after needs --screenshot"));
    }
    if (parser.isSet(every) && !parser.isSet(print)) {
        refuse(QStringLiteral("--every needs --print"));
    }

    Options options;
    options.demo = parser.isSet(demo);
    options.print = parser.isSet(print);
    options.everySample = parser.isSet(every);
    options.record = parser.isSet(record);
    options.connect = parser.isSet(connect) || options.demo || options.record || parser.isSet(screenshot);
    options.folder = bytesOf(parser.value(folder));
    options.screenshot = bytesOf(parser.value(screenshot));
    options.screenshotAfter_ms = readMilliseconds(parser.value(after));
    if (parser.isSet(language)) {
        options.language = readLanguage(parser.value(language));
    }
    readPorts(parser.values(port), options);
    return options;
}

void takePicture(frmMain& window, const QString& file)
{
    const bool saved = window.grab().save(file);
    if (!saved) {
        std::fprintf(stderr, "RVQ: cannot write %s\n", qPrintable(file));
    }
    QApplication::exit(saved ? 0 : 1);
}

QIcon programIcon()
{
    QIcon icon;
    for (const int size : {ORVEX_ICON_SIZES}) {
        icon.addFile(QStringLiteral(":/icon/%1.png").arg(size), QSize(size, size));
    }
    return icon;
}

/// The options that only print a text need no display.
void needNoDisplayForTexts(int argc, char** argv)
{
    for (const std::string_view argument : std::span(argv, static_cast<std::size_t>(argc))) {
        const bool isHelp = argument == "--help" || argument == "-h" || argument == "--help-all";
        if (isHelp || argument == "--version" || argument == "-v") {
            qputenv("QT_QPA_PLATFORM", "offscreen");
        }
    }
}

void startRecording(clsSession& session, std::int32_t language)
{
    try {
        session.StartRecording();
    } catch (const std::system_error& failure) {
        throw std::runtime_error(
            Text(TextId::RecorderNotStarted, language).arg(FileErrorText(failure.code(), language)).toStdString());
    }
}

/// Sets the devices behind the port numbers: the options come first, then the settings file.
void findPorts(modPComm::PortDevices& devices, const std::string& iniFile, const Options& options)
{
    devices.Use(
        [ports = modGlobals::ConfiguredPorts(iniFile)](std::string_view key) mutable { return ports.DeviceOf(key); });
    for (const auto& [port, device] : options.ports) {
        devices.Override(port, device);
    }
}

/// The settings of this run, none of which are kept. Comes before `findPorts`, since an option may put another device
/// on the port.
void prepareDemo(modGlobals::Settings& settings, const std::function<std::int32_t()>& startSensor)
{
    settings.IniFile.clear();
    settings.Baudrate = SensorRate(settings.Baudrate);
    settings.Comport = startSensor();
}

void startAsAsked(frmMain& window, clsSession& session, const Options& options, std::int32_t language)
{
    if (options.demo || options.record) {
        window.MeasureWhenConnected();
    }
    if (options.record) {
        startRecording(session, language);
    }
    WatchForTermination(window, [&window] {
        window.close();
        QApplication::quit();
    });
    window.show();
    if (!options.screenshot.empty()) {
        QTimer::singleShot(options.screenshotAfter_ms, &window, [&window, &options] {
            Guarded([&] { takePicture(window, QFile::decodeName(options.screenshot.c_str())); });
        });
    }
}

/// The folder of the files. If it belonged to another user and others could write there, they could choose what the
/// program reads.
std::filesystem::path folderOf(const Options& options)
{
    const auto folder = modAPI::ProgramFolder(options.folder);
    if (folder.empty()) {
        refuse(QStringLiteral("you have no home folder for the files; name a folder with --folder"));
    }
    if (modAPI::OthersMayChange(folder)) {
        refuse(QStringLiteral("the folder %1 belongs to another user, and others may write there; "
                              "name another one with --folder")
                   .arg(QString::fromLatin1(folder.c_str())));
    }
    return folder;
}

int runProgram(const Options& options)
{
    const auto folder = folderOf(options);
    const std::string iniFile = folder / "RVQ.ini";
    modGlobals::Settings settings = modGlobals::LoadGlobalSettings(iniFile, DecimalSeparator());
    settings.Language = options.language.value_or(settings.Language);
    modPComm::PortDevices devices;
    std::unique_ptr<simulator::clsSimulatedSensor> sensor;
    const auto startSensor = [&] {
        simulator::SensorOptions simulated;
        simulated.lineRate = SensorRate(settings.Baudrate);
        sensor = std::make_unique<simulator::clsSimulatedSensor>(simulated);
        devices.Simulate(kDemoPort, sensor->Path());
        return kDemoPort;
    };
    if (options.demo) {
        prepareDemo(settings, startSensor);
    }
    findPorts(devices, iniFile, options);

    Help help(settings, folder);
    LocaliseOpenWindows(settings.Language);
    if (!options.connect && frmSplash(settings, devices, help).exec() != QDialog::Accepted) {
        return 0;
    }
    std::optional<Output> output;
    if (options.print) {
        output.emplace(options.everySample, STDOUT_FILENO);
    }
    clsConfigLibrary library(iniFile);
    library.Build();
    clsSession session(std::make_unique<clsPorts>(devices), settings, folder / "REC", DecimalSeparator());
    session.Origin = [&] {
        RecordingInfo info;
        info.program = QApplication::applicationName().toStdString();
        info.version = QApplication::applicationVersion().toStdString();
        const std::string device = devices.DeviceOf(settings.Comport);
        info.port = "COM " + std::to_string(settings.Comport) + " (" + device + ")";
        info.offset_min = modAPI::UtcOffsetNow_min();
        return info;
    };
    session.Writes().Keep({.backups = folder / "BACKUP",
                           .passports = folder / "PASSPORT",
                           .user = modAPI::UserName(),
                           .version = QApplication::applicationVersion().toStdString()});
    frmMain window(settings, session, devices, {library, folder}, help);
    window.StartSimulatedSensor = startSensor;
    if (output) {
        session.Listen(*output);
    }
    startAsAsked(window, session, options, settings.Language);
    return QApplication::exec();
}

} // namespace

int main(int argc, char** argv)
{
    SurviveFailedWrites();
    needNoDisplayForTexts(argc, argv);
    // Reading the list of fonts takes a tenth of the time to the first window, so where possible a thread reads it
    // while the display is contacted. It reads numbers, and the locale must not change meanwhile, so the locale is set
    // before.
    std::setlocale(LC_ALL, "");
    std::future<void> fonts = std::async([] { FcInit(); });
    QApplication application(argc, argv);
    fonts.wait();
    QApplication::setApplicationName(QStringLiteral("RVQ"));
    QApplication::setApplicationVersion(QStringLiteral(ORVEX_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("orvex-monitor"));
    QApplication::setStyle(new OutlinedStyle);
    // Reading the pictures takes a while, so the first window comes first: the time counts from the start of the event
    // loop.
    QTimer::singleShot(0, &application, [] {
        QTimer::singleShot(kIconAfter_ms, qApp, [] { QApplication::setWindowIcon(programIcon()); });
    });
    try {
        return runProgram(readOptions(argumentsOf(std::span(argv, static_cast<std::size_t>(argc)))));
    } catch (const std::exception& fault) {
        // There is no window, for example because the system has no pseudo-terminals.
        std::fprintf(stderr, "RVQ: %s\n", fault.what());
        return 1;
    }
}
