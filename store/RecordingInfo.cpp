#include "store/RecordingInfo.h"

#include "base/Days.h"

#include <algorithm>
#include <cmath>

void Apply(const MarkChange& change, std::vector<RecordingMark>& marks)
{
    const auto isBefore = [&](const RecordingMark& mark) {
        constexpr double kMillisecond = 1.0 / kMsPerDay; // a file has no finer times
        return change.before && mark.text == change.before->text &&
               std::abs(mark.time - change.before->time) < kMillisecond &&
               mark.isSecondTime == change.before->isSecondTime;
    };
    auto found = std::ranges::find_if(marks, isBefore);
    if (found != marks.end()) {
        found = marks.erase(found);
    }
    if (change.after) {
        marks.insert(found, *change.after);
    }
}
