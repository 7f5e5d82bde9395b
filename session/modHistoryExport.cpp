#include "session/modHistoryExport.h"

#include <algorithm>
#include <cstdint>
#include <string>

namespace modHistoryExport {

modCsvExport::Exported ExportCsv(const clsHistory& history, const PlaceRange& range, const modCsvExport::Format& format,
                                 std::string_view header, const modCsvExport::Target& target)
{
    constexpr std::int64_t kPiece = 4096; // samples
    modCsvExport::Exported exported;
    std::string table = modCsvExport::HeaderRow(header, format);
    // By their numbers since the beginning: an index changes when the oldest samples go.
    const std::int64_t begin = history.Forgotten() + static_cast<std::int64_t>(history.IndexAt(range.begin));
    const std::int64_t end = begin + static_cast<std::int64_t>(history.CountIn(range));
    for (std::int64_t number = begin; number < end; ++number) {
        if (number < history.Forgotten()) {
            ++exported.unreadable;
            continue;
        }
        const HistoryEntry entry = history.At(static_cast<std::size_t>(number - history.Forgotten()));
        if (!entry.gap && entry.isKnown) {
            modCsvExport::AppendRow(table, {entry.time, entry.kind, entry.value_mm}, format);
            ++exported.rows;
        } else if (!entry.gap) {
            ++exported.unreadable;
        }
        if ((number - begin) % kPiece == kPiece - 1) {
            const double share =
                static_cast<double>(number - begin) / static_cast<double>(std::max<std::int64_t>(end - begin, 1));
            if (!target.write(table) || !target.goOn(share)) {
                return exported;
            }
            table.clear();
        }
    }
    exported.finished = target.write(table);
    return exported;
}

} // namespace modHistoryExport
