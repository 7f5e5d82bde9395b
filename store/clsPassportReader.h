// Reads the lines of a passport from its end, newest first, in steps, so that a window shows the newest ones at once
// however long the file is.
#pragma once

#include "base/FileHandle.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

class clsPassportReader {
public:
    /// Longer lines are not kept in memory; as `modPassport` has it.
    static constexpr std::size_t kLongestLine = std::size_t{1} << 20;
    /// Where a line is. The file only grows, so a place stays.
    struct Place {
        std::int64_t offset = 0;
        std::size_t length = 0;
    };
    using Take = std::function<bool(std::string_view line, const Place& place)>;

    /// The lines that the file has now.
    explicit clsPassportReader(const std::filesystem::path& file);
    /// Passes the lines of one more block, newest first, without their ends; an empty one stands for one that is too
    /// long. False when there are no more, and when `take` has returned false.
    bool Step(const Take& take);
    /// The bytes that are still to be read.
    std::int64_t Left() const { return m_left; }
    /// A line again; empty when it cannot be read any more.
    std::string LineAt(const Place& place) const;
    /// Why the file cannot be read; no error when it can.
    std::error_code Why() const { return m_why; }

private:
    bool passOn(std::string_view line, std::int64_t offset, const Take& take);

    FileHandle m_file;
    std::error_code m_why;
    std::int64_t m_left = 0;
    std::string m_rest;          ///< the end of a line whose beginning is further to the front
    std::size_t m_restBytes = 0; ///< its length, also of what was dropped
};
