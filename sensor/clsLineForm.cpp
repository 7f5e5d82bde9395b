#include "sensor/clsLineForm.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace {

constexpr std::size_t kMostDigits = 15; // a double holds such a number exactly, so one division rounds it correctly
constexpr std::string_view kNumber = "0123456789.";
constexpr std::array<double, kMostDigits + 1> kPowers{1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                      1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

/// Appends digits to a number; false where there is something else.
bool takeDigits(const char* first, const char* last, std::uint64_t& number)
{
    for (; first != last; ++first) {
        const auto digit = static_cast<std::uint32_t>(*first - '0');
        if (digit > 9) {
            return false;
        }
        number = number * 10 + digit;
    }
    return true;
}

} // namespace

void clsLineForm::Learn(std::string_view line, const modReplySteps::DistanceLine& read)
{
    const std::size_t end = line.find_last_of(kNumber) + 1;
    m_decimals = static_cast<std::size_t>(read.decimals);
    m_hasPoint = line.find('.') < end;
    m_whole = end - m_decimals - (m_hasPoint ? 1 : 0);
    m_tail = line.substr(end);
    m_tail += "\r\n";
    m_size = m_decimals <= kMostDigits ? line.size() + 2 : 0;
    m_divisor = kPowers[std::min(m_decimals, kPowers.size() - 1)];
}

clsLineForm::Number clsLineForm::Read(const char* line) const
{
    if (std::memcmp(line + m_size - m_tail.size(), m_tail.data(), m_tail.size()) != 0) {
        return {};
    }
    const char* const point = line + m_whole;
    const char* const decimals = point + (m_hasPoint ? 1 : 0);
    const char* first = line;
    while (*first == ' ') {
        ++first;
    }
    const auto blanks = static_cast<std::size_t>(first - line);
    const bool isNegative = *first == '-';
    first += isNegative ? 1 : 0;
    const bool isLong = point - first > static_cast<std::ptrdiff_t>(kMostDigits - m_decimals);
    const bool hasZeros = *first == '0' && point - first > 1;
    std::uint64_t number = 0;
    if (first >= point || isLong || hasZeros || !takeDigits(first, point, number) || (m_hasPoint && *point != '.') ||
        !takeDigits(decimals, decimals + m_decimals, number) || number == 0) {
        return {};
    }
    const double value = static_cast<double>(number) / m_divisor;
    return {isNegative ? -value : value, blanks, true};
}
