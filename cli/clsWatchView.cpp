#include "cli/clsWatchView.h"

#include "base/PlainText.h"
#include "cli/clsSampleFormat.h"
#include "cli/modSparkline.h"
#include "sensor/Request.h"
#include "session/modAccountText.h"
#include "session/modReadingText.h"
#include "texts/modFunctions.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kSilence_s = 3.0;
constexpr char kBold[] = "1", kGreen[] = "32", kYellow[] = "33", kRed[] = "31";

TextId stateText(std::int32_t dialogue)
{
    return dialogue == DialogueMeasuring ? TextId::LampMeasuring
           : dialogue == DialogueIdle    ? TextId::LampIdle
                                         : TextId::LampNoConnection;
}

const char* stateColour(std::int32_t dialogue)
{
    return dialogue == DialogueMeasuring ? kGreen : dialogue == DialogueIdle ? kYellow : kRed;
}

} // namespace

void clsWatchView::passTime(double now_s)
{
    if (m_slots.empty()) {
        m_slots.emplace_back();
        m_slot_s = now_s;
    }
    // After a pause that is longer than all that is kept, there is nothing to keep.
    for (std::size_t slots = 0; now_s - m_slot_s >= kSlot_s && slots < kMostSlots; ++slots) {
        m_slots.emplace_back();
        m_slot_s += kSlot_s;
    }
    m_slot_s = std::max(m_slot_s, now_s - kSlot_s);
    while (m_slots.size() > kMostSlots) {
        m_slots.pop_front();
    }
}

void clsWatchView::Add(const Measurement& measurement, double now_s)
{
    passTime(now_s);
    m_newest = measurement;
    m_newest_s = now_s;
    if (KindOf(measurement) == MeasurementKind::Distance) {
        m_slots.back() = measurement.value_mm;
    }
}

std::string clsWatchView::text(const Measurement& measurement) const
{
    return clsSampleFormat(OutputKind::Text, m_style.unit, {}).Line(measurement);
}

std::string clsWatchView::length(double mm) const
{
    return modReadingText::Length(mm, unit(), 0, '.');
}

std::string clsWatchView::painted(const std::string& text, const char* colour) const
{
    return m_style.hasColours ? std::string("\033[") + colour + "m" + text + "\033[0m" : text;
}

/// An old value does not stand there as if it were new.
std::string clsWatchView::number(double now_s) const
{
    if (!m_newest) {
        return std::string(modFunctions::GetText(TextId::RecorderAwaitsValue, m_style.language));
    }
    const double silence_s = now_s - m_newest_s;
    if (silence_s < kSilence_s) {
        return text(*m_newest);
    }
    const std::string seconds = std::to_string(static_cast<std::int64_t>(silence_s));
    return modFunctions::Filled(modFunctions::GetText(TextId::RecorderSilence, m_style.language), {seconds});
}

std::string clsWatchView::figures(const WatchState& state) const
{
    const auto name = [&](TextId id) { return std::string(modFunctions::GetText(id, m_style.language)) + " "; };
    const AccountFigures& account = state.account;
    return name(TextId::CaptionReceivedRate) + modAccountText::Rate(state.perSecond, '.') + "  " +
           name(TextId::CaptionValidShare) + modReadingText::Share(account.valid, account.received, '.') + "  " +
           name(TextId::CaptionNoEcho) + std::to_string(account.noEcho) + "  " + name(TextId::CaptionDamaged) +
           std::to_string(account.damaged) + "  " + name(TextId::CaptionLongestGap) +
           modAccountText::Duration(account.longestGap_ms, '.');
}

std::vector<std::string> clsWatchView::Lines(const WatchState& state, const modTerminal::Size& size, double now_s)
{
    passTime(now_s);
    const std::size_t columns = std::min(size.columns, kMostSlots);
    const auto cut = [columns](const std::string& line) { return std::string(modTerminal::Cut(line, columns)); };
    std::vector<std::string> lines{painted(cut("  " + number(now_s)), kBold)};

    std::vector<std::optional<double>> shown(
        m_slots.end() - static_cast<std::ptrdiff_t>(std::min(columns, m_slots.size())), m_slots.end());
    if (const auto range = modSparkline::RangeOf(shown)) {
        const std::string low = length(range->lowest) + ' ', high = std::string(1, ' ') + length(range->highest);
        const bool isDistance = KindOf(*m_newest) == MeasurementKind::Distance;
        const std::size_t ends = low.size() + high.size();
        if (isDistance && columns > ends) {
            lines.push_back(low + modSparkline::Bar(m_newest->value_mm, *range, columns - ends, m_style.isAscii) +
                            high);
        } else {
            lines.push_back(cut(low + "…" + high));
        }
        lines.push_back(modSparkline::Of(shown, m_style.isAscii));
    }
    lines.push_back(cut(figures(state)));
    const std::string connection(modFunctions::GetText(stateText(state.dialogue), m_style.language));
    std::string rest;
    for (const std::string& part : {state.temperature, state.sensor, state.port}) {
        rest += part.empty() ? "" : "  " + part;
    }
    const std::string whole = cut(Printable(connection + rest));
    const std::size_t word = std::min(connection.size(), whole.size());
    lines.push_back(painted(whole.substr(0, word), stateColour(state.dialogue)) + whole.substr(word));
    lines.resize(std::min(lines.size(), std::max<std::size_t>(size.rows, 1)));
    return lines;
}

std::string clsWatchView::Line(const WatchState& state, double now_s) const
{
    return number(now_s) + "  " + figures(state);
}
