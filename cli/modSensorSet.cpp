#include "cli/modSensorSet.h"

#include "base/modFiles.h"
#include "cli/clsProgram.h"
#include "cli/clsSensorRun.h"
#include "sensor/modRVQComm.h"
#include "session/clsWriteCircle.h"
#include "session/modPassportText.h"
#include "store/modBackup.h"
#include "store/modConfigFile.h"

namespace {

enum class Outcome : std::uint8_t { Read, Silent, Contradictory, OtherSensor };

Operation<> reading(clsRVQ& device, ParameterSet& set, Outcome& outcome)
{
    const modRVQComm::WaitScope wait(device);
    Operation<> waiting = modRVQComm::AwaitingOpenAnswer(device);
    co_await waiting;
    clsWriteCircle circle(device, WriteKind::Send);
    Operation<bool> work = circle.ReadingBefore();
    if (co_await work) {
        set = circle.Before();
        outcome = circle.IsSameSensor() ? Outcome::Read : Outcome::OtherSensor;
    } else if (circle.IsContradictory()) {
        outcome = Outcome::Contradictory;
    }
}

} // namespace

int ConnectAndRead(clsProgram& program, clsSensorRun& run, ParameterSet& set)
{
    if (const int code = run.Connect(); code != ExitDone) {
        return code;
    }
    program.Progress().Show(program.Text(TextId::TransferReading));
    Outcome outcome = Outcome::Silent;
    const RunEnd end = run.PerformWhole(reading(run.Device(), set, outcome), [] {});
    program.Progress().End();
    if (end == RunEnd::Stopped) {
        return ExitFailed;
    }
    if (outcome == Outcome::Read) {
        return ExitDone;
    }
    const TextId why = outcome == Outcome::OtherSensor     ? TextId::TransferOtherSensor
                       : outcome == Outcome::Contradictory ? TextId::TransferContradictory
                                                           : TextId::TransferNoResponse;
    program.Say(program.Text(TextId::TransferNotRead, {program.Text(why)}));
    return outcome == Outcome::Silent ? ExitNoConnection : ExitFailed;
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
