#include "plot/clsFIFO.h"

#include <algorithm>
#include <stdexcept>

double clsFIFO::Value(std::int32_t i) const
{
    std::int64_t position = std::int64_t{m_writePosition} - 1 - i;
    if (position < 0) {
        position += Size();
    }
    if (position < 0 || position >= Size()) {
        throw std::out_of_range("clsFIFO::Value");
    }
    return m_slots[static_cast<std::size_t>(position)];
}

void clsFIFO::Reset()
{
    m_writePosition = 0;
    m_count = 0;
    std::ranges::fill(m_slots, 0.0);
}

void clsFIFO::Resize(std::int32_t n)
{
    if (n < 1) {
        throw std::invalid_argument("clsFIFO::Resize");
    }
    m_slots.resize(static_cast<std::size_t>(n));
}
