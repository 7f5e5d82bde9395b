// The main window's part in recording, playback and export.
#include "ui/chart/XYChart.h"
#include "ui/chart/frmChartSettings.h"
#include "ui/main/MessagePanel.h"
#include "ui/main/frmMain.h"
#include "ui/recorder/Export.h"
#include "ui/recorder/frmRecorder.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QAction>
#include <QFile>
#include <QLabel>

#include <algorithm>
#include <chrono>
#include <cmath>

void frmMain::connectRecorder()
{
    connectAction(mnuRecorder, &frmMain::mnuRecorder_Click);
    connectAction(mnuFileExport, &frmMain::mnuFileExport_Click);
    connectAction(mnuFileExportChart, &frmMain::mnuFileExportChart_Click);
    m_loop.Record = [this](const Measurement& measurement, std::string_view temperature) {
        m_recorder.Record(measurement, temperature);
    };
}

void frmMain::mnuRecorder_Click()
{
    if (m_recorderWindow == nullptr) {
        m_recorderWindow = new frmRecorder(*this, m_settings, m_recorder, *this);
        m_recorderWindow->setAttribute(Qt::WA_DeleteOnClose);
    }
    m_recorderWindow->show();
    m_recorderWindow->raise();
    m_recorderWindow->activateWindow();
}

void frmMain::StartRecording()
{
    m_recorder.StartRecording();
    ShowRecordedFile(QFile::decodeName(m_recorder.FileName.c_str()));
}

void frmMain::mnuFileExport_Click()
{
    showNews(ExportRecording(*this, m_recorder, m_settings.Language));
}

void frmMain::mnuFileExportChart_Click()
{
    showNews(ExportChart(*this, *picGraph, m_recorder, m_settings.Language));
}

void frmMain::showNews(const QString& message)
{
    if (!message.isEmpty()) {
        ShowMessage(message);
    }
}

/// With every tick, before the measurement goes on.
void frmMain::serveRecorder(double now)
{
    m_recorder.Flush(now);
    const std::error_code failure = m_recorder.Failure();
    if (failure && failure != m_shownFailure) {
        showFailure(text(TextId::RecorderEnded).arg(FileErrorText(failure, m_settings.Language)));
    }
    m_shownFailure = failure;
    for (const auto& [file, error] : m_recorder.TakeLateFailures()) {
        showFailure(text(TextId::FailureNotSaved)
                        .arg(QFile::decodeName(file.c_str()), FileErrorText(error, m_settings.Language)));
    }
    if (m_recorderWindow != nullptr) {
        m_recorderWindow->ShowState();
    }
}

void frmMain::showFailure(const QString& message)
{
    ShowMessage(message);
    NoteFault(message.toUtf8().constData());
}

/// The program ends: a recording is stopped, a playback gives up.
void frmMain::closeRecorder()
{
    if (m_recorderWindow != nullptr) {
        m_recorderWindow->close();
    }
    m_recorder.Stop();
}

/// The window has gone: a recording gets a last moment for its way to the disk. The lines themselves are the system's
/// already, so nothing but a loss of power can take them any more.
void frmMain::finishRecorder()
{
    constexpr std::chrono::milliseconds kPatience{2200}; // of the three seconds until the program has ended
    m_recorder.Stop();
    if (!m_recorder.FinishWriting(kPatience)) {
        NoteFault(text(TextId::RecorderNotOnDisk).toUtf8().constData());
    }
    serveRecorder(m_device.CurrentTime);
}

void frmMain::localiseRecorder()
{
    if (!m_playedFile.isEmpty() && sbar[1]->text() == m_playedFile) {
        explainPlayed();
    }
}

/// Panel 2 after a playback: the file, and whether the chart shows all of it. A full ring has lost a point already.
void frmMain::explainPlayed()
{
    QString toolTip = m_playedFile;
    const auto& series = picGraph->Series();
    if (series.Added() >= static_cast<std::uint64_t>(series.Size())) {
        std::int64_t shown = 0;
        for (const auto part : picGraph->Points()) {
            shown += std::ranges::count_if(part, [](const ChartPoint& point) { return !std::isnan(point.y); });
        }
        toolTip += u'\n' + text(TextId::ToolTipLastPoints).arg(m_playedLines).arg(shown);
    }
    ShowFile(m_playedFile, toolTip);
}

bool frmMain::IsMeasuring() const
{
    return m_loop.IsMeasuring() || m_device.Wait.Running; // a wait for the sensor must be able to end, too
}

const ParameterSet& frmMain::Parameters() const
{
    return m_device.Parameters;
}

void frmMain::ShowFile(const QString& file, const QString& toolTip)
{
    sbar[1]->setText(file);
    sbar[1]->setToolTip(toolTip);
}

void frmMain::ShowMessage(const QString& message)
{
    pnlMessages->ShowMessage(message, m_device.CurrentTime);
}

void frmMain::BeginPlayback()
{
    m_liveRange_ms = m_liveRange_ms.value_or(picGraph->XRange_ms());
    initChartData(modPlayback::kChartPoints);
    m_settings.AutoScale = true;
    picGraph->AutoScale(true);
    if (m_chartSettings != nullptr) {
        m_chartSettings->ShowUpdatedSettings();
    }
    m_loop.BeginPlaying();
}

void frmMain::ShowRecord(const Measurement& record)
{
    m_loop.Show(record);
}

void frmMain::EndPlayback(const modPlayback::Loaded& loaded)
{
    const modPlayback::TimeAxis axis = modPlayback::TimeAxisOf(loaded);
    if (axis.range_ms) {
        picGraph->XRange_ms(*axis.range_ms);
    }
    if (loaded.lines > 0) {
        picGraph->ShowTime(loaded.last);
        picGraph->TimeBegin(loaded.last - picGraph->XRange_ms() / kMsPerDay); // a held span, too, ends at the last line
        picGraph->TimeOrigin(axis.origin);
    }
    m_playedLines = loaded.lines;
    m_loop.EndPlaying(loaded.end);
    if (loaded.end) {
        m_distanceAge.Forget(); // the number is the file's now
    }
    if (!loaded.temperature.empty()) {
        ShowTemperature(loaded.temperature);
        m_temperatureAge.Forget();
    }
    picGraph->Redraw();
    m_playedFile = QFile::decodeName(m_recorder.FileName.c_str());
    explainPlayed();
}
