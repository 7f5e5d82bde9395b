#include "cli/Laser.h"

#include "base/CodePage.h"
#include "base/PlainText.h"
#include "cli/clsProgram.h"
#include "cli/clsSensorRun.h"

#include <cstdint>

namespace {

constexpr double kDump_s = 12.0; ///< at the lowest rate it takes half of it
constexpr std::size_t kLongestState = 40;

} // namespace

int RunLaser(clsProgram& program, const clsArguments& arguments)
{
    if (arguments.Operands().size() != 1 || (arguments.Operands()[0] != "on" && arguments.Operands()[0] != "off")) {
        throw UsageError("laser takes on or off");
    }
    const std::string_view wanted = arguments.Operands()[0];
    clsSensorRun run(program);
    run.EndsWithOutput = false;
    if (const int code = run.Connect(); code != ExitDone) {
        return code;
    }
    RunEnd end = run.Perform(run.Session().Loop().SwitchingRedLaser(wanted == "on"));
    if (end == RunEnd::Done) {
        // The sensor does not confirm it, but its configuration has the state.
        const std::uint64_t before = run.Session().Loop().Dumps();
        run.Device().SendCommand(Request::Configuration);
        end = run.Until([&] { return run.Session().Loop().Dumps() != before; }, kDump_s, false);
    }
    const std::string state = run.Device().Identity().HWPointer;
    const bool isLeft = run.Leave();
    if (end == RunEnd::TimeOver) {
        program.Say(program.Text(TextId::NoValueCame, {program.PortName()}));
        return ExitNoConnection;
    }
    if (end == RunEnd::Done && state != wanted) {
        program.Say(program.Text(TextId::LaserRefused, {program.PortName(), PlainText(Utf8Of(state), kLongestState)}));
        return ExitRefused;
    }
    return isLeft ? clsSensorRun::CodeOf(end, false) : ExitNoConnection;
}
