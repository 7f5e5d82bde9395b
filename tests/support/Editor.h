// The settings window over a device on a line with the simulated sensor, with its questions answered and its controls
// at hand.
#pragma once

#include "session/clsWriteKeeper.h"
#include "tests/support/Desk.h"
#include "tests/support/SensorOnLine.h"
#include "ui/settings/frmRVQ.h"
#include "ui/widgets/NumberEdit.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// The window over a device on a line; the pump ticks the loop, as the main window's timer does otherwise.
struct Editor {
    TemporaryFolder own;
    std::filesystem::path folder = own.path;
    SensorOnLine line;
    clsConfigLibrary library;
    Help help{line.settings, folder};
    std::string fileAnswer, sheet, unkept;
    QString description = "Press 4";
    std::vector<QString> questions, details;
    frmRVQ::UnsentAnswer unsentAnswer = frmRVQ::UnsentAnswer::Discard;
    clsWriteKeeper writes;
    std::unique_ptr<frmRVQ> window;

    explicit Editor(bool keepsWrites) : Editor(simulator::SensorOptions{}, keepsWrites) {}
    explicit Editor(simulator::SensorOptions options = {}, bool keepsWrites = false)
        : line(std::move(options)), library(folder / "RVQ.ini")
    {
        EXPECT_TRUE(line.Configured());
        window = std::make_unique<frmRVQ>(nullptr,
                                          frmRVQ::Context{line.device, library, line.settings, help, folder,
                                                          [this] {
                                                              line.Tick();
                                                              window->FollowDevice();
                                                          },
                                                          [this](const QString& told) { unkept = told.toStdString(); },
                                                          keepsWrites ? &writes : nullptr});
        window->Boxes.FileToLoad = window->Boxes.FileToSave = [this](const std::string&) { return fileAnswer; };
        window->Boxes.Description = [this](const QString&) { return description; };
        window->Boxes.Overwrite = [this](const QString& question) {
            questions.push_back(question);
            return false;
        };
        window->Boxes.Failure = [this](const QString& question, const QString& about) {
            questions.push_back(question);
            details.push_back(about);
            return FailureAnswer::Abort;
        };
        window->Boxes.Unsent = [this](const QString& question, bool) {
            questions.push_back(question);
            return unsentAnswer;
        };
        window->Boxes.OpenSheet = [this](const std::string& file) { sheet = file; };
        window->show();
        QApplication::processEvents();
        for (const auto button : {Qt::LeftButton, Qt::MiddleButton, Qt::RightButton}) {
            QTest::mouseRelease(window.get(), button); // another test may have left it pressed
        }
    }
    template <typename Widget = QPushButton>
    Widget* Find(const std::string& name) const
    {
        return FindIn<Widget>(*window, name);
    }
    void Click(const char* name) const { Find(name)->click(); }
    void ClickAndAnswer(const char* name, const char* file)
    {
        fileAnswer = folder / file;
        Click(name);
    }
    std::string Status() const { return Find<QLabel>("lblStatus")->text().toStdString(); }
    NumberEdit& Box(int i) const { return *Find<NumberEdit>("txtParameter_" + std::to_string(i)); }
    std::string Typed(int i) const { return Box(i).text().toStdString(); }
    std::ptrdiff_t Marks(const char* sign = "≠") const
    {
        return std::ranges::count_if(window->findChildren<QLabel*>(), [&](const QLabel* label) {
            return label->isVisible() && label->text() == QString::fromUtf8(sign);
        });
    }
    std::string Note() const { return Find<QLabel>("lblNote")->text().toStdString(); }
    void Type(int i, const char* text) const
    {
        Box(i).setFocus();
        Box(i).selectAll();
        QTest::keyClicks(&Box(i), text);
    }
    void PressControl(Qt::Key key) const { QTest::keyClick(window.get(), key, Qt::ControlModifier); }
};

/// A write of offset and air pressure, as a transfer reports it: what became of the offset; the other one was taken.
inline WriteReport writeTo(const clsRVQ& device, ValueOutcome outcome, std::optional<std::int32_t> readBack)
{
    WriteReport report;
    report.serialNo = device.Identity().SerialNo;
    report.time = device.CurrentTime();
    report.before = report.after = device.Parameters();
    report.values = {{&RowOf(&ParameterSet::Offset), 0, 77, readBack, outcome},
                     {&RowOf(&ParameterSet::AirPressure), 1013, 1100, 1100, ValueOutcome::Taken}};
    report.after.AirPressure = 1100;
    report.after.Offset = readBack.value_or(0);
    report.frames = report.sent = 2;
    report.isReadBack = true;
    report.result = WriteResult::Differs;
    return report;
}
