// Every operation of the program against every fault of the sensor and its line, over a real pseudo-terminal. Each cell
// has to end in time, report what it should, and leave a program whose next operations work.
#include "base/Numbers.h"
#include "sensor/Parameters.h"
#include "tests/support/FaultCell.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <optional>
#include <sstream>

namespace {

/// How an operation can end. The rows of the operations use these letters; a small letter is allowed only with a sensor
/// that sends binary frames.
struct Ending {
    char letter = 'H';
    const char* text = "HANGS";
};
constexpr Ending kHangs, kDone{'D', "done"},
    kNoConnection{'N', "no connection"}, // "No connection to sensor", or the box with "No response"
    kPortNotOpen{'P', "port not open"},  // "Comport not open"
    kRefused{'R', "refused"},            // the setting goes back, or the box with "Invalid configuration code"
    kFailed{'F', "failed"},              // the red text of the settings window
    kNothing{'U', "no value"},           // nothing is reported; the sensor has answered the next poll
    kAnew{'L', "begun anew"};            // the operation is lost, and the dialogue has restarted by itself

/// Whether the idle sensor has just answered a poll.
bool hasPolled(FaultCell& cell)
{
    return cell.device.EventNr() == EventTemperature && cell.device.CommStatus() == DialogueIdle;
}

bool hasDistance(FaultCell& cell)
{
    return cell.device.EventNr() == EventDistance;
}

/// After a damaged dump or an announcement the program may take the sensor for another one, or for one that works with
/// its stored settings.
bool hasUnstored(const FaultCell& cell)
{
    return cell.device.UnstoredChanges() || cell.fault.rate != nullptr;
}

void change(FaultCell& cell, std::int32_t ParameterSet::*setting, std::int32_t value)
{
    cell.loop.ChangeSetting(setting, value, [&cell] { cell.Step(); });
}

void upload(FaultCell& cell)
{
    cell.entry.Parameters.Offset = 77;
    cell.window.answers = {FailureAnswer::Retry, FailureAnswer::Retry, FailureAnswer::Retry};
    cell.transfer.Upload();
}

struct Operation {
    const char* name;
    bool measuring;      ///< before the operation
    bool waits;          ///< the operation has ended when its call returns
    double limit_s;      ///< by the program's clock: the deadlines it passes through, and a poll
    const char* allowed; ///< endings, one word for each row of kFaults, in the same order
    void (*act)(FaultCell&);
    bool (*isDone)(FaultCell&);
};
using C = FaultCell;

// clang-format off
const Operation kOperations[] = {
    // none silence refusal late "too late" bytes burst garbage lost cut announcement unplug replug format restart
    // "no echo" "too hot" delay
    {"start", false, false, 9, "D N D D  D   D  D D   D   D  D  P DL N DN D D D",
     [](C& c) { c.loop.StartStop({}); }, hasDistance},
    {"stop", true, false, 9, "D N D DN DN  DN D DN  DN  DN Dn P L  DN D D D D",
     [](C& c) { c.loop.StartStop({}); },
     [](C& c) { return hasPolled(c) && !c.view.running && !c.sensor.IsMeasuring(); }},
    {"single", false, false, 9, "D N D D  D   D  D DUN DUN D  D  P L  N  N D D D",
     [](C& c) { c.loop.RequestSingleValue(); }, hasDistance},
    {"temperature", true, false, 9, "D N D D  DN  D  D DN  DN  D  Dn P DL N  N D D D",
     [](C& c) { c.view.temperature.clear(), c.loop.PollTemperature(true); },
     [](C& c) { return hasDistance(c) && !c.view.temperature.empty(); }},
    {"marker laser", false, false, 9, "D N D D  DN  D  D DN  DN  D  Dn P L  Nd N D D D",
     [](C& c) { c.loop.SwitchRedLaser(true); }, [](C& c) { return hasPolled(c) && c.sensor.IsMarkerOn(); }},
    {"averaging", false, true, 4, "D N R D  DN  D  D DN  DN  D  D  P L  D  D D D D",
     [](C& c) { change(c, &ParameterSet::AverageDepth, 3); },
     [](C& c) { return c.view.sensor.AverageDepth == 3 && c.sensor.Parameter("301") == 3; }},
    {"moving average", true, true, 4, "D N R D  DN  D  D DN  DN  D  D  P L  D  D D D D",
     [](C& c) { change(c, &ParameterSet::MovingAverage, 1); },
     [](C& c) { return c.view.sensor.MovingAverage && c.sensor.Parameter("304") == 1; }},
    {"download", false, true, 4, "D F D DF DF  F  D DF  DF  F  D  F F  D  D D D D",
     [](C& c) { c.transfer.Download(); },
     [](C& c) { return c.window.told == "select 1273 " && (c.HasRead() || c.Falsifies()); }},
    {"upload", true, true, 100, "D N R DF DFN F  D DF  DF  F  D  N DN D  D D D D",
     upload,
     [](C& c) { return hasUnstored(c) && c.window.told.ends_with("select 1274 ") && c.sensor.Parameter("701") == 77; }},
    {"store", false, true, 6, "D F F D  DF  D  D DF  DF  D  D  F F  D  D D D D",
     [](C& c) { c.transfer.StoreInSensor(); },
     [](C& c) { return !c.device.UnstoredChanges() && c.window.told == "1271 " &&
                       c.sensor.StoredParameter("701") == c.sensor.Parameter("701"); }},
    {"defaults", true, true, 8, "D F F DF DF  F  D DF  DF  F  D  F F  D  D D D D",
     [](C& c) { c.transfer.SetDefaults(); },
     [](C& c) { return hasUnstored(c) && c.window.told == "1272 select " && c.sensor.Parameter("701") == 0; }},
    {"recording", true, false, 9, "D N D D  DN  D  D DN  DN  D  D  P DL N  N D D D",
     [](C&) {}, [](C& c) { return c.recorder.Lines() >= c.linesBefore + 20; }},
};
// clang-format on

struct Result {
    Ending ending;
    double seconds = 0.0;
    std::string complaint; ///< empty when all is well
};

/// What the window was told, without the reasons for failures and without what follows an abandoned upload.
std::string withoutReasons(const std::string& told)
{
    std::istringstream words(told);
    std::string rest;
    for (std::string word; words >> word;) {
        if (!word.starts_with("!1361:")) {
            rest += word.starts_with('!') ? "! " : word + ' ';
        }
    }
    return rest;
}

/// What has been reported about an operation that is not finished, if anything.
std::optional<Ending> saidOf(const FaultCell& cell)
{
    static constexpr std::string_view kRed[] = {"! ", "! fill ", "! 1275 ", "! 1276 ! ", "! 1276 select ", "1272 ! "};
    // That an upload was abandoned follows from the answers; every other failure is red.
    const std::string told = withoutReasons(cell.window.told);
    if (std::ranges::find(kRed, told) != std::end(kRed)) {
        return kFailed;
    }
    if (told.find("ask") != std::string::npos && told.ends_with("! ")) {
        return kFailed; // the values are sent, and cannot be read back
    }
    if (told.find("ask") != std::string::npos) {
        return told.ends_with("1292 ") ? kNoConnection : kRefused;
    }
    if (cell.HasSaid("Comport not open")) {
        return kPortNotOpen;
    }
    if (cell.HasSaid("No connection to sensor")) {
        return kNoConnection;
    }
    const bool anew = cell.device.Openings() != cell.openingsBefore && cell.device.CommStatus() != DialogueNone;
    return anew ? std::optional(kAnew) : std::nullopt;
}

/// How the operation has ended, if it has.
std::optional<Ending> endOf(FaultCell& cell, const Operation& operation)
{
    if (operation.isDone(cell)) {
        return kDone;
    }
    const auto said = saidOf(cell);
    if (said || cell.device.CommStatus() == DialogueNone) {
        return said;
    }
    if (operation.waits) {
        return kRefused;
    }
    return hasPolled(cell) ? std::optional(kNothing) : std::nullopt;
}

Result operate(FaultCell& cell, const Operation& operation)
{
    cell.Break();
    cell.Begin(operation.limit_s);
    operation.act(cell);
    auto ending = endOf(cell, operation);
    for (; !ending && !cell.isDead; ending = endOf(cell, operation)) {
        cell.Step();
    }
    return {cell.isDead ? kHangs : *ending, cell.Elapsed_s(), {}};
}

/// A broken line is shown as broken; a mended one comes back by itself, and so does a measurement.
bool isConnected(FaultCell& cell)
{
    const bool dead = cell.fault.strike == Strike::Unplug || cell.fault.rate == &simulator::Faults::silence;
    if (dead && !cell.StepUntil(9, [&] { return cell.view.dialogue == DialogueNone; })) {
        return false;
    }
    cell.Mend();
    return cell.StepUntil(20, [&] {
        return cell.Elapsed_s() > 1.0 && cell.view.dialogue != DialogueNone &&
               (!cell.loop.IsMeasuring() || cell.device.EventNr() == EventDistance);
    });
}

bool reads(FaultCell& cell)
{
    cell.window.told.clear();
    cell.Begin(4);
    cell.transfer.Download();
    const SensorSettings& shown = cell.view.sensor;
    return !cell.isDead && cell.window.told == "select 1273 " && cell.HasRead() &&
           shown.AverageDepth == cell.sensor.Parameter("301") &&
           shown.MovingAverage == (cell.sensor.Parameter("304") == 1) && shown.RedLaser == cell.sensor.IsMarkerOn();
}

bool measures(FaultCell& cell)
{
    if (!cell.loop.IsMeasuring()) {
        cell.loop.StartStop({});
    }
    return cell.StepUntil(4, [&] {
        return cell.device.EventNr() == EventDistance &&
               std::abs(cell.device.MeasValue_mm() - 3300 - cell.sensor.Parameter("701")) <= 1;
    });
}

bool stops(FaultCell& cell)
{
    cell.loop.PollTemperature(false);
    cell.loop.StartStop({});
    return cell.StepUntil(9, [&] { return hasPolled(cell) && !cell.sensor.IsMeasuring() && !cell.view.running; });
}

/// A distance text without its unit.
std::string wordOf(const std::string& distance)
{
    return distance.substr(0, distance.find(' '));
}

/// The file is still being written, and its playback shows every distance that was shown, in order.
bool isRecorded(FaultCell& cell)
{
    const bool goesOn = cell.recorder.Mode == RecorderRecording && cell.recorder.Lines() > cell.linesBefore;
    cell.recorder.Stop();
    EXPECT_TRUE(cell.recorder.FinishWriting(std::chrono::minutes(1))) << "a slow disk is not the fault";
    std::vector<std::string> shown, played;
    for (const std::string& distance : cell.view.distances) {
        // A temperature error that the sensor sends as a word is recorded as no echo.
        const bool inWords = distance == "TempError" && cell.device.Parameters().OutputFormat < FormatBinary;
        shown.push_back(inWords ? "No" : wordOf(distance));
    }
    clsHistory history;
    const auto show = [&](std::span<const Measurement> measurements, double) {
        for (const Measurement& measurement : measurements) {
            played.push_back(wordOf(DistanceText(measurement, '.')));
        }
    };
    const RecordPart whole{cell.recorder.FileName, false};
    const auto loaded =
        modPlayback::LoadData({&whole, 1}, cell.device.Parameters(),
                              {history, show, [](double) {}, [](double) { return true; }}, cell.recorder.Played);
    return goesOn && !cell.recorder.Failure() && loaded.outcome == modPlayback::Outcome::Complete && played == shown;
}

/// What the program has to do after every operation, in this order.
constexpr std::pair<bool (*)(FaultCell&), const char*> kAfterwards[] = {
    {isConnected, "is not connected again"},
    {reads, "cannot read the parameter set"},
    {measures, "does not measure"},
    {stops, "does not stop"},
    {isRecorded, "has not recorded what was shown"}};

bool isAllowed(const Ending& ending, const Operation& operation, std::size_t column, std::int32_t format)
{
    std::istringstream words(operation.allowed);
    std::string word;
    for (std::size_t i = 0; i <= column; ++i) {
        words >> word;
    }
    const auto binaryOnly = static_cast<char>(ending.letter - 'A' + 'a');
    return word.find(ending.letter) != word.npos || (format == FormatBinaryCrc && word.find(binaryOnly) != word.npos);
}

Result play(const Operation& operation, std::size_t column, std::int32_t format, std::size_t number)
{
    FaultCell cell(kFaults[column], format, number + 1);
    if (!cell.Configured() || !cell.Until([&cell] { return !cell.view.temperature.empty(); })) {
        return {{}, 0.0, "the sensor could not be read before"};
    }
    cell.Begin(60);
    cell.transfer.Download();
    cell.window.told.clear();
    cell.sensor.SetParameter("701", 55);
    cell.recorder.StartRecording();
    cell.view.distances.clear();
    if (operation.measuring) {
        cell.loop.StartStop({});
        if (!cell.StepUntil(60, [&cell] { return hasDistance(cell); })) {
            return {{}, 0.0, "the sensor did not measure before"};
        }
    }
    Result result = operate(cell, operation);
    if (!isAllowed(result.ending, operation, column, format)) {
        result.complaint = "ended as " + std::string(result.ending.text) + ", told \"" + cell.window.told + "\"";
    }
    for (const auto& [holds, complaint] : kAfterwards) {
        if (result.complaint.empty() && !holds(cell)) {
            result.complaint =
                std::string(complaint) + ", told \"" + cell.window.told + "\", shows \"" + cell.view.distance + "\"";
        }
    }
    return result;
}

using Matrix = std::array<std::array<Result, std::size(kFaults)>, std::size(kOperations)>;

void print(const Matrix& matrix, std::ostream& out)
{
    std::string names = "| |", line = "\n|---|";
    for (const Operation& operation : kOperations) {
        names += ' ' + std::string(operation.name) + " |";
        line += "---|";
    }
    out << names << line;
    for (std::size_t column = 0; column < std::size(kFaults); ++column) {
        out << "\n| " << kFaults[column].name << " |";
        for (const auto& row : matrix) {
            out << ' ' << row[column].ending.text << ", " << FixedText(row[column].seconds, 2, '.') << " s |";
        }
    }
    out << '\n';
}

/// Fixed, so that the chances of the others stay the same when a fault is added.
constexpr std::size_t kSeedsPerOperation = 17;

class FaultMatrix : public testing::TestWithParam<std::int32_t> {};

TEST_P(FaultMatrix, EveryOperationUnderEveryFaultEndsAndLeavesAProgramThatWorks)
{
    const std::string_view format = kOutputFormatTexts[static_cast<std::size_t>(GetParam())];
    Matrix matrix;
    for (std::size_t row = 0; row < std::size(kOperations); ++row) {
        for (std::size_t column = 0; column < std::size(kFaults); ++column) {
            const Result& cell = matrix[row][column] =
                play(kOperations[row], column, GetParam(), row * kSeedsPerOperation + column);
            EXPECT_EQ(cell.complaint, "") << kOperations[row].name << " x " << kFaults[column].name << ", " << format
                                          << ", " << cell.seconds << " s";
        }
    }
    if (const char* file = std::getenv("ORVEX_FAULT_MATRIX")) {
        std::ofstream out(file, std::ios::app);
        out << "A sensor that sends " << format << ":\n\n";
        print(matrix, out);
        out << '\n';
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, FaultMatrix, testing::Values(FormatAsciiUnit, FormatBinaryCrc));

} // namespace
