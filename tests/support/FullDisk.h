// A disk that is full, for as long as the test wants it.
#pragma once

#include <csignal>
#include <sys/resource.h>

/// No file can take a byte, as on a disk that is full.
struct FullDisk {
    FullDisk()
    {
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit none{0, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &none);
    }
    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    }
    rlimit before{};
    void (*handler)(int) = std::signal(SIGXFSZ, SIG_IGN);
};
