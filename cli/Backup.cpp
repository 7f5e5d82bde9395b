#include "cli/Backup.h"

#include "base/IsoTime.h"
#include "base/modAPI.h"
#include "cli/clsProgram.h"
#include "cli/clsSensorRun.h"
#include "cli/modQuestion.h"
#include "cli/modSensorSet.h"
#include "store/modBackup.h"
#include "store/modConfigFile.h"

#include <algorithm>

namespace {

constexpr std::size_t kTimeLength = 19; // "2026-11-22T14:03:05"

/// Whether the file may be written; else the reason was said.
bool mayWrite(clsProgram& program, const std::filesystem::path& file, bool isForced)
{
    std::error_code error;
    if (isForced || !std::filesystem::exists(file, error)) {
        return true;
    }
    if (modQuestion::IsPossible()) {
        program.Say(program.Text(TextId::CliReplace, {file.string()}));
        return modQuestion::YesOrNo(program);
    }
    program.Say(program.Text(TextId::CliFileExists, {file.string()}));
    return false;
}

/// The file that was written; nothing with the reason in `why`.
std::optional<std::filesystem::path> save(clsProgram& program, Configuration& set, const clsArguments& arguments,
                                          std::error_code& why)
{
    const double now = modAPI::LocalTime();
    if (arguments.Operands().empty()) {
        return modBackup::Save(set, program.Folder() / "BACKUP", now, why);
    }
    std::string time = IsoText(now).substr(0, kTimeLength);
    std::ranges::replace(time, 'T', ' ');
    set.Description = "SN " + modBackup::NameOf(set.Identity.SerialNo) + ", " + time;
    set.FileName = arguments.Operands().front();
    return modConfigFile::Write(set, why) ? std::optional<std::filesystem::path>(set.FileName) : std::nullopt;
}

} // namespace

int RunBackup(clsProgram& program, const clsArguments& arguments)
{
    if (!arguments.Operands().empty() && arguments.Operands().front().empty()) {
        throw UsageError("the name of the file is empty");
    }
    if (!arguments.Operands().empty() && !mayWrite(program, arguments.Operands().front(), arguments.Has("force"))) {
        return ExitFailed;
    }
    clsSensorRun run(program);
    run.EndsWithOutput = false;
    Configuration set;
    int code = ConnectAndRead(program, run, set.Parameters);
    if (code != ExitDone) {
        return code;
    }
    set.Identity = run.Device().Identity();
    std::error_code why;
    const auto file = save(program, set, arguments, why);
    if (!file) {
        const std::filesystem::path place =
            arguments.Operands().empty() ? program.Folder() / "BACKUP" : std::filesystem::path(set.FileName);
        program.Say(program.Text(TextId::FailureNotWritten, {place.string(), program.FileError(why)}));
        return ExitFailed;
    }
    program.PrintData(file->string());
    return run.Leave() ? ExitDone : ExitNoConnection;
}
