#include "cli/Temperature.h"

#include "cli/clsProgram.h"
#include "cli/clsSensorRun.h"

namespace {

constexpr double kAnswer_s = 5.0;

class TemperatureListener : public SessionListener {
public:
    void ShowTemperature(const std::string& text) override { Text = text; }
    std::string Text;
};

} // namespace

int RunTemperature(clsProgram& program, const clsArguments& /*arguments*/)
{
    clsSensorRun run(program);
    if (const int code = run.Connect(); code != ExitDone) {
        return code;
    }
    TemperatureListener listener;
    run.Session().Listen(listener);
    run.Device().SendCommand(Request::Temperature);
    const RunEnd end = run.Until([&] { return !listener.Text.empty(); }, kAnswer_s, false);
    run.Session().Leave(listener);
    const bool isLeft = run.Leave();
    if (end == RunEnd::TimeOver) {
        program.Say(program.Text(TextId::NoValueCame, {program.PortName()}));
        return ExitNoConnection;
    }
    if (end == RunEnd::Done) {
        program.Print(listener.Text);
    }
    return isLeft ? clsSensorRun::CodeOf(end, false) : ExitNoConnection;
}
