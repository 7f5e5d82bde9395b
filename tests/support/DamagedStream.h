// A measurement over a line that damages a byte now and then: what the sensor sent, and what the program made of it.
#pragma once

#include "base/Days.h"
#include "session/SessionListener.h"
#include "session/clsMeasurementLoop.h"
#include "simulator/WireFormat.h"
#include "tests/support/PlayedLine.h"
#include "tests/support/ScriptedSensor.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <utility>
#include <vector>

enum class Damage : std::uint8_t { None, Lost, Doubled, Foreign, Replaced };
/// How the distance moves: around one place with noise, steadily as with a crane, or to a random place each time.
enum class Course : std::uint8_t { Still, Moving, Anywhere };

struct StreamCase {
    std::int32_t format = FormatAscii;
    std::int32_t unit = 1;
    double from_mm = 300, to_mm = 9000; ///< from > to: no echo at all
    double rate_Hz = 18;
    Course course = Course::Still;
    Damage damage = Damage::None;
    bool isPadded = true;  ///< whether the lines are padded
    double noEcho = 0.0;   ///< the share of replies without an echo
    bool hasVoids = false; ///< binary frames may have 0 as their lowest byte
    int damages = 1000;    ///< without damage: the number of replies
    double tick_s = 0.05;
    unsigned seed = 1;
};

struct StreamResult {
    int damaged = 0; ///< damaged replies
    int sent = 0, shown = 0;
    int wrong = 0;        ///< shown values that had not been sent within the last second
    double longest_s = 0; ///< from a damaged reply to the next value
    std::vector<std::int32_t> values;
    std::string firstWrong;

    std::vector<std::int32_t> samples, all; ///< every sample, and every value that was sent
    int unordered = 0;                      ///< samples that had not been sent behind the sample before
    int backwards = 0;                      ///< samples that are earlier than the one before
    int apart = 0;                          ///< ticks whose last value was not their last sample
    int counted = 0;                        ///< replies that the dialogue has given up
};

class DamagedStream {
public:
    explicit DamagedStream(const StreamCase& play) : m_case(play), m_random(play.seed), m_damage(play.seed + 1) {}
    /// Chooses where and how a byte is damaged.
    std::function<std::uint32_t()> Choose = [this] { return static_cast<std::uint32_t>(m_damage()); };

    /// Called with what a tick finds on the line.
    std::function<void(std::string_view)> Arrived = [](std::string_view) {};

    StreamResult Play()
    {
        m_device.Parameters().OutputFormat = m_case.format;
        m_device.Parameters().DistanceUnit = m_case.unit;
        m_loop.Tick(days()); // opens the port
        m_device.CommStatus() = DialogueIdle;
        m_loop.StartStop({});
        m_value_mm = (m_case.from_mm + m_case.to_mm) / 2;
        const bool isDamaging = m_case.damage != Damage::None;
        int untilDamage = kApart;
        double next_s = m_now_s + 0.1, tick_s = m_now_s + m_case.tick_s;
        while (isDamaging ? m_result.damaged < m_case.damages : m_result.sent < m_case.damages) {
            next_s += 1.0 / m_case.rate_Hz * jitter();
            std::string bytes = send(next_s);
            if (isDamaging && --untilDamage == 0) {
                harm(bytes);
                ++m_result.damaged;
                m_damaged_s = m_damaged_s ? m_damaged_s : next_s;
                untilDamage = kApart + static_cast<int>(Choose() % 8);
            }
            double arrival_s = next_s;
            for (const char byte : bytes) {
                arrival_s += m_byte_s;
                for (; tick_s < arrival_s; tick_s += m_case.tick_s) {
                    tickAt(tick_s);
                }
                m_line.Arriving += byte;
            }
            next_s = std::max(next_s, arrival_s - 1.0 / m_case.rate_Hz); // the line is no faster than this
        }
        for (int i = 0; i < 20; ++i, tick_s += 0.05) {
            tickAt(tick_s);
        }
        m_result.counted = static_cast<int>(m_device.DamagedReplies());
        return m_result;
    }

private:
    struct Line : PlayedLine {
        void sent(char) override {}
    };
    struct View : SessionListener {
        std::optional<double> point;
        DamagedStream& stream;

        explicit View(DamagedStream& owner) : stream(owner) {}
        void AddChartPoint(double, double value) override { point = value; }
        void Measured(const Measurement& measurement, std::string_view) override { stream.judge(measurement); }
        void Sampled(std::span<const Measurement> samples, std::string_view) override
        {
            for (const Measurement& sample : samples) {
                stream.judgeSample(sample);
            }
        }
    };
    struct Sent {
        double time_s;
        std::int32_t value_mm;
    };
    static constexpr int kApart = 10; // good replies between two damaged ones, at the least

    double days() const { return ScriptedSensor::kStart + m_now_s / kSecondsPerDay; }
    double jitter() { return 0.95 + 0.1 * std::generate_canonical<double, 32>(m_random); }

    void tickAt(double time_s)
    {
        m_now_s = time_s;
        Arrived(m_line.Arriving);
        const std::size_t before = m_result.values.size();
        m_lastSample.reset();
        m_loop.Tick(days());
        if (m_result.values.size() > before && m_lastSample != m_result.values.back()) {
            ++m_result.apart;
        }
    }

    void move()
    {
        const double low = std::min(m_case.from_mm, m_case.to_mm), high = std::max(m_case.from_mm, m_case.to_mm);
        std::uniform_real_distribution<double> anywhere(low, high);
        if (m_case.course == Course::Anywhere) {
            m_value_mm = anywhere(m_random);
            return;
        }
        if (m_case.course == Course::Moving) {
            m_value_mm += m_speed_mm_s / m_case.rate_Hz;
            if (m_value_mm < low || m_value_mm > high) {
                m_speed_mm_s = -m_speed_mm_s;
            }
        } else if (m_random() % 200 == 0) {
            m_value_mm = anywhere(m_random); // another target
        }
        m_value_mm = std::clamp(m_value_mm, low, high);
    }

    /// The sensor's message for the present distance.
    std::string message()
    {
        const auto format = static_cast<simulator::Format>(m_case.format);
        if (m_isNoEcho) {
            return simulator::NoEchoMessage(format);
        }
        std::string text = simulator::DistanceMessage(format, m_case.unit, m_noisy_mm);
        if (!m_case.isPadded) {
            text.erase(0, text.find_first_not_of(' '));
        }
        return text;
    }

    std::string send(double time_s)
    {
        move();
        std::normal_distribution<double> noise(0, 4);
        const double low = std::min(m_case.from_mm, m_case.to_mm), high = std::max(m_case.from_mm, m_case.to_mm);
        m_noisy_mm = std::clamp(m_value_mm + noise(m_random), low, high);
        m_isNoEcho = m_case.from_mm > m_case.to_mm ||
                     (m_case.noEcho > 0 && std::generate_canonical<double, 32>(m_random) < m_case.noEcho);
        const bool isText = m_case.format <= FormatAsciiUnit;
        if (!isText && std::abs(m_noisy_mm) < 1.0) {
            m_noisy_mm = 1.0; // the sensor sends no less
        }
        if (!isText && !m_case.hasVoids && static_cast<std::int32_t>(std::nearbyint(m_noisy_mm)) % 256 == 0) {
            m_noisy_mm += 1; // by the sensor's own rule such a frame is out of step
        }
        std::string bytes = message();
        ++m_result.sent;
        std::int32_t value_mm = kMarkerNoEcho;
        if (isText) {
            const double factor = UnitOf(m_case.unit).millimetres;
            value_mm = static_cast<std::int32_t>(std::nearbyint(std::strtod(bytes.c_str(), nullptr) * factor));
        } else if (!m_isNoEcho) {
            value_mm = static_cast<std::int32_t>(std::nearbyint(m_noisy_mm));
        }
        m_sent.push_back({time_s, value_mm});
        m_result.all.push_back(value_mm);
        return bytes;
    }

    void harm(std::string& bytes)
    {
        const std::size_t at = Choose() % bytes.size();
        const char foreign = static_cast<char>(Choose());
        switch (m_case.damage) {
        case Damage::Lost:
            bytes.erase(at, 1);
            break;
        case Damage::Doubled:
            bytes.insert(at, 1, bytes[at]);
            break;
        case Damage::Foreign:
            bytes.insert(at, 1, foreign);
            break;
        case Damage::Replaced:
            bytes[at] = foreign;
            break;
        case Damage::None:
            break;
        }
    }

    void judge(const Measurement& measurement)
    {
        ++m_result.shown;
        const std::int32_t value_mm = measurement.value_mm;
        m_result.values.push_back(value_mm);
        const auto isRight = [&](const Sent& sent) {
            return sent.time_s > m_now_s - 1.05 && sent.value_mm == value_mm;
        };
        if (std::none_of(m_sent.rbegin(), m_sent.rbegin() + std::min<std::ptrdiff_t>(90, std::ssize(m_sent)),
                         isRight)) {
            ++m_result.wrong;
            if (m_result.firstWrong.empty()) {
                m_result.firstWrong = std::to_string(value_mm) + " mm at " + std::to_string(m_now_s) + " s, sent " +
                                      std::to_string(m_sent.back().value_mm);
            }
        } else if (m_damaged_s && m_now_s >= *m_damaged_s + 0.06) {
            m_result.longest_s = std::max(m_result.longest_s, m_now_s - *m_damaged_s);
            m_damaged_s.reset();
        }
    }

    void judgeSample(const Measurement& sample)
    {
        m_result.samples.push_back(sample.value_mm);
        m_lastSample = sample.value_mm;
        m_result.backwards += sample.time < std::exchange(m_lastTime, sample.time) ? 1 : 0;
        const auto rest = m_result.all.begin() + m_matched;
        const auto found = std::find(rest, m_result.all.end(), sample.value_mm);
        if (found == m_result.all.end()) {
            ++m_result.unordered;
        } else {
            m_matched = found - m_result.all.begin() + 1;
        }
    }

    StreamCase m_case;
    const double m_byte_s = 10.0 / (m_case.rate_Hz > 100 ? 115200 : 9600);
    std::mt19937 m_random, m_damage;
    Line m_line;
    View m_view{*this};
    modGlobals::Settings m_settings;
    OpenRVQ m_device{m_line, {}};
    clsMeasurementLoop m_loop{m_device, m_settings, m_view, '.'};
    double m_now_s = 1000.0;
    double m_value_mm = 0.0, m_noisy_mm = 0.0;
    double m_speed_mm_s = std::min(1500.0, std::abs(m_case.to_mm - m_case.from_mm) / 2);
    std::vector<Sent> m_sent;
    std::optional<double> m_damaged_s;
    bool m_isNoEcho = false;
    StreamResult m_result;
    std::optional<std::int32_t> m_lastSample; // of this tick
    double m_lastTime = 0.0;
    std::ptrdiff_t m_matched = 0; // sent values up to that of the last sample
};
