// A file descriptor that closes itself.
#pragma once

#include <unistd.h>
#include <utility>

class FileHandle {
public:
    explicit FileHandle(int descriptor = -1) : m_descriptor(descriptor) {}
    ~FileHandle() { Close(); }
    FileHandle(FileHandle&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileHandle& operator=(FileHandle&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }

    bool IsOpen() const { return m_descriptor >= 0; }
    int Descriptor() const { return m_descriptor; }
    /// False, with errno set, when the system could not save what was written.
    bool Close() { return !IsOpen() || close(std::exchange(m_descriptor, -1)) == 0; }

private:
    int m_descriptor;
};
