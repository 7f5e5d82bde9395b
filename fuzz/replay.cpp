// Runs a fuzz target over the files of the given folders, without libFuzzer: the seeds and the cases found, as a test.
// Of a short case it also runs every beginning.
#include "fuzz/FuzzInput.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

constexpr std::size_t kShort = 2048;

void replay(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), {}};
    std::printf("%s\n", file.filename().c_str());
    std::fflush(stdout); // so that a case is named before it can end the program
    for (std::size_t size = bytes.size() <= kShort ? 0 : bytes.size(); size <= bytes.size(); ++size) {
        const std::string piece = bytes.substr(0, size); // a copy, so that a read beyond the end is noticed
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(piece.data()), piece.size());
    }
}

} // namespace

int main(int argc, char** argv)
{
    int cases = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            replay(entry.path());
            ++cases;
        }
    }
    std::printf("%d cases\n", cases);
    return cases > 0 ? 0 : 1;
}
