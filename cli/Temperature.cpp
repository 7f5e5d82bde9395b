#include "cli/Temperature.h"

#include "cli/clsProgram.h"
#include "cli/clsSensorRun.h"

namespace {

constexpr double kAnswer_s = 5.0;

class TemperatureListener : public SessionListener {
public:
    explicit TemperatureListener(clsSession& session) : m_session(session) { m_session.Listen(*this); }
    ~TemperatureListener() override { m_session.Leave(*this); }
    TemperatureListener(const TemperatureListener&) = delete;
    TemperatureListener& operator=(const TemperatureListener&) = delete;

    void ShowTemperature(const std::string& text) override { Text = text; }
    std::string Text;

private:
    clsSession& m_session;
};

} // namespace

int RunTemperature(clsProgram& program, const clsArguments& /*arguments*/)
{
    clsSensorRun run(program);
    if (const int code = run.Connect(); code != ExitDone) {
        return code;
    }
    TemperatureListener listener(run.Session());
    run.Device().SendCommand(Request::Temperature);
    const RunEnd end = run.Until([&] { return !listener.Text.empty(); }, kAnswer_s, false);
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
