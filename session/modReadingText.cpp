#include "session/modReadingText.h"

#include "base/Days.h"
#include "base/Numbers.h"
#include "sensor/Parameters.h"
#include "texts/modFunctions.h"

#include <array>
#include <cmath>

namespace {

constexpr double kSecondsPerHour = 3600.0;
constexpr double kMsPerSecond = 1000.0;

/// In the order of `GapReason`.
constexpr std::array kReasons{TextId::NoEchoReason,      TextId::DamageReason,  TextId::LineLostReason,
                              TextId::TemperatureReason, TextId::StoppedReason, TextId::ClockChangedReason,
                              TextId::GapUnknown};

/// "3 min 20 s"; the smaller figure is left out when it is 0.
std::string twoFigures(std::int64_t figure, std::int64_t perLarger, const char* larger, const char* smaller)
{
    std::string text = std::to_string(figure / perLarger) + larger;
    if (figure % perLarger != 0) {
        text += ' ';
        text += std::to_string(figure % perLarger);
        text += smaller;
    }
    return text;
}

/// What is rounded to 0 has no sign.
std::string number(double value, int decimals, char decimalSeparator)
{
    std::string text = FixedText(value, decimals, decimalSeparator);
    if (text.starts_with('-') && text.find_first_of("123456789") == std::string::npos) {
        text.erase(0, 1);
    }
    return text;
}

} // namespace

std::string modReadingText::Length(double mm, std::int32_t unit, int moreDecimals, char decimalSeparator)
{
    const UnitDef& shown = UnitOf(unit);
    return number(mm / shown.millimetres, shown.decimals + moreDecimals, decimalSeparator) + " " +
           std::string(shown.name);
}

std::string modReadingText::LengthPer(double mm, const char* per, std::int32_t unit, char decimalSeparator)
{
    return Length(mm, unit, 1, decimalSeparator) + "/" + per;
}

std::string modReadingText::Share(std::int64_t part, std::int64_t whole, char decimalSeparator)
{
    if (whole <= 0) {
        return "–";
    }
    const std::int64_t thousandths = part * 1000 / whole;
    return FixedText(static_cast<double>(thousandths) / 10.0, 1, decimalSeparator) + " %";
}

std::string modReadingText::Difference(double days, char decimalSeparator)
{
    const double seconds = days * kSecondsPerDay;
    const double size = std::fabs(seconds);
    if (size < 1.0) {
        return number(seconds * kMsPerSecond, 1, decimalSeparator) + " ms";
    }
    return size < kSecondsPerHour ? FixedText(seconds, 3, decimalSeparator) + " s"
                                  : FixedText(seconds / kSecondsPerHour, 4, decimalSeparator) + " h";
}

std::string modReadingText::Roughly(double days)
{
    const auto seconds = static_cast<std::int64_t>(std::floor(days * kSecondsPerDay + 1e-3));
    if (seconds < 60) {
        return std::to_string(seconds) + " s";
    }
    if (seconds < 3600) {
        return twoFigures(seconds, 60, " min", " s");
    }
    return seconds < 86400 ? twoFigures(seconds / 60, 60, " h", " min") : twoFigures(seconds / 3600, 24, " d", " h");
}

std::string modReadingText::TimeOfDay(double time, int decimals, char decimalSeparator)
{
    const std::int64_t perSecond = decimals == 0 ? 1 : decimals == 1 ? 10 : decimals == 2 ? 100 : 1000;
    const double perDay = kSecondsPerDay * static_cast<double>(perSecond);
    const auto units = static_cast<std::int64_t>(std::fmod(std::round((time - std::floor(time)) * perDay), perDay));
    const std::int64_t seconds = units / perSecond;
    std::string text;
    AppendPadded(text, seconds / 3600, 2);
    text += ':';
    AppendPadded(text, seconds / 60 % 60, 2);
    text += ':';
    AppendPadded(text, seconds % 60, 2);
    if (decimals > 0) {
        text += decimalSeparator;
        AppendPadded(text, units % perSecond, static_cast<std::size_t>(decimals));
    }
    return text;
}

std::string modReadingText::Reason(GapReason reason, std::int32_t language)
{
    return std::string(modFunctions::GetText(kReasons.at(static_cast<std::size_t>(reason)), language));
}
