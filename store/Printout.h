// The settings sheet: what the settings window shows as a plain text that can be printed.
#pragma once

#include "sensor/Fields.h"

#include <filesystem>
#include <string>

/// The window's controls as they stand; all texts in Windows-1252.
struct SheetTexts {
    bool serial = true; ///< else a Profibus sensor
    std::string SerialNo, SWVersion, SWBuild, DeviceType;
    std::array<std::string, kFields.size()> fields;
    /// Of a list its shown text, of a logic its caption, of a check box "1" or "0".
    std::array<std::string, kChoices.size()> choices;
};

/// The sheet in Windows-1252 with CR LF, its captions in the language with this offset.
std::string SheetText(const SheetTexts& texts, std::int32_t language);

/// Where the sheet of a program folder lies. The name holds a "$": never hand it to a shell.
std::filesystem::path SheetFile(const std::filesystem::path& programFolder);

/// Puts the sheet in the place of the last one. False, with the reason in `why`, when it cannot be written; the last
/// one is as it was then.
bool WriteSheet(const std::filesystem::path& programFolder, const SheetTexts& texts, std::int32_t language,
                std::error_code& why);
