// Compares the text lines of a measurement with the lines before them. A lost, doubled or foreign byte leaves a line
// that still reads as a number, but a different one. Its shape gives it away: the digits after the point, the unit and,
// where the sensor pads its lines, their length.
#pragma once

#include "sensor/clsLineForm.h"
#include "sensor/clsSampleList.h"
#include "sensor/modReplySteps.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class clsLineRun {
public:
    struct Line {
        std::string text;   ///< trimmed, or "No Echo", "TempError"
        double value = 0.0; ///< in the sensor's unit; 0 for the two markers
    };
    struct Found {
        std::size_t consumed = 0;
        std::optional<Line> held; ///< held back by the look before, and confirmed since
        std::optional<Line> newest;
        std::int32_t damaged = 0;     ///< lines that were given up
        bool isNewShape = false;      ///< the lines now have another number of decimals or another unit
        std::size_t newShapeAt = 0;   ///< the first such sample
        std::int64_t newShapeEnd = 0; ///< the position behind its line
    };
    /// Whether a line is known to be something other than a distance.
    using Foreign = std::function<bool(std::string_view line)>;

    /// The newest distance among the complete lines. Lines are taken in pairs, and the second line of a pair is the
    /// value; a single line counts only if it has at least 12 characters and no pair was found. A line of another shape
    /// than those before waits for the next line and counts if that has the new shape too. Where lines are not padded,
    /// a line that differs only in length and lies away from the one before also waits; it counts if the next one lies
    /// near. `now` is the time in days.
    /// All lines that pass become samples, whether they are the value or not: the first line of a pair, a short single
    /// line that is like the one before, and a line of 0, which is a missing echo. A line that waits becomes one when
    /// it is confirmed. All others count as damaged, except the first one of all, which may be a part of a line, and
    /// what is known to be no distance.
    Found Take(std::string_view bytes, double now, const Foreign& isForeign, clsSampleList& samples);
    /// The samples of all complete lines, for bytes that hold a temperature error and are dropped afterwards.
    Found TakeSamples(std::string_view bytes, double now, const Foreign& isForeign, clsSampleList& samples);

    /// The lines begin anew after a command, which ends those that wait. A held line is no longer reported, but the
    /// next line may still confirm its shape; otherwise a sensor that is asked for single values could never change its
    /// format.
    void Restart()
    {
        if (m_held) {
            m_held->isStale = true;
        }
        m_waiting.clear();
        m_isFirst = true;
    }
    /// The bytes of a line with its end: as in the last one, or as a sensor pads them.
    std::size_t UsualSize() const;
    /// The clock was set by this many days.
    void ShiftClock(double days) { m_lastTime += days; }
    /// Another sensor, unit or format: lines may have any shape.
    void Forget() { *this = {}; }

private:
    struct Shape {
        std::int32_t decimals = 0;
        std::string unit;
        std::optional<std::int32_t> unitIndex;
        std::size_t length = 0;
        bool isPadded = false;
        bool hasBlank = false; ///< before the number
        bool hasZeros = false;
    };
    struct Seen {
        Line line;
        Shape shape;
        double time = 0.0;         ///< when its last byte arrived
        std::int64_t position = 0; ///< behind it
        bool isOtherShape = false; ///< not only in its length
        bool isOfThisLook = true;
        bool isStale = false;      ///< a command has been sent since
        bool isGivenUp = false;    ///< no longer a sample, and counted
        std::int32_t repeated = 1; ///< consecutive lines of this shape
    };
    /// A line that is never the value but may become a sample: the next one tells.
    struct Waiting {
        double value = 0.0;
        Shape shape;
        double time = 0.0;
        bool isFirst = false; ///< perhaps a part of a line
        std::int64_t position = 0;
        bool IsLike(double next) const;
    };
    enum class Verdict : std::uint8_t { None, Counts, Held, Damaged };

    /// What a look works with.
    struct Look {
        std::string_view bytes;
        double now = 0.0;
        const Foreign& isForeign;
        clsSampleList& samples;
        Found found{};
    };

    std::int32_t repliesIn(std::size_t line) const;
    bool takeAlike(Look& look, bool hadRun);
    Verdict lookAtPair(std::size_t first, std::size_t second, bool hadRun, Look& look);
    /// A line that was looked at: without its end, when it has come, and the position behind it.
    struct Passed {
        std::string_view bytes;
        double time = 0.0;
        std::int64_t position = 0;
    };
    void noteFirst(const Passed& line, std::size_t at, Look& look);
    bool takeFirst(const Passed& line, std::size_t at, Look& look);
    void wait(Waiting line, Look& look);
    Verdict lookAt(std::size_t start, std::size_t lineEnd, Look& look);
    bool takeMarker(std::string_view bytes, std::size_t end, Look& look);
    void takeZero(std::string_view text, Shape shape, std::size_t end, bool isFirst, Look& look);
    bool settle(const Shape& shape, double value, Look& look);
    bool holdsSample() const { return m_held && !m_held->isStale && !m_held->isGivenUp; }
    Verdict judge(Seen seen, Look& look);
    Verdict count(Seen seen, Look& look);
    static void addSample(const Seen& seen, Look& look);
    void releaseHeld(Look& look);
    void dropHeld(Look& look);
    void noteShort(std::size_t start, std::size_t lineEnd, Look& look);
    static Shape shapeOf(const modReplySteps::DistanceLine& line, std::string_view bytes);
    bool isAlike(const Shape& run, const Shape& shape) const;
    bool confirms(const Seen& seen, const Seen& held) const;
    bool isOutlier(const Seen& seen, double now) const;

    bool m_hasRun = false;
    Shape m_shape;
    clsLineForm m_form; ///< of the last line that counted
    bool m_variesInLength = false;
    double m_lastValue = 0.0;
    double m_lastTime = 0.0; ///< days
    std::optional<Seen> m_held;
    std::optional<Shape> m_short;   ///< of the last line, while no run has begun
    std::vector<Waiting> m_waiting; ///< behind the held line, or for one more of their shape
    std::optional<Shape> m_zeros;   ///< lines of 0 that are not of the run, but alike
    bool m_isFirst = true;          ///< no line has come since the last command
};
