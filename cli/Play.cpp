#include "cli/Play.h"

#include "base/Numbers.h"
#include "base/modAPI.h"
#include "cli/clsProgram.h"
#include "cli/modPlayedTime.h"
#include "cli/modSignals.h"
#include "sensor/Parameters.h"
#include "session/modAccountText.h"
#include "session/modPlayback.h"
#include "session/modReadingText.h"
#include "store/modSidecar.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace {

constexpr char kNothing[] = "–";

struct Bounds {
    std::optional<modPlayedTime::PlayedTime> from, to;
};

std::optional<modPlayedTime::PlayedTime> boundOf(const clsArguments& arguments, std::string_view option)
{
    const auto text = arguments.Value(option);
    if (!text) {
        return std::nullopt;
    }
    const auto time = modPlayedTime::Parse(*text);
    if (!time) {
        throw UsageError("--" + std::string(option) +
                         " takes a time such as 14:03:05, 2026-11-20T14:03:05 or 90s, not \"" + std::string(*text) +
                         "\"");
    }
    return time;
}

/// One file stands for its recording, several for themselves.
std::vector<RecordPart> partsOf(std::span<const std::string_view> files)
{
    if (files.size() == 1) {
        return modRecordParts::PartsOf(files.front());
    }
    return modRecordParts::InOrder({files.begin(), files.end()});
}

/// How far a recording was ahead of UTC when it began, if its sidecar says so and this system's time zone says
/// something else: it was made elsewhere. Otherwise the time zone knows it for every line, also across the change of
/// summer time.
std::optional<std::int32_t> foreignOffset(const std::filesystem::path& file, double first)
{
    std::error_code why;
    const auto info = modSidecar::Read(modSidecar::SidecarOf(file), why);
    if (!info || !info->offset_min || !modSidecar::Belongs(*info, first)) {
        return std::nullopt;
    }
    const modAPI::UtcOffsets here = modAPI::UtcOffsetsOf(first);
    const bool agrees = *info->offset_min == here.first_min || *info->offset_min == here.second_min;
    return agrees ? std::nullopt : info->offset_min;
}

class Player {
public:
    Player(clsProgram& program, const clsArguments& arguments)
        : m_program(program), m_format(arguments, [this](double time) { return offset(time); }),
          m_isStatistics(arguments.Has("stats")), m_bounds{boundOf(arguments, "from"), boundOf(arguments, "to")},
          m_parts(partsOf(arguments.Operands()))
    {}

    int Run();

private:
    std::int32_t offset(double time);
    void show(std::span<const Measurement> measurements, double shift);
    bool goesOn(double read);
    int sayOutcome();
    void printStatistics();
    void printText(const Statistics& figures);
    void printValues(const Statistics& figures);

    clsProgram& m_program;
    clsSampleFormat m_format;
    bool m_isStatistics;
    Bounds m_bounds;
    std::vector<RecordPart> m_parts;
    std::vector<FileHandle> m_played;
    clsHistory m_history{static_cast<std::size_t>(m_program.Settings().History_MiB) << 20U};
    modPlayback::Loaded m_loaded;
    std::optional<std::int32_t> m_foreign_min;
    double m_offsetQuarter = 0.0; ///< of an hour, for which the offset is known
    std::int32_t m_offset_min = 0;
    bool m_hasFirst = false;
    double m_from = 0.0, m_to = 0.0;           ///< times
    double m_fromPlace = 0.0, m_toPlace = 0.0; ///< of the first and last value within them
    bool m_hasPlace = false;
    std::int32_t m_unit = 0;
};

int Player::Run()
{
    if (!m_isStatistics && !m_format.Heading().empty()) {
        m_program.Print(m_format.Heading());
    }
    m_loaded = modPlayback::LoadData(m_parts, ParameterSet(),
                                     {.history = m_history,
                                      .show = [this](auto values, double shift) { show(values, shift); },
                                      .gap = [](double) {},
                                      .goOn = [this](double read) { return goesOn(read); }},
                                     m_played);
    m_program.Progress().End();
    const int code = sayOutcome();
    if (m_isStatistics && (m_loaded.lines > 0 || code == ExitDone)) {
        printStatistics();
    }
    return code;
}

/// The calendar is asked once for each quarter of an hour: no clock is set at another time.
std::int32_t Player::offset(double time)
{
    const double quarter = std::floor(time * 96.0);
    if (quarter != m_offsetQuarter) {
        m_offsetQuarter = quarter;
        m_offset_min = m_foreign_min.value_or(modAPI::UtcOffsetsOf(time).first_min);
    }
    return m_offset_min;
}

void Player::show(std::span<const Measurement> measurements, double shift)
{
    if (!std::exchange(m_hasFirst, true)) {
        const double first = measurements.front().time;
        m_from = m_bounds.from ? m_bounds.from->TimeIn(first) : -std::numeric_limits<double>::infinity();
        m_to = m_bounds.to ? m_bounds.to->EndIn(first, m_from) : std::numeric_limits<double>::infinity();
        m_unit = measurements.front().unit;
        m_foreign_min = foreignOffset(m_parts.front().file, first);
    }
    for (const Measurement& measurement : measurements) {
        if (measurement.time < m_from || measurement.time > m_to) {
            continue;
        }
        if (!std::exchange(m_hasPlace, true)) {
            m_fromPlace = measurement.time + shift;
        }
        m_toPlace = measurement.time + shift;
        if (!m_isStatistics) {
            m_program.Print(m_format.Line(measurement));
        }
    }
}

/// Nothing is measured, so a slow reader is waited for.
bool Player::goesOn(double read)
{
    m_program.Progress().Show(m_program.Text(TextId::StatusLoading) + " " +
                              std::to_string(static_cast<int>(read * 100.0)) + " %");
    m_program.Out().Finish([] { return !modSignals::EndIsWanted(); });
    return m_program.Out().IsOpen() && !modSignals::EndIsWanted();
}

int Player::sayOutcome()
{
    using enum modPlayback::SidecarUse;
    if (m_loaded.sidecar == Unreadable || m_loaded.sidecar == Foreign) {
        const std::string name = modSidecar::SidecarOf(m_parts.front().file).filename().native();
        m_program.Note(
            m_program.Text(m_loaded.sidecar == Foreign ? TextId::SidecarForeign : TextId::SidecarUnreadable, {name}));
    }
    switch (m_loaded.outcome) {
    case modPlayback::Outcome::Complete:
        return ExitDone;
    case modPlayback::Outcome::Cancelled:
        return m_program.Out().IsOpen() ? ExitFailed : ExitDone;
    case modPlayback::Outcome::Unreadable:
        break;
    }
    const std::string file = m_parts[m_loaded.unreadable].file.native();
    m_program.Say(m_loaded.failure
                      ? m_program.Text(TextId::FailureNotRead, {file, m_program.FileError(m_loaded.failure)})
                      : m_program.Text(TextId::PlayedLineUnreadable, {file, std::to_string(m_loaded.line)}));
    return ExitFailed;
}

void Player::printStatistics()
{
    const Statistics figures = m_hasPlace ? m_history.StatisticsOf({m_fromPlace, m_toPlace}) : Statistics();
    if (m_format.Kind() == OutputKind::Text) {
        printText(figures);
    } else {
        printValues(figures);
    }
}

void Player::printText(const Statistics& figures)
{
    const std::int32_t unit = m_format.UnitFor(m_unit);
    const auto length = [&](double mm, int moreDecimals, std::int64_t leastValid) {
        return figures.valid < leastValid ? std::string(kNothing) : modReadingText::Length(mm, unit, moreDecimals, '.');
    };
    const auto add = [&](TextId caption, std::string_view text) {
        m_program.Print(m_program.Text(caption) + ": " + std::string(text));
    };
    add(TextId::CaptionStatCount, std::to_string(figures.values));
    add(TextId::CaptionStatValid, modReadingText::Share(figures.valid, figures.values, '.'));
    add(TextId::CaptionStatMinimum, length(figures.minimum, 0, 1));
    add(TextId::CaptionStatMaximum, length(figures.maximum, 0, 1));
    add(TextId::CaptionStatMean, length(figures.mean, 1, 1));
    add(TextId::CaptionStatDeviation, length(figures.deviation, 1, 2));
    add(TextId::CaptionStatPeak, length(figures.maximum - figures.minimum, 0, 1));
    add(TextId::CaptionStatDrift,
        figures.hasDrift ? modReadingText::LengthPer(figures.drift_perMinute, "min", unit, '.') : kNothing);
    add(TextId::CaptionStatRate,
        figures.rate_perSecond == 0.0 ? kNothing : modAccountText::Rate(figures.rate_perSecond, '.'));
}

/// A figure that there is none of is an empty field, or null.
void Player::printValues(const Statistics& figures)
{
    struct Figure {
        const char* name;
        bool isKnown;
        std::string text;
    };
    const UnitDef& unit = UnitOf(m_format.UnitFor(m_unit));
    const auto length = [&](double mm, int moreDecimals) {
        return FixedText(mm / unit.millimetres, unit.decimals + moreDecimals, '.');
    };
    const bool isJson = m_format.Kind() == OutputKind::Json;
    const bool hasOne = figures.valid > 0;
    const std::string unitName = isJson ? '"' + std::string(unit.name) + '"' : std::string(unit.name);
    const Figure all[] = {
        {"values", true, std::to_string(figures.values)},
        {"valid", true, std::to_string(figures.valid)},
        {"unit", true, unitName},
        {"minimum", hasOne, length(figures.minimum, 0)},
        {"maximum", hasOne, length(figures.maximum, 0)},
        {"mean", hasOne, length(figures.mean, 1)},
        {"deviation", figures.valid > 1, length(figures.deviation, 1)},
        {"drift_per_minute", figures.hasDrift, length(figures.drift_perMinute, 1)},
        {"rate_per_second", figures.rate_perSecond != 0.0, FixedText(figures.rate_perSecond, 1, '.')}};
    std::string names, values;
    for (const Figure& figure : all) {
        const std::string text = figure.isKnown ? figure.text : isJson ? "null" : "";
        if (isJson) {
            values += std::string(values.empty() ? "{" : ",") + '"' + figure.name + "\":" + text;
        } else {
            names += std::string(names.empty() ? "" : ",") + figure.name;
            values += std::string(&figure == all ? "" : ",") + text;
        }
    }
    if (!isJson) {
        m_program.Print(names);
    }
    m_program.Print(values + (isJson ? "}" : ""));
}

} // namespace

int RunPlay(clsProgram& program, const clsArguments& arguments)
{
    if (arguments.Operands().empty()) {
        throw UsageError("play needs a file");
    }
    return Player(program, arguments).Run();
}
