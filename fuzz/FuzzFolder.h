// A folder of its own for the files of a fuzz target, in memory where the system has such a place.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <unistd.h>

class FuzzFolder {
public:
    FuzzFolder() : m_path(place() / ("orvex-fuzz-" + std::to_string(getpid())))
    {
        std::filesystem::create_directories(m_path);
    }
    ~FuzzFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    FuzzFolder(const FuzzFolder&) = delete;
    FuzzFolder& operator=(const FuzzFolder&) = delete;

    /// Writes a file with these bytes and returns its full path.
    std::string Put(const char* name, std::string_view bytes) const
    {
        std::string file = Path(name);
        if (std::FILE* out = std::fopen(file.c_str(), "wb")) {
            if (!bytes.empty()) {
                std::fwrite(bytes.data(), 1, bytes.size(), out);
            }
            std::fclose(out);
        }
        return file;
    }
    std::string Path(const char* name) const { return (m_path / name).string(); }

private:
    static std::filesystem::path place()
    {
        constexpr char kMemory[] = "/dev/shm";
        return access(kMemory, W_OK) == 0 ? kMemory : std::filesystem::temp_directory_path();
    }

    std::filesystem::path m_path;
};
