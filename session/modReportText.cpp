#include "session/modReportText.h"

namespace modReportText {

std::string Summary(const WriteReport&, std::int32_t)
{
    return {};
}

std::vector<std::string> Lines(const WriteReport&, char, std::int32_t)
{
    return {};
}

} // namespace modReportText
