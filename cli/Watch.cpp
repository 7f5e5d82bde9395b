#include "cli/Watch.h"

#include "base/CodePage.h"
#include "base/modAPI.h"
#include "cli/clsLiveScreen.h"
#include "cli/clsProgram.h"
#include "cli/clsSensorRun.h"
#include "cli/clsWatchView.h"
#include "cli/modSignals.h"
#include "store/modGlobals.h"

#include <cstdlib>
#include <optional>
#include <unistd.h>

namespace {

constexpr double kPicture_s = 0.2, kLine_s = 1.0;

/// Whether the terminal's character set lacks bars.
bool isAsciiOnly()
{
    for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        if (const char* value = std::getenv(variable); value != nullptr && *value != '\0') {
            const std::string_view locale(value);
            return locale.find("UTF-8") == locale.npos && locale.find("utf8") == locale.npos;
        }
    }
    return true;
}

class Watcher : public SessionListener {
public:
    Watcher(clsProgram& program, clsSensorRun& run, const clsWatchView::Style& style)
        : m_program(program), m_run(run), m_view(style)
    {
        m_run.Session().Listen(*this);
        if (modTerminal::CanMoveCursor(STDOUT_FILENO)) {
            m_screen.emplace(STDOUT_FILENO);
        }
    }
    ~Watcher() override { m_run.Session().Leave(*this); }
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

    void Sampled(std::span<const Measurement> samples, std::string_view /*temperature*/) override
    {
        for (const Measurement& sample : samples) {
            m_view.Add(sample, modAPI::UpTime_s());
        }
    }

    /// Shows what there is, if it is time to. A terminal that is slow gets no more pictures than it takes.
    void Show()
    {
        const double now_s = modAPI::UpTime_s();
        const bool again = (m_screen && modSignals::TakeRedraw()) || m_shown_s == 0.0;
        if (m_program.Out().Waiting() > 0 || (!again && now_s - m_shown_s < (m_screen ? kPicture_s : kLine_s))) {
            return;
        }
        m_shown_s = now_s;
        if (m_screen) {
            m_program.Out().Write(m_screen->Picture(m_view.Lines(state(), m_screen->Size(), now_s), again));
        } else {
            m_program.Print(m_view.Line(state(), now_s));
        }
    }

    /// Leaves the screen; what was seen last stays as lines.
    void End()
    {
        if (m_screen) {
            m_program.Out().Discard();
            m_screen.reset();
            m_program.Print(m_view.Line(state(), modAPI::UpTime_s()));
        }
    }

private:
    WatchState state()
    {
        clsSession& session = m_run.Session();
        const std::string number = Utf8Of(session.SerialNo());
        return {.port = m_program.PortName(),
                .sensor = number.empty() ? "" : m_program.Text(TextId::SerialNumber, {number}),
                .temperature = Utf8Of(session.Device().sTemperature()),
                .dialogue = session.Device().CommStatus(),
                .perSecond = session.Loop().Account().PerSecond(&AccountFigures::received),
                .account = session.Loop().Account().Figures()};
    }

    clsProgram& m_program;
    clsSensorRun& m_run;
    clsWatchView m_view;
    std::optional<clsLiveScreen> m_screen;
    double m_shown_s = 0.0;
};

} // namespace

int RunWatch(clsProgram& program, const clsArguments& arguments)
{
    const std::optional<double> limit_s = LimitOf(arguments);
    const clsWatchView::Style style{.language = program.Language(),
                                    .unit = UnitOptionOf(arguments),
                                    .hasColours = modTerminal::HasColours(STDOUT_FILENO),
                                    .isAscii = isAsciiOnly()};
    program.Settings().History_MiB = modGlobals::kLeastHistory_MiB;
    clsSensorRun run(program, {.joinsMeasurement = true});
    if (const int code = run.Connect(); code != ExitDone) {
        return code;
    }
    Watcher watcher(program, run, style);
    run.SaysLine = false; // the picture does
    const RunEnd end = run.Measure(
        [&] {
            watcher.Show();
            return false;
        },
        limit_s);
    watcher.End();
    const bool isLeft = run.Leave();
    return isLeft ? clsSensorRun::CodeOf(end, true) : ExitNoConnection;
}
