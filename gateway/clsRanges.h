// A set of whole numbers, kept as few ranges: which lines of a recording were sent, or acknowledged.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class clsRanges {
public:
    struct Range {
        std::int64_t first = 0, last = 0; ///< both belong to it
        bool operator==(const Range&) const = default;
    };

    /// Adds or takes away all numbers from `first` to `last`; none when `last` is less.
    void Add(std::int64_t first, std::int64_t last);
    void Remove(std::int64_t first, std::int64_t last);
    void Clear() { m_ranges.clear(); }
    /// Takes the shortest range away and returns it. Must not be empty.
    Range TakeShortest();

    bool Contains(std::int64_t number) const { return FirstGap(number) != number; }
    /// The first number from this one on that is not in the set.
    std::int64_t FirstGap(std::int64_t from) const;
    /// How many numbers are in it, or of those from `first` to `last`.
    std::int64_t Count() const;
    std::int64_t Count(std::int64_t first, std::int64_t last) const;
    /// In ascending order, none next to another.
    const std::vector<Range>& All() const { return m_ranges; }

private:
    std::vector<Range> m_ranges;
};
