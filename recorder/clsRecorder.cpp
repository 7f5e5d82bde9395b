#include "recorder/clsRecorder.h"

#include "device/clsRVQ.h"
#include "recorder/modRecordLine.h"

void clsRecorder::StartRecording()
{
    m_failure.clear();
    m_file.emplace(m_folder);
    FileName = m_file->Path();
    Mode = m_lastMode = RecorderRecording;
    m_lines = 0;
    m_waitsForTemperature = false;
}

std::filesystem::path clsRecorder::NearestFolder() const
{
    std::error_code unknown;
    return std::filesystem::is_directory(m_folder, unknown) ? m_folder : m_folder.parent_path();
}

void clsRecorder::Record(const clsRVQ& device)
{
    if (Mode != RecorderRecording) {
        return;
    }
    m_waitsForTemperature = !modRecordLine::HasTemperature(device);
    const std::error_code error = m_file->WriteLine(modRecordLine::RecordLine(device), device.CurrentTime);
    if (error) {
        fail(error);
    } else {
        ++m_lines;
    }
}

void clsRecorder::Flush(double now)
{
    if (Mode != RecorderRecording) {
        return;
    }
    if (const std::error_code error = m_file->FlushIfDue(now)) {
        fail(error);
    }
}

void clsRecorder::StartPlaying(const std::filesystem::path& file)
{
    m_failure.clear();
    FileName = file;
    Mode = m_lastMode = RecorderPlaying;
}

void clsRecorder::Stop()
{
    if (Mode == RecorderRecording) {
        closeFile();
    }
    Mode = RecorderIdle;
}

void clsRecorder::fail(const std::error_code& error)
{
    Stop();
    m_failure = error;
}

void clsRecorder::closeFile()
{
    m_failure = m_file->Close();
    if (m_file->IsEmpty()) {
        std::error_code unknown;
        std::filesystem::remove(m_file->Path(), unknown);
    }
    m_file.reset();
}
