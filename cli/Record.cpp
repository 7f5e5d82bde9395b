#include "cli/Record.h"

#include "base/Numbers.h"
#include "base/modAPI.h"
#include "cli/clsProgram.h"
#include "cli/clsSensorRun.h"
#include "session/modAccountText.h"
#include "store/modGlobals.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace {

constexpr std::string_view kSuffix = ".rec";

/// A name stands for a file in the folder of recordings; a path for a file anywhere.
struct Target {
    std::filesystem::path folder;
    std::string name;
};

Target targetOf(const clsArguments& arguments)
{
    Target target;
    if (!arguments.Operands().empty()) {
        target.name = arguments.Operands()[0];
        if (target.name.find('/') != std::string::npos) {
            const std::filesystem::path path = target.name;
            target = {std::filesystem::absolute(path.parent_path()), path.filename()};
            if (std::filesystem::exists(path) && !std::filesystem::is_regular_file(path)) {
                target.name.clear(); // a device or a folder
            }
        }
        if (target.name.ends_with(kSuffix)) {
            target.name.erase(target.name.size() - kSuffix.size());
        }
        if (target.name.empty()) {
            throw UsageError("\"" + std::string(arguments.Operands()[0]) + "\" is no name for a recording");
        }
    }
    return target;
}

/// A folder that is not there is more likely a typing error than a wish. False: it was said.
bool isThere(clsProgram& program, const std::filesystem::path& folder)
{
    std::error_code why;
    if (folder.empty() || std::filesystem::is_directory(folder, why)) {
        return true;
    }
    why = why ? why : std::make_error_code(std::errc::not_a_directory);
    program.Say(program.Text(TextId::FailureNotWritten, {folder.native(), program.FileError(why)}));
    return false;
}

void readSplit(const clsArguments& arguments, modGlobals::Settings& settings)
{
    settings.NewFile = PartsOne;
    std::string_view split = arguments.Value("split").value_or("");
    if (split == "hour" || split == "day") {
        settings.NewFile = split == "hour" ? PartsHourly : PartsDaily;
    } else if (arguments.Has("split")) {
        const bool isSize = split.ends_with("MiB");
        split.remove_suffix(isSize ? 3 : 0);
        settings.NewFile = PartsBySize;
        settings.FileSize = isSize ? WholeNumber(split).value_or(0) : 0;
        if (settings.FileSize < 1 || settings.FileSize > modGlobals::kLargestFileSize) {
            throw UsageError("--split takes hour, day or a size such as 100MiB");
        }
    }
}

std::string_view takePart(std::string_view& texts)
{
    const std::string_view part = texts.substr(0, texts.find('|'));
    texts.remove_prefix(std::min(part.size() + 1, texts.size()));
    return part;
}

void printAccount(clsProgram& program, const AccountFigures& figures)
{
    const std::string names = program.Text(TextId::AccountRows);
    std::string_view rest = names;
    for (const auto& [key, count] : kAccountCounts) {
        program.Print(std::string(takePart(rest)) + ": " + std::to_string(figures.*count));
    }
    program.Print(std::string(takePart(rest)) + ": " + modAccountText::Duration(figures.longestGap_ms, '.'));
}

class Recording : public SessionListener {
public:
    explicit Recording(clsSession& session) : m_session(session) { m_session.Listen(*this); }
    ~Recording() override { m_session.Leave(*this); }
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    void RecordingFailed(const std::error_code& why) override { Failure = why; }
    void RecordingNotClosed(const std::filesystem::path& file, const std::error_code& why) override
    {
        Failure = why;
        File = file;
    }
    std::error_code Failure;
    std::filesystem::path File; ///< an earlier one that could not be closed

private:
    clsSession& m_session;
};

void sayFailure(clsProgram& program, const Recording& recording)
{
    const std::string why = program.FileError(recording.Failure);
    program.Say(recording.File.empty() ? program.Text(TextId::RecorderEnded, {why})
                                       : program.Text(TextId::FailureNotSaved, {recording.File.native(), why}));
}

/// Ends the recording and waits until it is on the disk. What has become of every value is known then.
AccountFigures finish(clsSensorRun& run)
{
    clsSession& session = run.Session();
    session.Recorder().Stop();
    run.FinishRecording();
    session.ServeFiles(modAPI::LocalTime());
    return session.Loop().Account().Figures();
}

/// `failure`: why the recording has ended by itself; it was said.
int report(clsProgram& program, const clsSession& session, const AccountFigures& figures,
           const std::error_code& failure)
{
    if (session.Recorder().Parts().empty()) {
        if (!failure) {
            program.Say(program.Text(TextId::RecorderNoValue));
        }
        return ExitFailed;
    }
    for (const std::filesystem::path& file : session.Recorder().Parts()) {
        program.PrintData(file.native());
    }
    printAccount(program, figures);
    return failure ? ExitFailed : ExitDone;
}

} // namespace

int RunRecord(clsProgram& program, const clsArguments& arguments)
{
    const std::optional<double> limit_s = LimitOf(arguments);
    const Target target = targetOf(arguments);
    readSplit(arguments, program.Settings());
    if (!isThere(program, target.folder)) {
        return ExitFailed;
    }
    program.Settings().EveryValue = true;
    program.Settings().History_MiB = modGlobals::kLeastHistory_MiB;
    clsSensorRun run(program, {.recordings = target.folder});
    run.EndsWithOutput = false;
    Recording recording(run.Session());
    int code = run.Connect();
    if (code == ExitDone) {
        try {
            run.Session().StartRecording(target.name);
        } catch (const std::system_error& failure) {
            program.Say(program.Text(TextId::RecorderNotStarted, {program.FileError(failure.code())}));
            code = ExitFailed;
        }
    }
    if (code != ExitDone) {
        return code;
    }
    const auto isOver = [&] {
        const std::string lines = std::to_string(run.Session().Recorder().Lines());
        program.Progress().Show(program.Text(TextId::RecorderRecording, {lines}));
        return recording.Failure && recording.File.empty();
    };
    run.Measure(isOver, limit_s);
    const AccountFigures figures = finish(run);
    const bool isLeft = run.Leave();
    if (recording.Failure) {
        sayFailure(program, recording);
    }
    code = report(program, run.Session(), figures, recording.Failure);
    return isLeft ? code : static_cast<int>(ExitNoConnection);
}
