// A stretch of the history as a table, with the columns that a whole recording has.
#pragma once

#include "session/clsHistory.h"
#include "store/modCsvExport.h"

#include <string_view>

namespace modHistoryExport {

/// Writes the samples of a range, both ends included, as `modCsvExport::ExportCsv` writes those of a recording. The
/// history keeps no temperatures: their column stays empty. Samples may be added meanwhile; one that has gone, or
/// cannot be read again, counts as unreadable. The history is not touched after `goOn` has returned false.
modCsvExport::Exported ExportCsv(const clsHistory& history, const PlaceRange& range, const modCsvExport::Format& format,
                                 std::string_view header, const modCsvExport::Target& target);

} // namespace modHistoryExport
