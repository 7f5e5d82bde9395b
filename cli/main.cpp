// rvqctl: measures with a sensor and reads and changes its settings, without a window.
#include "cli/modCommands.h"

#include <fcntl.h>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace {

/// A closed standard file would be the next one that is opened: messages would go to the sensor. Those that stand in
/// for it cannot be written, so that output that goes nowhere is noticed.
void keepStandardFiles()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0) {
            [[maybe_unused]] const int standIn = open("/dev/null", O_RDONLY);
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    keepStandardFiles();
    const std::vector<std::string_view> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    return modCommands::Run(words);
}
