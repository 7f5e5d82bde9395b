// A session whose line's traffic is watched: with the simulated sensor behind it, or with a recording that is played.
#pragma once

#include "base/Days.h"
#include "session/clsSession.h"
#include "session/modTrafficText.h"
#include "simulator/clsReplay.h"
#include "simulator/clsSensorModel.h"
#include "store/modGlobals.h"
#include "tests/support/PlayedLine.h"
#include "tests/support/TemporaryFolder.h"

#include <memory>
#include <span>
#include <sstream>
#include <string>
#include <vector>

struct TrafficSite : SessionListener {
    struct Line : PlayedLine {
        simulator::clsSensorModel model{{.lineRate = 38400}};
        std::unique_ptr<simulator::clsReplay> replay; ///< in place of the model
        const double& now_s;
        std::string delivered, received; ///< what the program has read, and sent

        explicit Line(const double& clock_s) : now_s(clock_s) {}
        void sent(char command) override
        {
            received += command;
            if (replay) {
                replay->Receive({&command, 1}, now_s);
            } else {
                model.Receive({&command, 1}, now_s);
            }
        }
        void arrive() override { Arriving += replay ? replay->TakeDue(now_s) : model.Transmit(now_s); }
        void dropped() override { arrive(), Arriving.clear(); }
        std::int32_t sio_read(std::int32_t port, std::span<char> buffer) override
        {
            const std::int32_t count = PlayedLine::sio_read(port, buffer);
            delivered.append(buffer.data(), static_cast<std::size_t>(count));
            return count;
        }
    };
    static constexpr double kBegin = 46000.5;

    TemporaryFolder folder;
    double now_s = 0.0;
    Line* line = new Line(now_s);
    modGlobals::Settings settings{.Baudrate = 38400, .Language = LanguageEnglish};
    clsSession session{std::unique_ptr<SerialPort>(line), settings, folder.path, '.'};
    std::vector<Measurement> samples;

    explicit TrafficSite(const std::string& recording = {})
    {
        if (!recording.empty()) {
            std::istringstream file(recording);
            line->replay = std::make_unique<simulator::clsReplay>(file);
            line->replay->Start(now_s);
        }
        session.Listen(*this);
        session.WatchTraffic(true);
    }
    ~TrafficSite() override { session.Leave(*this); }

    void Sampled(std::span<const Measurement> more, std::string_view) override
    {
        samples.insert(samples.end(), more.begin(), more.end());
    }
    void Run(double seconds)
    {
        for (const double end_s = now_s + seconds; now_s < end_s;) {
            now_s += 0.05;
            session.Tick(kBegin + now_s / kSecondsPerDay);
        }
    }
    void StartStop() { session.Start(session.Loop().StartingOrStopping()); }

    std::vector<TrafficEntry> Entries() const
    {
        std::vector<TrafficEntry> entries;
        for (std::uint64_t number = session.Traffic()->First(); number < session.Traffic()->End(); ++number) {
            entries.push_back(session.Traffic()->At(number));
        }
        return entries;
    }
    std::string Recording() const
    {
        std::string file = modTrafficText::FileHeader("test", LanguageEnglish);
        for (const TrafficEntry& entry : Entries()) {
            file += modTrafficText::FileLine(*session.Traffic(), entry, {LanguageEnglish, '.'}) + '\n';
        }
        return file;
    }
    /// The meanings of what went over the line, joined by "|".
    std::string Meanings() const
    {
        std::string meanings;
        for (const TrafficEntry& entry : Entries()) {
            meanings += modTrafficText::Meaning(*session.Traffic(), entry, {LanguageEnglish, '.'}) + '|';
        }
        return meanings;
    }
};
