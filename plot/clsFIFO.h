// A short memory of numbers: keeps the newest, forgets the oldest.
#pragma once

#include <cstdint>
#include <vector>

class clsFIFO {
public:
    /// Valid entries, 0 to `Size`.
    std::int32_t Count() const { return m_count; }
    /// The capacity; 32 after creation.
    std::int32_t Size() const { return static_cast<std::int32_t>(m_slots.size()); }

    /// The i-th newest value, 0 being the one added last. Not checked against `Count`: a slot not filled since `Reset`
    /// reads 0. Throws std::out_of_range for an index that leaves the slots.
    double Value(std::int32_t i) const;

    /// Throws std::out_of_range when a `Resize` has cut off the write position.
    void Add(double value)
    {
        m_slots.at(static_cast<std::size_t>(m_writePosition)) = value;
        m_count = m_count < Size() ? m_count + 1 : m_count;
        m_writePosition = m_writePosition + 1 == Size() ? 0 : m_writePosition + 1;
    }
    /// Empties the queue; every slot becomes 0.
    void Reset();
    /// Sets the capacity to n (1 or more, else std::invalid_argument) and keeps the slots below n.
    /// Deliberate: `Count` and the write position stay, so reset the queue when the order of its values matters.
    void Resize(std::int32_t n);

private:
    std::vector<double> m_slots = std::vector<double>(32);
    std::int32_t m_count = 0;
    std::int32_t m_writePosition = 0;
};
