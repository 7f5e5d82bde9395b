// A folder of the test's own, deleted at its end.
#pragma once

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <stdlib.h>
#include <string>

struct TemporaryFolder {
    std::filesystem::path path;

    TemporaryFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "orvex-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        path = name;
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path Write(const char* name, const std::string& bytes) const
    {
        std::ofstream(path / name, std::ios::binary) << bytes;
        return path / name;
    }
    static std::string Read(const std::filesystem::path& file)
    {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
};
