// rvqctl: measures with a sensor and reads and changes its settings, without a window.
#include "base/StandardFiles.h"
#include "cli/modCommands.h"

#include <string_view>
#include <vector>

int main(int argc, char** argv)
{
    KeepStandardFiles();
    const std::vector<std::string_view> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    return modCommands::Run(words);
}
