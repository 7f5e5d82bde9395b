// Reading a fault's name and its rate or code.
#include "simulator/Faults.h"

#include "simulator/Parameters.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace simulator {

namespace {

std::string parseCode(const CodeFaultRow& row, std::string_view code, Faults& faults)
{
    if (!FindParameter(code) && code != "999" && code != "000") {
        return std::string(row.name) + " takes the code of a parameter, not \"" + std::string(code) + "\"";
    }
    faults.*(row.code) = code;
    return {};
}

} // namespace

bool Happens(double rate, std::mt19937_64& random)
{
    return rate > 0 && std::uniform_real_distribution<double>(0, 1)(random) < rate;
}

std::string ParseFault(std::string_view text, Faults& faults)
{
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos) {
        return "a fault is given as NAME=RATE or NAME=CODE, not \"" + std::string(text) + "\"";
    }
    const std::string_view name = text.substr(0, equals);
    const auto codeRow = std::ranges::find(kCodeFaultRows, name, &CodeFaultRow::name);
    if (codeRow != std::end(kCodeFaultRows)) {
        return parseCode(*codeRow, text.substr(equals + 1), faults);
    }
    const auto row = std::ranges::find(kFaultRows, name, &FaultRow::name);
    if (row == std::end(kFaultRows)) {
        return "no fault is named \"" + std::string(name) + "\"";
    }
    const std::string_view number = text.substr(equals + 1);
    double rate = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), rate);
    const bool isWhole = error == std::errc{} && end == number.data() + number.size();
    if (!isWhole || !(rate >= 0 && rate <= 1)) { // the second test also rejects "nan"
        return "the rate of " + std::string(name) + " is a number from 0 to 1, not \"" + std::string(number) + "\"";
    }
    faults.*(row->rate) = rate;
    return {};
}

} // namespace simulator
