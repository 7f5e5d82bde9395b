#include "cli/Set.h"

#include "cli/clsProgram.h"
#include "cli/clsSensorRun.h"
#include "cli/modParameterRows.h"
#include "cli/modSensorSet.h"
#include "session/modPlan.h"

#include <algorithm>

namespace {

struct Assignment {
    const ParameterDef* row;
    std::string_view text;
};

std::vector<Assignment> readAssignments(const clsArguments& arguments)
{
    std::vector<Assignment> read;
    for (const std::string_view word : arguments.Operands()) {
        const std::size_t sign = word.find('=');
        if (sign == word.npos) {
            throw UsageError("\"" + std::string(word) + "\" is not NAME=VALUE");
        }
        const std::string_view name = word.substr(0, sign);
        const ParameterDef* row = ParametersOf({&name, 1}, {}, {}).front();
        if (std::ranges::find(read, row, &Assignment::row) != read.end()) {
            throw UsageError("parameter " + std::string(row->code) + " is set twice");
        }
        read.push_back({row, word.substr(sign + 1)});
    }
    if (read.empty()) {
        throw UsageError("set takes NAME=VALUE...");
    }
    return read;
}

/// The values in the set, and their rows. Nothing, which is said, when one of them is not allowed.
std::optional<std::vector<const ParameterDef*>> take(clsProgram& program, const std::vector<Assignment>& assignments,
                                                     ParameterSet& target)
{
    std::vector<const ParameterDef*> rows;
    for (const Assignment& assignment : assignments) {
        const TypedValue value = ValueOfText(*assignment.row, assignment.text);
        if (value.fault == TypedValue::Fault::None) {
            target.*assignment.row->value = value.stored;
            rows.push_back(assignment.row);
        } else {
            program.Say(WhyNotAllowed(*assignment.row, assignment.text, value.fault, program.Language()));
        }
    }
    if (rows.size() < assignments.size()) {
        program.Say(program.Text(TextId::CliNothingSent));
        return std::nullopt;
    }
    return rows;
}

} // namespace

int RunSet(clsProgram& program, const clsArguments& arguments)
{
    const std::vector<Assignment> assignments = readAssignments(arguments);
    ParameterSet set;
    if (!take(program, assignments, set)) {
        return ExitRefused; // it needs no sensor to know that
    }
    clsSensorRun run(program, {.keepsWrites = true});
    run.EndsWithOutput = false;
    clsWriting writing(program, run, arguments);
    int code = ConnectAndRead(program, run, set);
    if (code != ExitDone) {
        return code;
    }
    ParameterSet target = set;
    const auto rows = take(program, assignments, target);
    const modPlan::Plan plan = modPlan::OfValues(set, target, *rows, run.Device().Identity(), program.Language());
    code = IsAccepted(program, plan) ? writing.Write(plan.target, plan.codes) : static_cast<int>(ExitRefused);
    const bool isRestored = run.Leave();
    return code == ExitDone && !isRestored ? static_cast<int>(ExitNoConnection) : code;
}
