#include "cli/Temperature.h"

#include "cli/clsProgram.h"
#include "cli/clsSensorRun.h"

namespace {

constexpr double kAnswer_s = 5.0;

/// The text that an idle poll brings.
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
    const RunEnd end = run.Until([&] { return !listener.Text.empty(); }, kAnswer_s, false);
    run.Session().Leave(listener);
    if (end != RunEnd::Done) {
        return end == RunEnd::Stopped ? ExitFailed : ExitNoConnection;
    }
    program.Print(listener.Text);
    return run.Leave() ? ExitDone : ExitFailed;
}
