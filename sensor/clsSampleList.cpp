#include "sensor/clsSampleList.h"

#include "base/Numbers.h"
#include "sensor/Parameters.h"
#include "sensor/modReplySteps.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr std::int64_t kTempErrSize = 8; // "TempErr!"

/// As `RoundHalfToEven`, and faster where nothing is to be decided.
std::optional<std::int32_t> rounded(double value)
{
    if (std::abs(value) < std::numeric_limits<std::int32_t>::max()) {
        const auto whole = static_cast<std::int32_t>(value);
        const double rest = value - whole;
        if (std::abs(rest) < 0.5) {
            return whole;
        }
    }
    return RoundHalfToEven(value);
}

} // namespace

void clsSampleList::Renew()
{
    m_size = 0;
    for (const Measurement& sample : m_deferred) {
        Add(sample);
    }
    m_deferred.clear();
}

void clsSampleList::Defer(std::size_t first)
{
    const std::span<const Measurement> samples = All().subspan(first);
    m_deferred.insert(m_deferred.end(), samples.begin(), samples.end());
    m_size = first;
}

std::int64_t clsSampleList::DropDistances(std::size_t first)
{
    const auto all = std::span(m_list).first(m_size).subspan(first);
    const auto isDistance = [](const Measurement& sample) { return KindOf(sample) == MeasurementKind::Distance; };
    const auto dropped = all.end() - std::remove_if(all.begin(), all.end(), isDistance);
    m_size -= static_cast<std::size_t>(dropped);
    return dropped;
}

void clsSampleList::LookAt(const Source& source)
{
    m_source = source;
    m_millimetres = UnitOf(source.unit).millimetres;
    m_stretch = {};
}

void clsSampleList::findStretch(std::int64_t position)
{
    if (!m_stretch.Holds(position)) {
        m_stretch = m_arrivals.StretchOf(position, m_source.now);
    }
}

double clsSampleList::TimeOf(std::size_t end)
{
    const std::int64_t position = m_source.position + static_cast<std::int64_t>(end);
    findStretch(position);
    return m_arrivals.Tell(m_stretch.TimeOf(position, m_source.byteTime));
}

Measurement* clsSampleList::grow(std::size_t count)
{
    if (m_list.size() < m_size + count) {
        if (m_list.capacity() < m_size + count) {
            m_list.reserve(std::max(m_size + count, 2 * m_list.size()));
        }
        m_list.resize(m_size + count);
    }
    Measurement* first = m_list.data() + m_size;
    m_size += count;
    return first;
}

void clsSampleList::Add(const Measurement& sample)
{
    *grow(1) = sample;
}

void clsSampleList::Add(double value, std::int32_t value_mm, std::size_t end)
{
    Add({value, value_mm, m_source.unit, m_source.format, TimeOf(end)});
    Tell(PositionOf(end), m_list[m_size - 1]);
}

std::optional<Measurement> clsSampleList::MeasurementOf(double value, std::optional<std::int32_t> unit,
                                                        double time) const
{
    const double millimetres = unit ? UnitOf(*unit).millimetres : m_millimetres;
    const std::optional<std::int32_t> value_mm = rounded(value * millimetres);
    if (!value_mm) {
        return std::nullopt;
    }
    return Measurement{value, *value_mm, unit.value_or(m_source.unit), m_source.format, time};
}

void clsSampleList::AddTempError(std::size_t end)
{
    if (m_traffic != nullptr && IsBinary(m_source.format)) {
        const std::int64_t position = PositionOf(end);
        m_traffic->Means(position - kTempErrSize, position, TrafficKind::TempError);
        Add({kTempErrValue, kMarkerTempError, m_source.unit, m_source.format, TimeOf(end)});
        return;
    }
    Add(kTempErrValue, kMarkerTempError, end);
}

void clsSampleList::Insert(std::size_t at, const Measurement& sample)
{
    grow(1);
    std::copy_backward(m_list.data() + at, m_list.data() + m_size - 1, m_list.data() + m_size);
    m_list[at] = sample;
}

std::int32_t clsSampleList::AddLines(double first, double second, std::optional<std::int32_t> unit, std::size_t at,
                                     std::size_t size)
{
    std::int32_t added = 0;
    for (const double value : {first, second}) {
        at += size;
        if (const auto sample = MeasurementOf(value, unit, TimeOf(at))) {
            Add(*sample);
            ++added;
            if (m_traffic != nullptr) {
                m_traffic->Replies(PositionOf(at - size), size, {&*sample, 1});
            }
        } else {
            Tell(PositionOf(at), TrafficKind::Damaged);
        }
    }
    return added;
}

void clsSampleList::AddFrames(std::string_view bytes, std::size_t at, std::size_t count, std::size_t size)
{
    const std::size_t before = m_size;
    const std::int64_t begin = PositionOf(at);
    const auto step = static_cast<std::int64_t>(size);
    std::int64_t position = m_source.position + static_cast<std::int64_t>(at + size);
    while (count > 0) {
        findStretch(position);
        const std::int64_t inStretch = std::max<std::int64_t>((m_stretch.end - position) / step + 1, 1);
        const std::size_t several = std::min(count, static_cast<std::size_t>(inStretch));
        // Copies, because the compiler cannot know that the samples do not lie in them.
        const clsArrivals::Stretch stretch = m_stretch;
        const Source source = m_source;
        const double millimetres = m_millimetres;
        Measurement* sample = grow(several);
        for (const Measurement* last = sample + several; sample != last; ++sample, at += size, position += step) {
            const std::int32_t value_mm = modReplySteps::DecodeFrame(modReplySteps::FrameWord(bytes, at));
            sample->value = value_mm / millimetres;
            sample->value_mm = value_mm;
            sample->unit = source.unit;
            sample->outputFormat = source.format;
            sample->time = stretch.TimeOf(position, source.byteTime);
        }
        m_arrivals.Tell((sample - 1)->time);
        count -= several;
    }
    if (m_traffic != nullptr) {
        m_traffic->Replies(begin, size, All().subspan(before));
    }
}
