#include "plot/modCurveLines.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <span>

namespace modCurveLines {

namespace {

using Line = std::vector<PlotPlace>;

constexpr double kStraight = 1e-4;  // pixels that a place may lie beside a straight line
constexpr double kFarOutside = 1e7; // rows

/// Leaves out places on straight pieces.
void append(Line& line, const PlotPlace& place)
{
    if (line.size() > 1) {
        const PlotPlace from = line[line.size() - 2];
        const PlotPlace middle = line.back();
        const double columns = place.column - from.column, rows = place.row - from.row;
        const double area = columns * (middle.row - from.row) - rows * (middle.column - from.column);
        const bool isBetween = (middle.row - from.row) * (place.row - middle.row) >= 0.0;
        if (isBetween && std::fabs(area) <= kStraight * std::hypot(columns, rows)) {
            line.pop_back();
        }
    }
    line.push_back(place);
}

/// Where the curve goes from one column to the next, if the two tell: they share the value at their border.
std::optional<double> valueBetween(const ColumnSpan& left, const ColumnSpan& right)
{
    if (left.high == right.low) {
        return left.high;
    }
    return left.low == right.high ? std::optional(left.low) : std::nullopt;
}

/// The values in the midst of a column, in the order in which the curve takes them.
std::vector<double> valuesWithin(const ColumnSpan& span, const std::optional<double>& entry,
                                 const std::optional<double>& exit, double before)
{
    std::vector<double> values;
    for (const double value : {span.low, span.high}) {
        if (entry != value && exit != value && (values.empty() || values.front() != value)) {
            values.push_back(value);
        }
    }
    if (values.size() > 1 && std::fabs(before - span.high) < std::fabs(before - span.low)) {
        std::swap(values[0], values[1]);
    }
    if (values.empty() && !(entry && exit)) {
        values.push_back(entry == span.low ? span.high : span.low); // an end of the run
    }
    return values;
}

Line lineOf(std::span<const ColumnSpan> run, std::int32_t first, const RowScale& scale)
{
    Line line;
    const auto add = [&](double fine, double value) {
        const double row = scale.offset + value * scale.rowsPerUnit;
        append(line, {fine / clsCurvePainter::kFineColumns, std::clamp(row, -kFarOutside, kFarOutside)});
    };
    double before = run.front().low;
    for (std::size_t i = 0; i < run.size(); ++i) {
        const auto entry = i > 0 ? valueBetween(run[i - 1], run[i]) : std::nullopt;
        const auto exit = i + 1 < run.size() ? valueBetween(run[i], run[i + 1]) : std::nullopt;
        const double column = run[i].column - first;
        if (entry) {
            add(column, *entry);
            before = *entry;
        }
        for (const double value : valuesWithin(run[i], entry, exit, before)) {
            add(column + 0.5, value);
            before = value;
        }
    }
    return line;
}

/// Cuts a line at the rows 0 and `height`.
void cutInto(std::vector<Line>& lines, const Line& line, double height)
{
    Line piece;
    const auto end = [&] {
        if (!piece.empty()) {
            lines.push_back(std::move(piece));
        }
        piece.clear();
    };
    const auto isInside = [&](const PlotPlace& place) { return place.row >= 0.0 && place.row <= height; };
    for (std::size_t i = 0; i < line.size(); ++i) {
        const PlotPlace& place = line[i];
        if (i > 0 && !(isInside(line[i - 1]) && isInside(place))) {
            const PlotPlace& from = line[i - 1];
            const double top = std::clamp(from.row, 0.0, height), bottom = std::clamp(place.row, 0.0, height);
            const auto columnAt = [&](double row) {
                return from.column + (row - from.row) / (place.row - from.row) * (place.column - from.column);
            };
            if (top != bottom) {
                if (!isInside(from)) {
                    piece.push_back({columnAt(top), top});
                }
                if (!isInside(place)) {
                    piece.push_back({columnAt(bottom), bottom});
                }
            }
            if (!isInside(place)) {
                end();
            }
        }
        if (isInside(place)) {
            piece.push_back(place);
        }
    }
    end();
}

} // namespace

std::vector<Line> LinesOf(const clsCurveColumns& columns, const RowScale& scale, std::int32_t height)
{
    std::vector<Line> lines;
    const std::span<const ColumnSpan> all = columns.Spans();
    for (std::size_t begin = 0, end = 0; begin < all.size(); begin = end) {
        for (end = begin + 1; end < all.size() && !all[end].beginsRun;) {
            ++end;
        }
        cutInto(lines, lineOf(all.subspan(begin, end - begin), columns.FirstColumn(), scale), height);
    }
    return lines;
}

} // namespace modCurveLines
