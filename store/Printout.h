// The settings sheet: the contents of the settings window as plain text that can be printed.
#pragma once

#include "sensor/Parameters.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>

/// What the window's controls show; all texts in Windows-1252.
struct SheetTexts {
    bool serial = true; ///< else a Profibus sensor
    std::string SerialNo, SWVersion, SWBuild, DeviceType;
    /// The text of a box, the selected text of a list, the caption of a switch's logic, "1" or "0" for a check box.
    PerParameter<std::string> values;
};

/// The sheet in Windows-1252 with CR LF, its captions in the language with this offset.
std::string SheetText(const SheetTexts& texts, std::int32_t language);

/// The path of the sheet in a program folder. The name holds a "$": never pass it to a shell.
std::filesystem::path SheetFile(const std::filesystem::path& programFolder);

/// Replaces the last sheet. False, with the reason in `why`, when it cannot be written; the last sheet then stays as it
/// was.
bool WriteSheet(const std::filesystem::path& programFolder, const SheetTexts& texts, std::int32_t language,
                std::error_code& why);
