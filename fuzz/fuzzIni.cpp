// INI files: reading does not change the file, and what is written reads back and leaves the rest alone. Input:
// section, key and value on a line each, then the file.
#include "base/modFiles.h"
#include "fuzz/FuzzFolder.h"
#include "fuzz/FuzzInput.h"
#include "store/clsIni.h"
#include "store/modIni.h"

#include <algorithm>
#include <stdexcept>
#include <strings.h>

namespace {

constexpr std::size_t kAll = modFiles::kLargestFile * 2;

/// A name of letters and digits, as callers use them.
std::string nameFrom(std::string_view text, const char* otherwise)
{
    std::string name;
    std::ranges::copy_if(text, std::back_inserter(name), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    });
    return name.empty() ? otherwise : name;
}

void readAll(const std::string& file, const std::string& section, const std::string& key)
{
    clsIni ini({}, ',');
    ini.Filename(file);
    Require(ini.GetSection(section).size() < 1024 && ini.GetSectionNames().size() < 1024);
    Require(std::get<std::string>(ini.GetSetting(section, key, std::string("x"))).size() < 255);
    static_cast<void>(ini.GetSetting(section, key, std::int32_t{1}));
    try {
        static_cast<void>(ini.GetSetting(section, key, 1.0));
    } catch (const std::invalid_argument&) {
        // the text is not a number
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const FuzzFolder folder;
    FuzzInput input(data, size);
    const std::string section = nameFrom(input.Until('\n'), "GENERAL");
    const std::string key = nameFrom(input.Until('\n'), "Baudrate");
    std::string value(input.Until('\n'));
    const std::string_view content = input.Rest();
    const std::string file = folder.Put("x.ini", content);

    readAll(file, section, key);
    Require(modFiles::ReadWhole(file) == content);

    if (!modIni::IsPlainText(content)) {
        Require(!modIni::WritePrivateProfileStringA(section, key, value, file) && modFiles::ReadWhole(file) == content);
        return 0;
    }
    const std::string names = modIni::GetPrivateProfileSectionNamesA(kAll, file);
    const std::string other = modIni::GetPrivateProfileStringA("RVQ", "Offset", "none", kAll, file);
    Require(modIni::WritePrivateProfileStringA(section, key, value, file));
    std::ranges::replace_if(
        value, [](char c) { return c == '\r' || c == '\n' || c == '\0'; }, ' ');
    Require(modIni::GetPrivateProfileStringA(section, key, "gone", kAll, file) == value);
    Require(modIni::GetPrivateProfileSectionNamesA(kAll, file).starts_with(names));
    const bool isOther = strcasecmp(section.c_str(), "RVQ") == 0 && strcasecmp(key.c_str(), "Offset") == 0;
    Require(isOther || modIni::GetPrivateProfileStringA("RVQ", "Offset", "none", kAll, file) == other);

    const auto once = modFiles::ReadWhole(file);
    Require(modIni::WritePrivateProfileStringA(section, key, value, file) && modFiles::ReadWhole(file) == once);
    return 0;
}
