// A file that says what the sensor has sent, and when, to compare with what a program has received.
#pragma once

#include "simulator/clsSensorModel.h"

#include <fstream>
#include <string>
#include <string_view>

namespace simulator {

class clsValueLog {
public:
    /// Begins the file anew with a line that names the columns: number, local time, microseconds beyond its
    /// milliseconds, value, fault. Throws std::runtime_error when it cannot be written.
    explicit clsValueLog(const std::string& path);

    /// The last byte of the value is on the line now. The fault is "damaged", "unheard" when nobody took it all from
    /// the line, or empty.
    void Sent(const SentValue& value, bool isHeard);
    /// Commands have arrived; they stand in the column of the value, without a number.
    void Received(std::string_view bytes);

private:
    void writeLine(const std::string& number, const std::string& what, std::string_view fault);

    std::ofstream m_file;
};

} // namespace simulator
