#include "cli/Apply.h"

#include "cli/clsProgram.h"
#include "cli/clsSensorRun.h"
#include "cli/modSensorSet.h"
#include "session/modPlan.h"

namespace {

int printPlan(clsProgram& program, const ParameterSet& set, const modPlan::Plan& plan)
{
    for (const std::string& line : modPlan::Lines(set, plan, program.Language())) {
        program.Print(line);
    }
    program.Note(plan.codes.empty() ? program.Text(TextId::CliNothingToSend) : program.Text(TextId::CliDryRun));
    return ExitDone;
}

/// `file`: empty for the last backup.
int lead(clsProgram& program, const clsArguments& arguments, std::optional<std::filesystem::path> file)
{
    std::optional<Configuration> wanted;
    if (file && !(wanted = ReadConfiguration(program, *file))) {
        return ExitFailed;
    }
    const bool isDry = arguments.Has("dry-run");
    clsSensorRun run(program, {.keepsWrites = !isDry});
    run.EndsWithOutput = false;
    clsWriting writing(program, run, arguments);
    ParameterSet set;
    int code = ConnectAndRead(program, run, set);
    if (code != ExitDone) {
        return code;
    }
    const SensorIdentity& sensor = run.Device().Identity();
    if (!wanted) {
        file = NewestBackup(program, sensor.SerialNo);
        wanted = file ? ReadConfiguration(program, *file) : std::nullopt;
        if (!wanted) {
            return ExitFailed;
        }
        program.Note(program.Text(TextId::CliRestoring, {file->string()}));
    }
    const modPlan::Plan plan = modPlan::Leading(set, wanted->Parameters, sensor, program.Language());
    if (!IsAccepted(program, plan)) {
        code = ExitRefused;
    } else {
        code = isDry ? printPlan(program, set, plan) : writing.Write(plan.target, plan.codes);
    }
    const bool isRestored = run.Leave();
    return code == ExitDone && !isRestored ? static_cast<int>(ExitNoConnection) : code;
}

} // namespace

int RunApply(clsProgram& program, const clsArguments& arguments)
{
    if (arguments.Operands().empty()) {
        throw UsageError("apply takes a FILE");
    }
    return lead(program, arguments, arguments.Operands().front());
}

int RunRestore(clsProgram& program, const clsArguments& arguments)
{
    return lead(program, arguments,
                arguments.Operands().empty() ? std::nullopt
                                             : std::optional<std::filesystem::path>(arguments.Operands().front()));
}
