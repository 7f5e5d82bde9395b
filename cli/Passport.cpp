#include "cli/Passport.h"

#include "base/CodePage.h"
#include "base/Numbers.h"
#include "cli/clsProgram.h"
#include "cli/clsSensorRun.h"
#include "cli/modSignals.h"
#include "session/modPassportText.h"
#include "store/clsPassportReader.h"
#include "store/modPassport.h"

#include <algorithm>
#include <limits>

namespace {

std::size_t readCount(const clsArguments& arguments)
{
    const auto text = arguments.Value("count");
    if (!text) {
        return std::numeric_limits<std::size_t>::max();
    }
    const std::int32_t count = WholeNumber(*text).value_or(0);
    if (count < 1) {
        throw UsageError("--count takes a number from 1");
    }
    return static_cast<std::size_t>(count);
}

/// The serial number of the connected sensor, one byte per character; nothing with the code in `code`.
std::optional<std::string> connectedSerial(clsProgram& program, int& code)
{
    clsSensorRun run(program);
    code = run.Connect();
    const std::string serial = run.Device().Identity().SerialNo;
    return code == ExitDone && run.Leave() ? std::optional(serial) : std::nullopt;
}

int sayNone(clsProgram& program, std::string_view serial)
{
    program.Say(program.Text(TextId::CliNoPassport, {modPassportText::SerialText(serial, program.Language())}));
    std::string others;
    for (const auto& file : modPassport::List(program.Folder() / "PASSPORT")) {
        others += (others.empty() ? "" : ", ") + file.stem().string();
    }
    program.Note(others.empty() ? program.Text(TextId::PassportNone) : program.Text(TextId::CliPassports, {others}));
    return ExitFailed;
}

} // namespace

int RunPassport(clsProgram& program, const clsArguments& arguments)
{
    const std::size_t most = readCount(arguments);
    const bool isJson = arguments.Has("json");
    std::optional<std::string> serial;
    int code = ExitDone;
    if (const auto number = arguments.Value("serial")) {
        serial = CodePageBytes(*number);
    } else if (!(serial = connectedSerial(program, code))) {
        return code == ExitDone ? static_cast<int>(ExitNoConnection) : code;
    }
    const std::filesystem::path file = modPassport::FileOf(program.Folder() / "PASSPORT", *serial);
    clsPassportReader reader(file);
    if (reader.Why() == std::errc::no_such_file_or_directory) {
        return sayNone(program, *serial);
    }
    std::size_t entries = 0, unreadable = 0;
    const auto take = [&](std::string_view line, const clsPassportReader::Place&) {
        const auto entry = modPassport::EntryOf(line);
        unreadable += entry ? 0 : 1;
        if (entry) {
            if (isJson) {
                program.PrintData(line);
            } else {
                program.Print(modPassportText::Whole(*entry, {'.', program.Language()}));
            }
            ++entries;
        }
        return entries < most;
    };
    while (!modSignals::EndIsWanted() && program.Out().IsOpen() && reader.Step(take)) {
        program.Out().Finish([] { return !modSignals::EndIsWanted(); }); // the file may be longer than memory
    }
    if (reader.Why()) {
        program.Say(program.Text(TextId::PassportUnread, {program.FileError(reader.Why())}));
        return ExitFailed;
    }
    if (unreadable > 0) {
        program.Note(unreadable == 1 ? program.Text(TextId::PassportOneUnreadable)
                                     : program.Text(TextId::PassportUnreadable, {std::to_string(unreadable)}));
    }
    return ExitDone;
}
