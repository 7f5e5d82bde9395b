// A journal in a folder of its own, and somebody who records by hand: lines as a recorder writes them.
#pragma once

#include "base/Days.h"
#include "gateway/clsJournal.h"
#include "gateway/modRecordingName.h"
#include "sensor/Measurement.h"
#include "store/modRecordLine.h"
#include "store/modSidecar.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

struct JournalSite {
    static constexpr double kTime = 46350.0;

    TemporaryFolder temporary;
    std::filesystem::path folder = temporary.path / "orvex";
    clsJournal::Bounds bounds;
    std::unique_ptr<clsJournal> journal = std::make_unique<clsJournal>(folder, bounds);

    /// What a killed gateway leaves, and the next one.
    void Kill()
    {
        journal.reset();
        journal = std::make_unique<clsJournal>(folder, bounds);
    }
    void Restart()
    {
        journal->Finish();
        Kill();
    }
    std::filesystem::path FileOf(const std::string& sensor, const RecordingPart& part) const
    {
        return folder / "REC" / sensor / modRecordingName::FileOf(part);
    }
    static std::string Line(std::int32_t mm)
    {
        const Measurement measurement{
            .value = mm * 1.0, .value_mm = mm, .unit = 0, .outputFormat = 2, .time = kTime + mm / kSecondsPerDay};
        return modRecordLine::RecordLine(measurement, "23 \xB0"
                                                      "C");
    }
    static std::string Lines(std::int32_t first, std::int32_t last)
    {
        std::string lines;
        for (std::int32_t mm = first; mm <= last; ++mm) {
            lines += Line(mm);
        }
        return lines;
    }
    /// Writes a file of a recording; its sidecar says how many lines and bytes it had, if it is complete.
    void Put(const std::string& sensor, const RecordingPart& part, const std::string& lines, std::int64_t recorded = -1,
             std::optional<std::int64_t> bytes = {})
    {
        const auto file = FileOf(sensor, part);
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << lines;
        if (recorded >= 0) {
            RecordingInfo info;
            info.start = info.recordingStart = kTime;
            info.end = kTime + 1.0;
            info.part = part.part;
            info.account.recorded = recorded;
            info.bytes = bytes;
            modSidecar::Write(modSidecar::SidecarOf(file), info);
        }
    }
    static bool Until(const std::function<bool()>& holds)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!holds()) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return true;
    }
    /// Sends and acknowledges everything that waits.
    std::vector<GatewayValue> Drain(const std::string& sensor)
    {
        std::vector<GatewayValue> all;
        Until([&] {
            for (const GatewayValue& value : journal->Next(sensor, 64)) {
                all.push_back(value);
                journal->Acknowledged(sensor, value.run, value.sequence, value.sequence);
            }
            return journal->Waiting(sensor) == 0;
        });
        return all;
    }
};
