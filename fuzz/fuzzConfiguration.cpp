// Configuration files (*.rvq) are read, shown, copied back, sent and written; what is written reads back the same.
#include "base/Numbers.h"
#include "fuzz/FuzzFolder.h"
#include "fuzz/FuzzInput.h"
#include "sensor/Fields.h"
#include "sensor/Parameters.h"
#include "session/clsTransfer.h"
#include "store/Printout.h"
#include "store/modConfigFile.h"

#include <algorithm>

namespace {

/// A value in a file holds no line ends and no NUL.
std::string asWritten(std::string text)
{
    std::ranges::replace_if(
        text, [](char c) { return c == '\r' || c == '\n' || c == '\0'; }, ' ');
    return std::string(Trimmed(text));
}

void show(const Configuration& configuration)
{
    const ShownSettings shown = ShownOf(configuration.Parameters, ',');
    ParameterSet copy;
    CopyForSaving(copy, shown);
    static_cast<void>(Differences(shown, configuration.Parameters, configuration.Identity, ',', 1000));
    SheetTexts sheet;
    sheet.serial = shown.serial;
    sheet.SerialNo = configuration.Description;
    sheet.values = shown.texts;
    Require(!SheetText(sheet, 0).empty());
    for (const std::string_view code : UploadCodes(configuration.Parameters, configuration.Identity)) {
        const std::string value = WireValue(configuration.Parameters, code);
        Require(value.find_first_of("\r\n ") == std::string::npos);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const FuzzFolder folder;
    Configuration first;
    first.FileName = folder.Put("first.rvq", FuzzInput(data, size).Rest());
    modConfigFile::Read(first);
    Require(first.Description.size() < 255);
    show(first);

    const std::string read = first.FileName;
    first.FileName = folder.Put("second.rvq", {});
    Require(modConfigFile::Write(first));
    Configuration second;
    second.FileName = first.FileName;
    modConfigFile::Read(second);
    Require(second.Description == asWritten(first.Description) &&
            second.Identity.DeviceType == first.Identity.DeviceType);
    Require(second.Parameters == first.Parameters);
    return 0;
}
