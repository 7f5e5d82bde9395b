// Reads the lines of a measurement fast that are like the line before: as long, with as many decimals and the same
// unit. Any other line, and any doubt, is left to `modReplySteps::ReadDistanceLine`.
#pragma once

#include "sensor/modReplySteps.h"

#include <cstddef>
#include <string>
#include <string_view>

class clsLineForm {
public:
    struct Number {
        double value = 0.0;     ///< never 0
        std::size_t blanks = 0; ///< before the number
        bool hasValue = false;  ///< false: the line is of another form
    };

    /// From now on lines are compared with this one, which has the form of a distance. It is given without its line
    /// end.
    void Learn(std::string_view line, const modReplySteps::DistanceLine& read);
    /// With the line end; 0: no line has been learned.
    std::size_t Size() const { return m_size; }
    /// Reads the line at `line`, which must have `Size` bytes.
    Number Read(const char* line) const;

private:
    std::string m_tail;         // what follows the digits, with the line end
    std::size_t m_size = 0;     // 0: unknown
    std::size_t m_whole = 0;    // bytes up to the point
    std::size_t m_decimals = 0; // bytes behind it
    bool m_hasPoint = false;
    double m_divisor = 1.0;
};
