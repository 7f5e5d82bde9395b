// Identifies a file, whatever name or link leads to it.
#pragma once

#include <filesystem>
#include <optional>
#include <sys/stat.h>

struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;

    bool operator==(const FileIdentity&) const = default;

    /// The file that a name leads to, through links; empty when there is no such file.
    static std::optional<FileIdentity> Of(const std::filesystem::path& file)
    {
        struct stat info {};
        return stat(file.c_str(), &info) == 0 ? std::optional(FileIdentity{info.st_dev, info.st_ino}) : std::nullopt;
    }
    /// The file that is open under a descriptor.
    static std::optional<FileIdentity> Of(int descriptor)
    {
        struct stat info {};
        return fstat(descriptor, &info) == 0 ? std::optional(FileIdentity{info.st_dev, info.st_ino}) : std::nullopt;
    }
};
