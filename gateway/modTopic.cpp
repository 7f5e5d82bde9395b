#include "gateway/modTopic.h"

#include "base/PlainText.h"

namespace modTopic {

bool IsPart(std::string_view name)
{
    constexpr std::size_t kLongest = 64;
    constexpr std::string_view kNotFirst = "$.";
    const bool isUsual = name.find_first_of("/\\+#") == name.npos && name.size() <= kLongest;
    return isUsual && !name.empty() && kNotFirst.find(name.front()) == kNotFirst.npos &&
           PlainText(name, kLongest) == name;
}

} // namespace modTopic
