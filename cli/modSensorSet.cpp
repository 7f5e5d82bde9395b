#include "cli/modSensorSet.h"

#include "base/modFiles.h"
#include "cli/clsProgram.h"
#include "cli/clsSensorRun.h"
#include "session/modPassportText.h"
#include "session/modSetReading.h"
#include "store/modBackup.h"
#include "store/modConfigFile.h"

namespace {

Operation<> reading(clsRVQ& device, ParameterSet& set, modSetReading::Outcome& outcome)
{
    Operation<modSetReading::Outcome> work = modSetReading::Reading(device, set);
    outcome = co_await work;
}

} // namespace

int ConnectAndRead(clsProgram& program, clsSensorRun& run, ParameterSet& set)
{
    if (const int code = run.Connect(); code != ExitDone) {
        return code;
    }
    program.Progress().Show(program.Text(TextId::TransferReading));
    modSetReading::Outcome outcome = modSetReading::Outcome::Silent;
    const RunEnd end = run.PerformWhole(reading(run.Device(), set, outcome), [] {});
    program.Progress().End();
    if (end == RunEnd::Stopped) {
        program.Say(program.Text(TextId::CliCancelledReading));
        return ExitFailed;
    }
    if (outcome == modSetReading::Outcome::Read) {
        return ExitDone;
    }
    program.Say(program.Text(TextId::TransferNotRead, {program.Text(modSetReading::Reason(outcome))}));
    return outcome == modSetReading::Outcome::Silent ? ExitNoConnection : ExitFailed;
}

std::optional<Configuration> ReadConfiguration(clsProgram& program, const std::filesystem::path& file)
{
    Configuration configuration;
    configuration.FileName = file.string();
    modConfigFile::Read(configuration);
    if (configuration.Description.empty()) {
        program.Say(program.Text(TextId::CompareNoConfiguration, {file.string()}));
        return std::nullopt;
    }
    return configuration;
}

std::optional<std::filesystem::path> NewestBackup(clsProgram& program, std::string_view serialNo)
{
    const auto backups = modBackup::List(program.Folder() / "BACKUP", serialNo);
    if (backups.empty()) {
        program.Say(program.Text(TextId::CliNoBackup, {modPassportText::SerialText(serialNo, program.Language())}));
        return std::nullopt;
    }
    return backups.front().file;
}
