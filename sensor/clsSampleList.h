// What the bytes of an evaluation have turned out to be: every measurement, in the order of the line, with the time of
// its last byte. The decoders add, the dialogue passes the list on.
#pragma once

#include "sensor/Measurement.h"
#include "sensor/clsArrivals.h"
#include "sensor/clsTraffic.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

class clsSampleList {
public:
    /// The bytes that are looked at next. Every `end` below is an index into them: that behind the last byte.
    struct Source {
        std::int64_t position = 0; ///< behind which they begin
        double byteTime = 0.0, now = 0.0;
        std::int32_t unit = 0, format = 0;
    };

    explicit clsSampleList(clsArrivals& arrivals) : m_arrivals(arrivals) {}

    std::span<const Measurement> All() const { return std::span(m_list).first(m_size); }
    std::size_t Size() const { return m_size; }

    /// Another evaluation begins, with what was deferred.
    void Renew();
    /// What is in the list has been taken. What was deferred stays so.
    void Clear() { m_size = 0; }
    /// Samples so far, with those that are deferred.
    std::size_t Total() const { return m_size + m_deferred.size(); }
    /// Drops the distances from this sample on, but not what stands for a missing one. Returns how many there were.
    std::int64_t DropDistances(std::size_t first);
    /// Keeps the samples from this one on for the next evaluation.
    void Defer(std::size_t first);
    /// A command ends what was deferred.
    void ForgetDeferred() { m_deferred.clear(); }

    void LookAt(const Source& source);
    /// When the byte in front of `end` arrived. Ask in the order of the bytes.
    double TimeOf(std::size_t end);
    void Add(const Measurement& sample);
    void Add(double value, std::int32_t value_mm, std::size_t end);
    /// The measurement of a number in `unit`, or in that of the source. Empty for a number beyond 32 bits of
    /// millimetres: it is noise.
    std::optional<Measurement> MeasurementOf(double value, std::optional<std::int32_t> unit, double time) const;
    void AddTempError(std::size_t end);
    void Insert(std::size_t at, const Measurement& sample);
    /// Adds the numbers of two text lines of `size` bytes that begin at `at`. Returns how many of them were no noise.
    std::int32_t AddLines(double first, double second, std::optional<std::int32_t> unit, std::size_t at,
                          std::size_t size);
    /// Adds consecutive binary frames that begin at `at`, each with `size` bytes, of which the first four count.
    void AddFrames(std::string_view bytes, std::size_t at, std::size_t count, std::size_t size);

    /// What is found is told to the traffic, too; null ends that.
    void Watch(clsTraffic* traffic) { m_traffic = traffic; }
    std::int64_t PositionOf(std::size_t end) const { return m_source.position + static_cast<std::int64_t>(end); }
    /// The line that ends at this position is a measurement, or something else.
    void Tell(std::int64_t position, const Measurement& sample) const
    {
        if (m_traffic != nullptr) {
            m_traffic->Replies(position, 0, {&sample, 1});
        }
    }
    void Tell(std::int64_t position, TrafficKind kind) const
    {
        if (m_traffic != nullptr) {
            m_traffic->LineMeans(position, kind);
        }
    }

private:
    Measurement* grow(std::size_t count);
    void findStretch(std::int64_t position);

    clsArrivals& m_arrivals;
    std::vector<Measurement> m_list; // never shrinks: the first `m_size` count
    std::size_t m_size = 0;
    std::vector<Measurement> m_deferred;
    Source m_source;
    double m_millimetres = 1000.0; // in the unit of the source
    clsArrivals::Stretch m_stretch;
    clsTraffic* m_traffic = nullptr;
};
