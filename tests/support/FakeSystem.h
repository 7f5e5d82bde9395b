// A file system of the test's own, with serial devices as the kernel and its helpers show them.
#pragma once

#include "tests/support/TemporaryFolder.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <sys/sysmacros.h>

struct FakeSystem {
    TemporaryFolder folder;
    std::filesystem::path root = folder.path;

    FakeSystem()
    {
        for (const char* name : {"dev", "sys/class/tty", "proc"}) {
            std::filesystem::create_directories(root / name);
        }
    }

    void Write(const std::filesystem::path& name, const std::string& bytes) const
    {
        std::filesystem::create_directories((root / name).parent_path());
        std::ofstream(root / name, std::ios::binary) << bytes;
    }

    /// A node and what the kernel says about it: `plug` is the folder of what is plugged in, the port lies below it.
    void AddNode(const std::string& name, const std::string& plug) const
    {
        Write("dev/" + name, "");
        const auto port = std::filesystem::path("sys/devices") / plug / (name + "-port");
        std::filesystem::create_directories(root / port);
        std::filesystem::create_directories(root / "sys/class/tty" / name);
        std::filesystem::create_symlink(std::filesystem::path("../../..") / port.lexically_relative("sys"),
                                        root / "sys/class/tty" / name / "device");
    }

    struct Words {
        std::string maker, product, serial;
    };
    /// A USB adapter in the socket "1-<socket>", with the names that such a device gets.
    void AddUsb(const std::string& name, int socket, const Words& words) const
    {
        const std::string place = "1-" + std::to_string(socket), plug = "usb1/" + place;
        AddNode(name, plug);
        Write("sys/devices/" + plug + "/idVendor", "1a86\n");
        Write("sys/devices/" + plug + "/idProduct", "7523\n");
        for (const auto& [file, text] : {std::pair("manufacturer", &words.maker), std::pair("product", &words.product),
                                         std::pair("serial", &words.serial)}) {
            if (!text->empty()) {
                Write("sys/devices/" + plug + "/" + file, *text + "\n");
            }
        }
        Link("dev/serial/by-path/pci-0000:00:14.0-usb-0:" + std::to_string(socket) + ":1.0-port0", name);
        if (!words.serial.empty()) {
            Link("dev/serial/by-id/usb-" + words.maker + "_" + words.product + "_" + words.serial + "-if00-port0",
                 name);
        }
    }
    void Link(const std::string& link, const std::string& name) const
    {
        std::filesystem::create_directories((root / link).parent_path());
        std::filesystem::remove(root / link);
        std::filesystem::create_symlink("../../" + name, root / link);
    }
    void Unplug(const std::string& name) const
    {
        const auto device = std::filesystem::canonical(root / "sys/class/tty" / name / "device");
        std::filesystem::remove_all(root / "sys/class/tty" / name);
        std::filesystem::remove_all(device.parent_path());
        std::filesystem::remove(root / "dev" / name);
        for (const char* links : {"dev/serial/by-id", "dev/serial/by-path"}) {
            std::error_code none;
            for (const auto& link : std::filesystem::directory_iterator(root / links, none)) {
                if (std::filesystem::read_symlink(link).filename() == name) {
                    std::filesystem::remove(link);
                }
            }
        }
    }

    void AddProcess(int process, const std::string& name) const
    {
        Write("proc/" + std::to_string(process) + "/comm", name + "\n");
    }
    void OpenFile(int process, int descriptor, const std::string& file) const
    {
        const auto files = root / "proc" / std::to_string(process) / "fd";
        std::filesystem::create_directories(files);
        std::filesystem::create_symlink(file, files / std::to_string(descriptor));
    }
    /// A line of the list of locks about the node.
    std::string LockLine(int process, const std::string& name) const
    {
        struct stat info {};
        stat((root / "dev" / name).c_str(), &info);
        char line[128] = "";
        std::snprintf(line, sizeof line, "1: FLOCK  ADVISORY  WRITE %d %02x:%02x:%lu 0 EOF\n", process,
                      major(info.st_dev), minor(info.st_dev), static_cast<unsigned long>(info.st_ino));
        return line;
    }
};
