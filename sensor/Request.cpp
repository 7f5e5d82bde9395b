#include "sensor/Request.h"

#include "base/Numbers.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::int32_t kDumpBits = 5000000; // divided by the rate: milliseconds that a dump may take
constexpr std::int32_t kStopBits = 170000;  // divided by the rate: milliseconds of pause after a stop
constexpr std::int32_t kLongAnswer_ms = 3000;

constexpr bool areRowsInOrder()
{
    for (std::size_t i = 0; i < std::size(kRequests); ++i) {
        if (kRequests[i].request != static_cast<Request>(i)) {
            return false;
        }
    }
    return std::size(kRequests) == static_cast<std::size_t>(Request::ByHand) + 1;
}
static_assert(areRowsInOrder());

std::int32_t millisecondsAtRate(std::int32_t bits, std::int32_t rate)
{
    return RoundHalfToEven(static_cast<double>(bits) / rate).value_or(0);
}

} // namespace

Request RequestOf(std::string_view command)
{
    const auto* row = std::ranges::find(kRequests, command, &RequestDef::text);
    return row == std::end(kRequests) ? Request::Parameter : row->request;
}

std::int32_t AnswerTime_ms(std::string_view command, std::int32_t rate)
{
    const Request request = RequestOf(command);
    if (request == Request::Configuration) {
        return millisecondsAtRate(kDumpBits, rate);
    }
    // Deliberate: searched anywhere in the frame, so "701 1000" gets the long time too, like storing and defaults.
    const bool isLong = command.find("000") != std::string_view::npos || command.find("999") != std::string_view::npos;
    return isLong ? kLongAnswer_ms : RowOf(request).answer_ms;
}

std::int32_t StopPause_ms(std::int32_t rate)
{
    return millisecondsAtRate(kStopBits, rate);
}
