// A recording of line traffic that somebody else has written, played to a program that asks what it has asked there and
// other things. Whatever the file holds, it is either refused with a reason or played to its end.
#include "fuzz/FuzzInput.h"
#include "simulator/clsReplay.h"

#include <cmath>
#include <sstream>
#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string file(FuzzInput(data, size).Rest());
    std::istringstream recording(file);
    try {
        simulator::clsReplay replay(recording);
        replay.Start(0.0);
        double now_s = 1.0;
        for (const char byte : file) { // many of them are no request
            replay.Receive({&byte, 1}, now_s += 0.5);
            replay.TakeDue(now_s);
        }
        const double due_s = replay.NextDue();
        Require(!std::isnan(due_s));
        replay.TakeDue(std::isinf(due_s) ? now_s : due_s + 1e12);
        Require(std::isinf(replay.NextDue()));
    } catch (const std::runtime_error& wrong) {
        Require(!std::string_view(wrong.what()).empty());
    }
    return 0;
}
