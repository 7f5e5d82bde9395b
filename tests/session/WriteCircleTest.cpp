// Every write under every fault, at each of its steps, over a real pseudo-terminal. What the report says is checked
// against the memory of the simulated sensor; and Undo has to lead back to it.
#include "sensor/Fields.h"
#include "session/clsTransfer.h"
#include "session/clsWriteKeeper.h"
#include "simulator/Parameters.h"
#include "tests/support/FullDisk.h"
#include "tests/support/SensorOnLine.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/clsRecordingTransferView.h"

#include <gtest/gtest.h>
#include <map>
#include <optional>

namespace {

using Memory = std::map<std::string, std::int32_t, std::less<>>;

struct CircleCell : SensorOnLine {
    clsRecordingTransferView window;
    Configuration entry;
    clsWriteKeeper keeper;
    TemporaryFolder folder;
    clsTransfer setUp{device, entry, window, [this] { Step(); }};
    clsTransfer transfer{device, entry, window, [this] { Step(); }, &keeper};
    std::function<void()> OnStep = [] {};
    double end_s = 0.0, now_s = 0.0;
    bool isDead = false;
    Memory atDump;  ///< what the sensor worked with when it was read last
    Memory removed; ///< what the first sensor works with, while another one is in its place

    CircleCell()
    {
        sensor.HoldDistance(3300.0);
        EXPECT_TRUE(Configured());
        Begin();
        for (const auto& [code, value] : Memory{{"701", 55}, {"802", 1005}, {"304", 1}, {"502", 9000}, {"603", 0}}) {
            sensor.SetParameter(code, value);
        }
        setUp.StoreInSensor();
        setUp.Download();
        loop.KeepWrites(keeper);
        loop.MayChangeWithoutBackup = [this](const auto&, auto) { return window.writesAnyway; };
        sensor.ClearWireLog();
    }
    void Begin()
    {
        end_s = now_s + 200.0;
        isDead = false;
    }
    void Step()
    {
        const std::size_t before = sensor.WireLog().size();
        Tick();
        if (sensor.WireLog().size() > before && sensor.WireLog().back() == "C") {
            atDump = Now();
        }
        OnStep();
        now_s += beat_s;
        if (now_s > end_s) {
            isDead = true;
            device.Wait().Ended = true;
        }
    }
    Memory Now() const
    {
        Memory memory;
        for (const ParameterDef& row : ParameterTable()) {
            if (IsShown(row, true)) {
                memory[std::string(row.code)] = sensor.Parameter(row.code);
            }
        }
        return memory;
    }
    Memory Stored() const
    {
        Memory memory = Now();
        for (auto& [code, value] : memory) {
            value = sensor.StoredParameter(code);
        }
        return memory;
    }
    bool HasSent(std::string_view code) const
    {
        return std::ranges::any_of(sensor.WireLog(), [&](const auto& command) { return command.starts_with(code); });
    }
    bool HasAsked() const { return window.told.find("ask") != std::string::npos; }
    std::size_t Frames() const
    {
        return static_cast<std::size_t>(
            std::ranges::count_if(sensor.WireLog(), [](const auto& command) { return command.size() > 1; }));
    }
};
using C = CircleCell;

Memory memoryOf(const ParameterSet& set)
{
    Memory memory;
    for (const ParameterDef& row : ParameterTable()) {
        if (IsShown(row, true)) {
            memory[std::string(row.code)] = set.*row.value;
        }
    }
    return memory;
}

ParameterSet changed(const ParameterSet& before)
{
    ParameterSet set = before;
    set.Offset = 123;
    set.AirPressure = 1021;
    set.AverageDepth = 3;
    return set;
}

void sendChosen(C& c)
{
    c.transfer.SendChosen(changed(c.device.Parameters()), {"802", "301", "701"});
}

struct Act {
    const char* name;
    bool measures;
    const char* code; ///< that a fault of one parameter is about
    void (*prepare)(C&);
    void (*act)(C&);
    /// What the sensor should work with afterwards.
    Memory (*target)(const C&, Memory before);
};

Memory changedMemory(const C&, Memory before)
{
    before["701"] = 123, before["802"] = 1021, before["301"] = 3;
    return before;
}

const Act kActs[] = {
    {"upload", true, "701", [](C&) {},
     [](C& c) {
         c.entry.Parameters = changed(c.device.Parameters());
         c.transfer.Upload();
     },
     changedMemory},
    {"chosen", false, "701", [](C&) {}, sendChosen, changedMemory},
    {"store", false, "999",
     [](C& c) {
         c.setUp.SendChosen(changed(c.device.Parameters()), {"701", "802"});
     },
     [](C& c) { c.transfer.StoreInSensor(); }, [](const C&, Memory before) { return before; }},
    {"defaults", true, "000", [](C&) {}, [](C& c) { c.transfer.SetDefaults(); },
     [](const C&, Memory before) {
         const auto factory = simulator::FactoryValues();
         for (auto& [code, value] : before) {
             value = factory[*simulator::FindParameter(code)];
         }
         return before;
     }},
    {"undo", false, "701", sendChosen, [](C& c) { c.transfer.UndoLast(); },
     [](const C& c, Memory) { return memoryOf(c.keeper.Undoable("004711")->before); }},
    {"single", true, "301", [](C&) {},
     [](C& c) { c.loop.ChangeSetting(&ParameterSet::AverageDepth, 3, [&c] { c.Step(); }); },
     [](const C&, Memory before) {
         before["301"] = 3;
         return before;
     }},
};

struct Trouble {
    const char* name;
    bool isMild;     ///< the write has to succeed, and to be called verified
    bool isStepwise; ///< strikes after each command in turn, else before the first one
    void (*strike)(C&, const Act&);
    bool losesMemory = false, isOther = false, isAnnounced = false;
    bool unplugs = false; ///< a frame may go into a line that is not there any more
};

void plugInAnother(C& c)
{
    c.removed = c.Now();
    c.sensor.SetSerialNo("004712");
    c.sensor.SetParameter("502", 1234);
}

const Trouble kTroubles[] = {
    {"nothing", true, false, [](C&, const Act&) {}},
    {"ignores one", false, false, [](C& c, const Act& act) { c.sensor.Faults().ignored = act.code; }},
    {"ignores all", false, false,
     [](C& c, const Act&) {
         c.OnStep = [&c, before = c.Now()] {
             for (const auto& [code, value] : before) {
                 c.sensor.SetParameter(code, value);
             }
         };
     }},
    {"rounds one", false, false, [](C& c, const Act& act) { c.sensor.Faults().rounded = act.code; }},
    {"refuses one", false, false, [](C& c, const Act& act) { c.sensor.Faults().refused = act.code; }},
    {"refuses one, ignored", false, false,
     [](C& c, const Act& act) {
         c.sensor.Faults().refused = act.code;
         c.window.answers = {FailureAnswer::Ignore};
     }},
    {"omits one", false, false, [](C& c, const Act& act) { c.sensor.Faults().omitted = act.code; }},
    {"omits an unchanged one", false, false, [](C& c, const Act&) { c.sensor.Faults().omitted = "501"; }},
    {"refuses the first", false, false, [](C& c, const Act&) { c.sensor.Faults().refused = "101"; }},
    {"loses its memory", false, true, [](C& c, const Act&) { c.sensor.LoseMemory(); }, true},
    {"restarts", false, true, [](C& c, const Act&) { c.PowerOn(); }, true, false, true},
    {"restarts, retried", false, true,
     [](C& c, const Act&) {
         c.PowerOn();
         c.window.answers = {FailureAnswer::Retry};
     },
     true, false, true},
    {"unplugged", false, true, [](C& c, const Act&) { c.Unplug(); }, false, false, false, true},
    {"unplugged, ignored", false, true,
     [](C& c, const Act&) {
         c.Unplug();
         c.window.answers.assign(30, FailureAnswer::Ignore);
     },
     false, false, false, true},
    {"replugged", false, true,
     [](C& c, const Act&) {
         c.Unplug();
         c.Replug();
     },
     false, false, false, true},
    {"another, on a new port", false, true,
     [](C& c, const Act&) {
         c.Unplug();
         plugInAnother(c);
         c.Replug();
     },
     false, true, false, true},
    {"another, on the same port", false, true, [](C& c, const Act&) { plugInAnother(c); }, false, true},
    {"silent", false, true, [](C& c, const Act&) { c.sensor.Faults().silence = 1; }},
    {"late", true, false, [](C& c, const Act&) { c.sensor.Faults().slow = 1; }},
    {"first dump false", true, false,
     [](C& c, const Act&) {
         c.sensor.Faults().falsedump = 1;
         c.OnStep = [&c] { c.sensor.Faults().falsedump = c.HasSent("C") ? 0 : 1; };
     }},
    {"first dump back false", true, false,
     [](C& c, const Act&) {
         c.OnStep = [&c] {
             const auto dumps = std::ranges::count(c.sensor.WireLog(), "C");
             c.sensor.Faults().falsedump = c.Frames() > 0 && (dumps == 0 || c.sensor.WireLog().back() != "C") ? 1 : 0;
         };
     }},
    {"first dump cut", true, false,
     [](C& c, const Act&) {
         c.sensor.Faults().cutdump = 1;
         c.OnStep = [&c] { c.sensor.Faults().cutdump = c.HasSent("C") ? 0 : 1; };
     }},
    {"every dump false", false, false, [](C& c, const Act&) { c.sensor.Faults().falsedump = 1; }},
    {"every dump cut", false, false, [](C& c, const Act&) { c.sensor.Faults().cutdump = 1; }},
};

/// What is wrong with a report; empty when it is true. `memory` is what the sensor works with now.
std::string untruth(const WriteReport& report, C& cell, const Memory& target, const Trouble& trouble)
{
    const Memory before = memoryOf(report.before), memory = report.isReadBack ? cell.atDump : cell.Now();
    Memory readBack = memoryOf(report.after);
    if (const std::string& omitted = cell.sensor.Faults().omitted; readBack.contains(omitted)) {
        readBack[omitted] = memory.at(omitted); // about which the report may not say anything
        if (report.result == WriteResult::Verified && cell.HasSent(omitted)) {
            return omitted + " is called verified, but was not read back";
        }
    }
    if (report.isReadBack && readBack != memory) {
        return "what was read back is not in the sensor";
    }
    std::map<std::string, ValueReport, std::less<>> named;
    int lost = 0; // in a line that was not there any more
    for (const ValueReport& value : report.values) {
        const std::string code(value.row->code);
        named[code] = value;
        if (value.before != before.at(code) || (value.readBack && *value.readBack != memory.at(code))) {
            return code + ": before or read back is wrong";
        }
        const bool isNow = memory.at(code) == value.wanted, wasBefore = memory.at(code) == value.before;
        const bool isHere = report.isReadBack; // else nothing is known of the sensor's memory
        switch (value.outcome) {
        case ValueOutcome::Taken:
            if (!isHere || !isNow) {
                return code + " is called taken";
            }
            break;
        case ValueOutcome::Rounded:
            if (!isHere || isNow || wasBefore) {
                return code + " is called rounded";
            }
            break;
        case ValueOutcome::Ignored:
            if (!isHere || !wasBefore) {
                return code + " is called ignored";
            }
            break;
        case ValueOutcome::Refused:
            if (cell.sensor.Faults().refused != code && !trouble.isAnnounced) {
                return code + " is called refused";
            }
            break;
        case ValueOutcome::Unanswered:
            lost += cell.HasSent(code) ? 0 : 1;
            if (lost > (trouble.unplugs ? 1 : 0)) {
                return code + " is called unanswered";
            }
            break;
        case ValueOutcome::NotSent:
            if (cell.HasSent(code)) {
                return code + " is called not sent";
            }
            break;
        case ValueOutcome::Unasked:
            if (!isHere || wasBefore) {
                return code + " is called changed";
            }
            break;
        case ValueOutcome::Unknown:
            if (value.readBack || !cell.HasSent(code)) {
                return code + " is called unknown";
            }
            break;
        }
    }
    for (const auto& [code, value] : memory) {
        const bool isDone = value == target.at(code) && value == before.at(code);
        if (report.isReadBack && !isDone && !named.contains(code) && report.kind != WriteKind::Defaults) {
            return code + " is not named";
        }
        if (report.isReadBack && value != before.at(code) && !named.contains(code)) {
            return code + " has changed and is not named";
        }
    }
    if (report.result == WriteResult::Verified && (memory != target || trouble.isOther)) {
        const bool isOverBefore = trouble.isOther && report.isReadBack && report.isSameSensor && memory == target;
        if (!isOverBefore) {
            return "is called verified";
        }
    }
    if (report.result != WriteResult::Failed && (report.sent < report.frames || !report.isReadBack)) {
        return "is not called failed";
    }
    if (report.hasRestarted && !trouble.losesMemory) {
        return "is called restarted";
    }
    // Whether an acknowledged storing was done, nobody can read back; its text claims no more.
    const bool isStoring = report.kind == WriteKind::Store && report.sent == report.frames;
    if (report.isReadBack && cell.Stored() != memory && !isStoring && !report.isUnstored && !trouble.isAnnounced) {
        return "says nothing of what is not stored";
    }
    if (!report.isSameSensor && !trouble.isOther) {
        return "takes the sensor for another one";
    }
    return {};
}

void mend(C& cell)
{
    cell.OnStep = [] {};
    cell.sensor.Faults() = {};
    cell.Begin();
    if (!cell.removed.empty()) { // the first sensor comes back
        cell.Unplug();
        EXPECT_TRUE(cell.Until([&] { return !cell.device.PortIsOpen(); }));
        cell.sensor.SetSerialNo("004711");
        for (const auto& [code, value] : cell.removed) {
            cell.sensor.SetParameter(code, value);
        }
    }
    cell.Replug();
    const bool isBack = cell.Until([&] {
        return cell.device.CommStatus() != DialogueNone && cell.device.Parameters().Offset < 100000 &&
               (!cell.loop.IsMeasuring() || cell.device.EventNr() == EventDistance);
    });
    EXPECT_TRUE(isBack) << "the sensor, or its measurement, does not come back";
}

/// One write that is struck after so many commands. False when it was over before.
bool play(const Act& act, const Trouble& trouble, std::size_t step)
{
    CircleCell cell;
    act.prepare(cell);
    if (act.measures) {
        cell.loop.StartStop({});
        EXPECT_TRUE(cell.UntilEvent(EventDistance));
    }
    const Memory target = act.target(cell, cell.Now());
    cell.sensor.ClearWireLog();
    cell.window.report.reset();
    cell.window.told.clear();
    const double start = cell.device.CurrentTime();
    bool isStruck = !trouble.isStepwise || step == 0;
    if (isStruck) {
        trouble.strike(cell, act);
    } else {
        cell.OnStep = [&] {
            if (!isStruck && cell.sensor.WireLog().size() >= step) {
                isStruck = true;
                trouble.strike(cell, act);
            }
        };
    }
    cell.Begin();
    act.act(cell);
    const bool isSingle = act.target == kActs[5].target;
    const bool isNoted = cell.keeper.Last() != nullptr && cell.keeper.Last()->time > start;
    if (isSingle && isNoted) {
        cell.window.report = *cell.keeper.Last();
    }
    const std::string name = std::string(act.name) + ", " + trouble.name + " after " + std::to_string(step);
    SCOPED_TRACE(name + ", told \"" + cell.window.told + "\"");
    EXPECT_FALSE(cell.isDead);
    EXPECT_TRUE(isNoted == (cell.Frames() > 0) || trouble.unplugs);
    if (!cell.window.report) {
        EXPECT_EQ(cell.Frames(), 0U) << "no report";
        return isStruck;
    }
    const WriteReport report = *cell.window.report;
    EXPECT_EQ(untruth(report, cell, target, trouble), "");
    if (trouble.isMild) {
        EXPECT_EQ(report.result, WriteResult::Verified);
        EXPECT_EQ(cell.Now(), target);
    }
    mend(cell);
    const Memory before = memoryOf(report.before);
    if (cell.Now() != before && !cell.isDead) {
        const WriteReport* undo = cell.keeper.Undoable(report.serialNo);
        EXPECT_TRUE(undo != nullptr) << "nothing to undo";
        cell.Begin();
        cell.transfer.UndoLast();
        EXPECT_EQ(cell.Now(), before) << "undone";
        EXPECT_TRUE(cell.window.report && cell.window.report->result == WriteResult::Verified) << "undone";
    }
    return isStruck;
}

TEST(WriteCircle, EveryReportIsTrueAndUndoLeadsBack)
{
    int cells = 0;
    for (const Act& act : kActs) {
        for (const Trouble& trouble : kTroubles) {
            std::size_t step = 0;
            while (play(act, trouble, step) && trouble.isStepwise && step < 60) {
                ++step;
            }
            EXPECT_LT(step, 60U);
            cells += static_cast<int>(step) + 1;
        }
    }
    RecordProperty("cells", cells);
}

TEST(WriteCircle, OneThresholdAndStoringItAreTwoFramesBesidesReading)
{
    CircleCell cell;
    ParameterSet target = cell.device.Parameters();
    target.S1OnThreshold = 12000;
    cell.transfer.SendChosen(target, {"501"});
    EXPECT_TRUE(cell.window.report->isUnstored);
    cell.transfer.StoreInSensor();
    EXPECT_FALSE(cell.window.report->isUnstored);
    EXPECT_EQ(cell.TakeLog(), "C|501 12000\r|C|C|999 \r|C");
    EXPECT_EQ(cell.sensor.StoredParameter("501"), 12000);

    // Storing leaves the write before it to Undo, which does not touch what is stored; and it can be undone itself.
    cell.transfer.UndoLast();
    EXPECT_EQ(cell.sensor.Parameter("501"), 10000);
    EXPECT_TRUE(cell.window.report->isUnstored);
    EXPECT_EQ(cell.sensor.StoredParameter("501"), 12000);
    cell.transfer.UndoLast();
    EXPECT_EQ(cell.sensor.Parameter("501"), 12000);
}

TEST(WriteCircle, AFailureThatWasRetriedIsNoReason)
{
    CircleCell cell;
    cell.sensor.Faults().refused = "301";
    cell.window.answers = {FailureAnswer::Retry, FailureAnswer::Retry};
    cell.OnStep = [&] {
        if (cell.HasAsked()) {
            cell.sensor.Faults() = {.cutdump = 1};
        }
    };
    sendChosen(cell);
    EXPECT_EQ(cell.window.report->sent, 3U);
    EXPECT_FALSE(cell.window.report->isReadBack);
    EXPECT_EQ(cell.window.report->reason, TextId::TransferNoResponse);
}

TEST(WriteCircle, WhatWasSentBeforeARestartIsNotForgotten)
{
    CircleCell cell;
    bool isStruck = false;
    cell.OnStep = [&] {
        if (!isStruck && cell.HasSent("701")) {
            isStruck = true;
            cell.PowerOn();
            cell.sensor.Faults().silence = 1;
            cell.window.answers = {FailureAnswer::Retry};
        }
        if (isStruck && !cell.device.UnstoredChanges()) {
            cell.Unplug();
        }
    };
    sendChosen(cell);
    ASSERT_NE(cell.keeper.Last(), nullptr);
    EXPECT_EQ(cell.keeper.Last()->result, WriteResult::Failed);
}

TEST(WriteCircle, WhenNothingWasSentTheEntryHasTheSensorsValues)
{
    CircleCell cell;
    cell.entry.Parameters = changed(cell.device.Parameters());
    plugInAnother(cell);
    cell.transfer.Upload();
    EXPECT_EQ(cell.Frames(), 0U);
    EXPECT_EQ(memoryOf(cell.entry.Parameters), cell.Now());
}

TEST(WriteCircle, CancelLeavesTheRestUnsent)
{
    CircleCell cell;
    cell.window.told.clear();
    cell.OnStep = [&] {
        if (cell.HasSent("301")) {
            cell.transfer.Cancel();
        }
    };
    sendChosen(cell);
    EXPECT_EQ(cell.TakeLog(), "C|301 256\r|C");
    EXPECT_EQ(cell.window.TakeTold(), "!1361:1732 ");
    const WriteReport& report = *cell.window.report;
    EXPECT_TRUE(report.isCancelled);
    EXPECT_EQ(report.result, WriteResult::Failed);
    EXPECT_EQ(report.sent, 1U);
    EXPECT_EQ(report.values[0].outcome, ValueOutcome::Taken);
    EXPECT_EQ(report.values[1].outcome, ValueOutcome::NotSent);
}

TEST(WriteCircle, WithoutABackupNothingIsSentUnlessItIsAllowed)
{
    for (const Act& act : kActs) {
        for (const bool isAllowed : {false, true}) {
            SCOPED_TRACE(act.name);
            CircleCell cell;
            act.prepare(cell);
            const Memory before = cell.Now(), target = act.target(cell, before);
            cell.sensor.ClearWireLog();
            cell.keeper.Keep({.backups = cell.folder.path, .passports = {}, .user = {}, .version = {}});
            cell.window.writesAnyway = isAllowed;
            cell.window.report.reset();
            {
                const FullDisk full;
                act.act(cell);
            }
            EXPECT_EQ(cell.Now(), isAllowed ? target : before);
            EXPECT_EQ(cell.Frames() > 0, isAllowed);
            if (const auto& report = cell.window.report) {
                EXPECT_TRUE(report->noBackup);
                EXPECT_EQ(report->result, isAllowed ? WriteResult::Verified : WriteResult::Failed);
                EXPECT_EQ(report->reason, isAllowed ? TextId::None : TextId::TransferNoBackup);
            }
        }
    }
}

} // namespace
