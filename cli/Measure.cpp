#include "cli/Measure.h"

#include "base/Numbers.h"
#include "base/modAPI.h"
#include "cli/clsProgram.h"
#include "cli/clsSensorRun.h"
#include "cli/modDuration.h"
#include "store/modGlobals.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <unistd.h>
#include <vector>

namespace {

constexpr double kSingle_s = 5.0; ///< for one value, however many are averaged

/// Prints what a session measures.
class MeasuredLines : public SessionListener {
public:
    MeasuredLines(clsProgram& program, clsSession& session, const clsArguments& arguments, bool isEvery,
                  std::int64_t most)
        : m_program(program), m_session(session),
          m_format(arguments, [](double /*now*/) { return modAPI::UtcOffsetNow_min(); }), m_isEvery(isEvery),
          m_most(most)
    {
        m_session.Listen(*this);
    }
    ~MeasuredLines() override { m_session.Leave(*this); }
    MeasuredLines(const MeasuredLines&) = delete;
    MeasuredLines& operator=(const MeasuredLines&) = delete;

    void PrintHeading()
    {
        if (!m_format.Heading().empty()) {
            m_program.Print(m_format.Heading());
        }
    }
    std::int64_t Printed() const { return m_printed; }
    bool IsComplete() const { return m_printed >= m_most; }

    void Sampled(std::span<const Measurement> samples, std::string_view /*temperature*/) override
    {
        if (m_isEvery) {
            for (const Measurement& sample : samples) {
                print(sample);
            }
        } else {
            m_samples.assign(samples.begin(), samples.end());
        }
    }
    void Measured(const Measurement& measurement, std::string_view /*temperature*/) override
    {
        if (!m_isEvery) {
            Measurement newest = measurement;
            const auto sample =
                std::ranges::find(m_samples.rbegin(), m_samples.rend(), measurement.value_mm, &Measurement::value_mm);
            newest.time = sample == m_samples.rend() ? measurement.time : sample->time;
            print(newest);
        }
    }

private:
    void print(const Measurement& measurement)
    {
        if (!IsComplete()) {
            m_program.Print(m_format.Line(measurement));
            ++m_printed;
        }
    }

    clsProgram& m_program;
    clsSession& m_session;
    clsSampleFormat m_format;
    bool m_isEvery;
    std::int64_t m_most, m_printed = 0;
    std::vector<Measurement> m_samples; ///< of this tick
};

std::int64_t mostOf(const clsArguments& arguments)
{
    const auto text = arguments.Value("number");
    if (!text) {
        return std::numeric_limits<std::int64_t>::max();
    }
    const std::int32_t number = WholeNumber(*text).value_or(0);
    if (number < 1) {
        throw UsageError("-n takes a number from 1 to 2147483647");
    }
    return number;
}

} // namespace

std::optional<double> LimitOf(const clsArguments& arguments)
{
    const auto text = arguments.Value(kForOption.name);
    if (!text) {
        return std::nullopt;
    }
    const auto seconds = modDuration::Seconds(*text);
    if (!seconds) {
        throw UsageError("--for takes a time such as 500ms, 10s, 5min or 1h, not \"" + std::string(*text) + "\"");
    }
    return seconds;
}

int RunMeasure(clsProgram& program, const clsArguments& arguments)
{
    const std::int64_t most = mostOf(arguments);
    const std::optional<double> limit_s = LimitOf(arguments);
    program.Settings().History_MiB = modGlobals::kLeastHistory_MiB;
    clsSensorRun run(program, {.joinsMeasurement = true});
    MeasuredLines lines(program, run.Session(), arguments, arguments.Has("every"), most);
    if (const int code = run.Connect(); code != ExitDone) {
        return code;
    }
    lines.PrintHeading();
    const bool showsCount = program.Progress().IsPossible() && isatty(STDOUT_FILENO) == 0;
    const RunEnd end = run.Measure(
        [&] {
            if (showsCount) {
                program.Progress().Show(program.Text(TextId::MeasuringCount, {std::to_string(lines.Printed())}));
            }
            return lines.IsComplete();
        },
        limit_s);
    const bool isHere = run.IsConnected();
    run.SayLosses();
    const bool isLeft = run.Leave();
    if (end == RunEnd::TimeOver && !isHere) {
        return ExitNoConnection;
    }
    return isLeft ? clsSensorRun::CodeOf(end, most == std::numeric_limits<std::int64_t>::max()) : ExitNoConnection;
}

int RunSingle(clsProgram& program, const clsArguments& arguments)
{
    clsSensorRun run(program);
    MeasuredLines lines(program, run.Session(), arguments, true, 1);
    if (const int code = run.Connect(); code != ExitDone) {
        return code;
    }
    lines.PrintHeading();
    run.Session().Start(run.Session().Loop().RequestingSingleValue());
    const RunEnd end = run.Until([&] { return lines.IsComplete(); }, kSingle_s, false);
    const bool isLeft = run.Leave();
    if (end == RunEnd::TimeOver) {
        program.Say(program.Text(TextId::NoValueCame, {program.PortName()}));
        return ExitNoConnection;
    }
    return isLeft ? clsSensorRun::CodeOf(end, false) : ExitNoConnection;
}
