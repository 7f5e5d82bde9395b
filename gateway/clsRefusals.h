// Which refused commands become events. Everybody who may send commands can make as many of them as they like, and
// events are kept on disk, where they push others out.
#pragma once

#include "gateway/GatewayMessages.h"

#include <cstdint>
#include <optional>

class clsRefusals {
public:
    using Details = decltype(GatewayEvent::details);

    static constexpr int kMost = 20; ///< events
    static constexpr double kWithin_s = 3600.0;

    /// The details of the event; nothing when there is to be none: there have been enough, or it was for a sensor that
    /// does not exist. The next one counts those that were left out.
    std::optional<Details> Take(const CommandAnswer& answer, double now_s);

private:
    double m_begin_s = -1e9;
    int m_told = 0;
    std::int64_t m_leftOut = 0;
};
