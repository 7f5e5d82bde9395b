#include "session/clsRecorder.h"

#include "store/modRecordLine.h"

#include <algorithm>
#include <memory>
#include <thread>

namespace {

/// A fast disk finishes within this time, so a short wait is never shown.
constexpr std::chrono::milliseconds kBriefly{100};

/// Closes a file in a thread that nobody waits for: the future, unlike one of std::async, does not wait either.
std::future<std::error_code> closeBeside(clsRecordFile&& file)
{
    auto closing = std::make_shared<std::packaged_task<std::error_code()>>(
        [file = std::move(file)]() mutable { return file.Close(); });
    std::future<std::error_code> outcome = closing->get_future();
    try {
        std::thread([closing] { (*closing)(); }).detach();
    } catch (const std::system_error&) {
        (*closing)(); // no more threads are available
    }
    return outcome;
}

} // namespace

void clsRecorder::StartRecording()
{
    m_failure.clear();
    m_file.emplace(m_folder, m_flush);
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

void clsRecorder::Record(const Measurement& measurement, std::string_view temperature)
{
    if (Mode != RecorderRecording) {
        return;
    }
    m_waitsForTemperature = !modRecordLine::HasTemperature(temperature);
    const std::error_code error =
        m_file->WriteLine(modRecordLine::RecordLine(measurement, temperature), measurement.time);
    if (error) {
        fail(error);
    } else {
        ++m_lines;
    }
}

void clsRecorder::Flush(double now)
{
    FinishWriting(std::chrono::milliseconds::zero());
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
    if (std::exchange(Mode, RecorderIdle) == RecorderRecording) {
        closeFile();
    }
}

void clsRecorder::fail(const std::error_code& error)
{
    Stop();
    m_failure = error;
}

void clsRecorder::closeFile()
{
    m_failure.clear();
    if (m_file->IsEmpty()) {
        std::error_code unknown;
        std::filesystem::remove(m_file->Path(), unknown);
    }
    const auto identity = m_file->Identity();
    m_writing.push_back({m_file->Path(), identity, closeBeside(std::move(*m_file))});
    m_file.reset();
    FinishWriting(kBriefly);
}

bool clsRecorder::FinishWriting(std::chrono::milliseconds patience)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    std::erase_if(m_writing, [&](Writing& writing) {
        const bool done = writing.outcome.wait_until(end) == std::future_status::ready;
        if (done) {
            noteOutcome(writing);
        }
        return done;
    });
    return m_writing.empty();
}

void clsRecorder::noteOutcome(Writing& writing)
{
    const std::error_code error = writing.outcome.get();
    const bool isLast = Mode == RecorderIdle && m_lastMode == RecorderRecording && writing.file == FileName;
    if (error && !isLast) {
        m_lateFailures.push_back({writing.file, error});
    } else if (error && !m_failure) {
        m_failure = error;
    }
}

bool clsRecorder::IsInUse(const std::filesystem::path& file) const
{
    const auto identity = FileIdentity::Of(file);
    if (!identity) {
        return false;
    }
    const auto isWritten = [&](const Writing& writing) { return writing.identity == identity; };
    const auto isOpen = [&](const FileHandle& handle) { return FileIdentity::Of(handle.Descriptor()) == identity; };
    return (m_file && m_file->Identity() == identity) || std::ranges::any_of(m_writing, isWritten) ||
           (Mode == RecorderPlaying && FileIdentity::Of(std::filesystem::path(FileName)) == identity) ||
           std::ranges::any_of(Played, isOpen);
}
