// Notes of the operator on a time axis: where they are, and what they say. Bounded, and in the order of their places.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class clsMarks {
public:
    struct Mark {
        double place = 0.0; ///< on the time axis of a history
        std::string text;   ///< UTF-8, one line
        bool operator==(const Mark&) const = default;
    };
    static constexpr std::size_t kMost = 10000;
    static constexpr std::size_t kLongestText = 200; ///< characters

    /// What a text is as the text of a mark: one line without control characters, shortened to `kLongestText`. What is
    /// not UTF-8 is replaced.
    static std::string TextOf(std::string_view typed);

    /// Adds a mark behind those of the same place, and returns its index; none when there are too many, or the place is
    /// not a number.
    std::optional<std::size_t> Add(double place, std::string_view text);
    /// Gives a mark another text. Throws std::out_of_range when there is no such mark, as does `Remove`.
    void Change(std::size_t mark, std::string_view text) { m_marks.at(mark).text = TextOf(text); }
    void Remove(std::size_t mark);

    std::span<const Mark> All() const { return m_marks; }
    /// Throws std::out_of_range when there is no such mark.
    const Mark& At(std::size_t mark) const { return m_marks.at(mark); }

private:
    std::vector<Mark> m_marks;
};
