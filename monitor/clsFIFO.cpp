#include "monitor/clsFIFO.h"

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

void clsFIFO::Add(double value)
{
    m_slots.at(static_cast<std::size_t>(m_writePosition)) = value;
    if (m_count < Size()) {
        ++m_count;
    }
    m_writePosition = m_writePosition + 1 == Size() ? 0 : m_writePosition + 1;
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
