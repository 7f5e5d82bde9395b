// Every operation of the program against every fault of the sensor and its line, over a real pseudo-terminal. Each cell
// has to end in time, say what is meant to be said, and leave a program whose next operations work.
#include "device/Parameters.h"
#include "shell/Numbers.h"
#include "tests/support/FaultCell.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <unistd.h>

namespace {

using simulator::clsSensorModel;

/// How an operation can end. The letters stand in the rows of the operations; a small one is allowed only with a sensor
/// that sends binary frames.
enum Outcome : char {
    Done = 'D',
    NoConnection = 'N', // "No connection to sensor", or the box with "No response"
    PortNotOpen = 'P',  // "Comport not open"
    Refused = 'R',      // the setting is taken back, or the box with "Invalid configuration code"
    Failed = 'F',       // the red text of the settings window
    Nothing = 'U',      // nothing is said; the sensor has answered the next poll
    Reconnected = 'L',  // the operation is lost, the dialogue has begun anew by itself
    Hangs = 'H',        // never allowed
};

std::string_view textOf(char outcome)
{
    switch (outcome) {
    case Done:
        return "done";
    case NoConnection:
        return "no connection";
    case PortNotOpen:
        return "port not open";
    case Refused:
        return "refused";
    case Failed:
        return "failed";
    case Nothing:
        return "no value";
    case Reconnected:
        return "begun anew";
    default:
        return "HANGS";
    }
}

/// Whether the idle sensor has just answered a poll.
bool hasPolled(FaultCell& cell)
{
    return cell.device.EventNr == EventTemperature && cell.device.CommStatus == DialogueIdle;
}

bool hasDistance(FaultCell& cell)
{
    return cell.device.EventNr == EventDistance;
}

bool hasStopped(FaultCell& cell)
{
    return hasPolled(cell) && !cell.view.running && !cell.SensorMeasures();
}

void pollTemperature(FaultCell& cell)
{
    cell.view.temperature.clear();
    cell.loop.PollTemperature(true);
}

bool hasTemperatureAndGoesOn(FaultCell& cell)
{
    return hasDistance(cell) && !cell.view.temperature.empty();
}

bool hasMarker(FaultCell& cell)
{
    return hasPolled(cell) && cell.InSensorNow([](const clsSensorModel& model) { return model.IsMarkerOn(); });
}

void changeAveraging(FaultCell& cell)
{
    cell.loop.ChangeSetting("301", &clsRVQ::AverageDepth, 3, [&cell] { cell.Step(); });
}

bool hasAveraging(FaultCell& cell)
{
    return cell.view.sensor.AverageDepth == 3 && cell.SensorHas("301") == 3;
}

void changeMovingAverage(FaultCell& cell)
{
    cell.loop.ChangeSetting("304", &clsRVQ::MovingAverage, 1, [&cell] { cell.Step(); });
}

bool hasMovingAverage(FaultCell& cell)
{
    return cell.view.sensor.MovingAverage && cell.SensorHas("304") == 1;
}

bool isDownloaded(FaultCell& cell)
{
    return cell.window.told == "select 1273 " && (cell.entry.Offset == 55 || cell.Falsifies());
}

void upload(FaultCell& cell)
{
    cell.entry.Offset = 77;
    cell.window.answers = {FailureAnswer::Retry, FailureAnswer::Retry, FailureAnswer::Retry};
    cell.transfer.Upload();
}

bool isUploaded(FaultCell& cell)
{
    return cell.window.told.ends_with("select 1274 ") && cell.SensorHas("701") == 77;
}

bool isStored(FaultCell& cell)
{
    return cell.window.told == "1271 " &&
           cell.InSensorNow([](const clsSensorModel& model) { return model.StoredParameter("701"); }) == 55;
}

bool isAtDefaults(FaultCell& cell)
{
    return cell.window.told.starts_with("1272 ") && cell.SensorHas("701") == 0;
}

void startStop(FaultCell& cell)
{
    cell.loop.StartStop({});
}

struct Operation {
    const char* name;
    bool measuring; ///< before it
    bool waits;     ///< it has ended when it returns
    double limit_s; ///< of the program's clock: the deadlines on its way, and a poll
    void (*act)(FaultCell&);
    bool (*isDone)(FaultCell&);
    const char* allowed; ///< outcomes, a word for each of kFaults in its order
};

// clang-format off
const Operation kOperations[] = {
    // none silence refusal late "too late" bytes burst garbage lost cut announcement unplug replug format
    {"start", false, false, 9, startStop, hasDistance,
     "D N D D D  D D D   D   D D  P DL N"},
    {"stop", true, false, 9, startStop, hasStopped,
     "D N D D DN D D DN  DN  D Dn P L  Nd"},
    {"single", false, false, 9, [](FaultCell& cell) { cell.loop.RequestSingleValue(); }, hasDistance,
     "D N D D D  D D DUn DUn D D  P L  N"},
    {"temperature", true, false, 9, pollTemperature, hasTemperatureAndGoesOn,
     "D N D D DN D D DN  DN  D Dn P DL N"},
    {"marker laser", false, false, 9, [](FaultCell& cell) { cell.loop.SwitchRedLaser(true); }, hasMarker,
     "D N D D DN D D DN  DN  D Dn P L  Nd"},
    {"averaging", false, true, 4, changeAveraging, hasAveraging,
     "D N R D DN D D DN  DN  D D  P L  D"},
    {"moving average", true, true, 4, changeMovingAverage, hasMovingAverage,
     "D N R D DN D D DN  DN  D D  P L  D"},
    {"download", false, true, 4, [](FaultCell& cell) { cell.transfer.Download(); }, isDownloaded,
     "D F D DF DF F D DF DF  F D  F F  D"},
    {"upload", true, true, 100, upload, isUploaded,
     "D N R DF DFN F D DF DF F D  N DN D"},
    {"store", false, true, 6, [](FaultCell& cell) { cell.transfer.StoreInSensor(); }, isStored,
     "D F F D DF D D DF DF   D D  F F  D"},
    {"defaults", true, true, 8, [](FaultCell& cell) { cell.transfer.SetDefaults(); }, isAtDefaults,
     "D F F D DF D D DF DF   D D  F F  D"},
};
// clang-format on

struct Result {
    char outcome = Hangs;
    double seconds = 0.0;
    std::string complaint; ///< empty: all well
};

/// What has been said of an operation that is not done; 0: nothing yet.
char saidOf(const FaultCell& cell)
{
    const std::string& told = cell.window.told;
    if (told.find("! ") != std::string::npos) {
        return Failed;
    }
    if (told.find("ask") != std::string::npos) {
        return told.ends_with("1292 ") ? NoConnection : Refused;
    }
    if (cell.HasSaid("Comport not open")) {
        return PortNotOpen;
    }
    if (cell.HasSaid("No connection to sensor")) {
        return NoConnection;
    }
    const bool anew = cell.device.Openings != cell.openingsBefore && cell.device.CommStatus != DialogueNone;
    return anew ? static_cast<char>(Reconnected) : '\0';
}

/// How the operation has ended; 0: it has not yet.
char endOf(FaultCell& cell, const Operation& operation)
{
    if (operation.isDone(cell)) {
        return Done;
    }
    const char said = saidOf(cell);
    if (said != '\0' || cell.device.CommStatus == DialogueNone) {
        return said;
    }
    if (operation.waits) {
        return Refused;
    }
    return hasPolled(cell) ? static_cast<char>(Nothing) : '\0';
}

Result operate(FaultCell& cell, const Operation& operation)
{
    Result result;
    cell.Break();
    cell.Begin(operation.limit_s);
    operation.act(cell);
    while (!cell.isDead) {
        result.outcome = endOf(cell, operation);
        if (result.outcome != '\0') {
            break;
        }
        result.outcome = Hangs;
        cell.Step();
    }
    result.seconds = cell.Elapsed_s();
    return result;
}

/// A dead line is shown as one; a mended one comes back by itself, and a measurement with it.
bool isConnected(FaultCell& cell)
{
    const bool dead = cell.fault.strike == Strike::Unplug || cell.fault.rate == &simulator::Faults::silence;
    if (dead && !cell.StepUntil(9, [&] { return cell.view.dialogue == DialogueNone; })) {
        return false;
    }
    cell.Mend();
    return cell.StepUntil(20, [&] {
        return cell.view.dialogue != DialogueNone && (!cell.loop.IsMeasuring() || cell.device.EventNr == EventDistance);
    });
}

bool reads(FaultCell& cell)
{
    cell.window.told.clear();
    cell.Begin(4);
    cell.transfer.Download();
    const SensorSettings& shown = cell.view.sensor;
    return !cell.isDead && cell.window.told == "select 1273 " && cell.entry.Offset == cell.SensorHas("701") &&
           shown.AverageDepth == cell.SensorHas("301") && shown.MovingAverage == (cell.SensorHas("304") == 1) &&
           shown.RedLaser == cell.InSensorNow([](const clsSensorModel& model) { return model.IsMarkerOn(); });
}

bool measures(FaultCell& cell)
{
    if (!cell.loop.IsMeasuring()) {
        cell.loop.StartStop({});
    }
    return cell.StepUntil(4, [&] {
        return cell.device.EventNr == EventDistance &&
               std::abs(cell.device.MeasValue_mm - 3300 - cell.SensorHas("701")) <= 1;
    });
}

bool stops(FaultCell& cell)
{
    cell.loop.PollTemperature(false);
    cell.loop.StartStop({});
    return cell.StepUntil(9, [&] { return hasPolled(cell) && !cell.SensorMeasures() && !cell.view.running; });
}

bool isAllowed(char outcome, const Operation& operation, std::size_t column, std::int32_t format)
{
    std::istringstream words(operation.allowed);
    std::string word;
    for (std::size_t i = 0; i <= column; ++i) {
        words >> word;
    }
    const auto binaryOnly = static_cast<char>(outcome - 'A' + 'a');
    return word.find(outcome) != word.npos || (format == FormatBinaryCrc && word.find(binaryOnly) != word.npos);
}

Result play(const Operation& operation, std::size_t column, std::int32_t format, std::size_t number)
{
    const auto link = std::filesystem::temp_directory_path() /
                      ("orvex-matrix-" + std::to_string(getpid()) + "-" + std::to_string(number));
    FaultCell cell(kFaults[column], format, link.string(), number + 1);
    if (!cell.Configured()) {
        return {.complaint = "the sensor could not be read before"};
    }
    cell.Begin(60);
    cell.transfer.Download();
    cell.window.told.clear();
    cell.InSensor("701", 55);
    if (operation.measuring) {
        cell.loop.StartStop({});
        if (!cell.StepUntil(60, [&cell] { return hasDistance(cell); })) {
            return {.complaint = "the sensor did not measure before"};
        }
    }
    Result result = operate(cell, operation);
    if (!isAllowed(result.outcome, operation, column, format)) {
        result.complaint = "ended as " + std::string(textOf(result.outcome)) + ", told \"" + cell.window.told + "\"";
    } else if (!isConnected(cell)) {
        result.complaint = "afterwards: not connected again";
    } else if (!reads(cell)) {
        result.complaint = "afterwards: cannot read the parameter set, told \"" + cell.window.told + "\"";
    } else if (!measures(cell)) {
        result.complaint = "afterwards: does not measure, shows \"" + cell.view.distance + "\"";
    } else if (!stops(cell)) {
        result.complaint = "afterwards: does not stop";
    }
    return result;
}

constexpr std::int32_t kFormats[] = {FormatAsciiUnit, FormatBinaryCrc};
using Matrix = std::array<std::array<Result, std::size(kFaults)>, std::size(kOperations)>;
using Matrices = std::array<Matrix, std::size(kFormats)>;

/// Most of a cell is waiting, so many are played at a time.
Matrices playAll()
{
    constexpr std::size_t kCells = std::size(kOperations) * std::size(kFaults);
    Matrices matrices;
    std::atomic<std::size_t> next = 0;
    const auto work = [&] {
        for (std::size_t i = next++; i < kCells * std::size(kFormats); i = next++) {
            const std::size_t row = i % kCells / std::size(kFaults), column = i % std::size(kFaults);
            matrices[i / kCells][row][column] = play(kOperations[row], column, kFormats[i / kCells], i);
        }
    };
    std::vector<std::jthread> players;
    for (int i = 0; i < 12; ++i) {
        players.emplace_back(work);
    }
    players.clear();
    return matrices;
}

void print(const Matrix& matrix, std::ostream& out)
{
    out << "| |";
    for (const Operation& operation : kOperations) {
        out << ' ' << operation.name << " |";
    }
    out << "\n|---|";
    for (std::size_t row = 0; row < matrix.size(); ++row) {
        out << "---|";
    }
    for (std::size_t column = 0; column < std::size(kFaults); ++column) {
        out << "\n| " << kFaults[column].name << " |";
        for (const auto& row : matrix) {
            out << ' ' << textOf(row[column].outcome) << ", " << FixedText(row[column].seconds, 2, '.') << " s |";
        }
    }
    out << '\n';
}

TEST(FaultMatrix, EveryOperationUnderEveryFaultEndsAndLeavesAProgramThatWorks)
{
    const char* file = std::getenv("ORVEX_FAULT_MATRIX");
    if (file == nullptr) {
        GTEST_SKIP() << "plays 308 cells in real time, for which it needs the machine to itself: scripts/fault-matrix";
    }
    const Matrices matrices = playAll();
    std::ofstream out(file);
    for (std::size_t i = 0; i < matrices.size(); ++i) {
        const std::string_view format = kOutputFormatTexts[static_cast<std::size_t>(kFormats[i])];
        for (std::size_t row = 0; row < matrices[i].size(); ++row) {
            for (std::size_t column = 0; column < std::size(kFaults); ++column) {
                const Result& cell = matrices[i][row][column];
                EXPECT_EQ(cell.complaint, "") << kOperations[row].name << " x " << kFaults[column].name << ", "
                                              << format << ", " << cell.seconds << " s";
            }
        }
        out << (i == 0 ? "" : "\n") << "A sensor that sends " << format << ":\n\n";
        print(matrices[i], out);
    }
}

} // namespace
