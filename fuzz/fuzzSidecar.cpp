// Reads any bytes as the sidecar of a recording. What can be read comes back when it is written and read again, and the
// gaps of a recording are found whatever it lists.
#include "fuzz/FuzzFolder.h"
#include "fuzz/FuzzInput.h"
#include "session/clsPlayedGaps.h"
#include "store/modSidecar.h"

#include <cmath>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const FuzzFolder folder;
    std::error_code why;
    const auto info = modSidecar::Read(folder.Put("x.json", FuzzInput(data, size).Rest()), why);
    Require(info.has_value() == !why);
    if (!info) {
        return 0;
    }
    // Once written, times have whole milliseconds and one offset, and numbers of lists stand for texts.
    const std::string file = folder.Path("y.json");
    Require(!modSidecar::Write(file, *info));
    const auto once = modSidecar::Read(file, why);
    Require(once && !modSidecar::Write(file, *once));
    Require(modSidecar::Read(file, why) == once);
    Require(once->gaps.size() == info->gaps.size() && once->sensor == info->sensor);

    clsPlayedGaps gaps(&*info);
    Require(!gaps.LiesBefore(info->start, false));
    for (const Gap& gap : info->gaps) {
        Require(std::isfinite(gap.from) && std::isfinite(gap.to));
        gaps.LiesBefore(gap.from, false);
        const bool isLong = gap.to - gap.from > 1.0 / 86400.0;
        Require(gaps.LiesBefore(gap.to, false) || !isLong);
    }
    modSidecar::Belongs(*info, info->start);
    return 0;
}
