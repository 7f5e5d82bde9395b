// Whatever the program writes, a SIGKILL at any moment leaves the old or the new file, whole, and never undoes what was
// already written. ORVEX_KILLS sets the number of kills of each test; with ORVEX_CRASH_TABLE, each adds its row to that
// file.
#include "base/modFiles.h"
#include "sensor/Parameters.h"
#include "session/clsRecorder.h"
#include "store/Configuration.h"
#include "store/modConfigFile.h"
#include "store/modGlobals.h"
#include "store/modRecordLine.h"
#include "tests/support/KilledChild.h"
#include "tests/support/Settle.h"
#include "tests/support/TemporaryFolder.h"
#include "ui/chart/XYChart.h"
#include "ui/recorder/Export.h"
#include "ui/recorder/ExportPicture.h"
#include "ui/widgets/Localise.h"

#include <QApplication>
#include <QImage>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <tuple>

namespace {

namespace fs = std::filesystem;

/// Kills while files of one kind are written, and counts what they did.
class CrashSafety : public testing::Test {
protected:
    const TemporaryFolder folder;

    /// Kills `work` again and again; `check` looks at what is left and gets the number of calls that had returned.
    void Repeat(int usual, const std::function<void(int)>& work, const std::function<void(int)>& check)
    {
        const char* const wanted = std::getenv("ORVEX_KILLS");
        const int rounds = wanted != nullptr ? std::atoi(wanted) : usual;
        std::mt19937 random(5);
        std::uniform_real_distribution<double> moment(0.0, 2.0);
        for (int round = 0; round < rounds && !HasFatalFailure(); ++round) {
            const std::size_t before = filesIn();
            const int done = KillAmid(moment(random), work);
            ASSERT_GT(done, 0) << "round " << round;
            ++m_kills;
            m_calls += done;
            check(done);
            m_torn += filesIn() > std::max<std::size_t>(before, 1) ? 1 : 0;
        }
    }

    /// The next save, a minute later, deletes the temporary files that the kills have left.
    void LeftoversGoWith(const std::function<bool(int)>& save, const char* kind) const
    {
        for (const auto& entry : fs::directory_iterator(folder.path)) {
            fs::last_write_time(entry, fs::file_time_type::clock::now() - std::chrono::minutes(2));
        }
        EXPECT_TRUE(save(-1));
        EXPECT_EQ(filesIn(), 1U);
        Print(kind, "a temporary file; the next save after a minute deletes it");
    }

    void Print(const char* kind, const char* left) const
    {
        if (const char* const table = std::getenv("ORVEX_CRASH_TABLE")) {
            std::ofstream(table, std::ios::app)
                << "| " << kind << " | " << m_kills << " | " << m_calls << " | "
                << (m_torn > 0 ? std::to_string(m_torn) : "-") << " | " << left << " |\n";
        }
    }

private:
    std::size_t filesIn() const
    {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder.path), {}));
    }

    int m_kills = 0, m_calls = 0, m_torn = 0;
};

TEST_F(CrashSafety, Settings)
{
    const std::string others = "[other]\r\nlast=" + std::string(20000, 'z') + "\r\n";
    const std::string file = folder.Write("RVQ.ini", others);
    const auto save = [&file](int i) {
        modGlobals::Settings settings{
            .IniFile = file, .Baudrate = 10000 + i, .Comport = i, .yMax = 1.0 * i, .yMin = -1.0 * i};
        return !modGlobals::SaveGlobalSettings(settings);
    };
    Repeat(100, save, [&](int done) {
        const modGlobals::Settings read = modGlobals::LoadGlobalSettings(file, '.');
        // Both sections are written in one step.
        ASSERT_TRUE(read.Comport == done || read.Comport == done + 1) << read.Comport << " after " << done;
        ASSERT_EQ(read.Baudrate, 10000 + read.Comport);
        ASSERT_EQ(read.yMax, read.Comport);
        ASSERT_EQ(read.yMin, -read.yMax);
        ASSERT_TRUE(TemporaryFolder::Read(file).starts_with(others));
    });
    LeftoversGoWith(save, "settings, `RVQ.ini`");
}

TEST_F(CrashSafety, Configurations)
{
    const std::string file = folder.path / "a.rvq";
    const auto save = [&file](int i) {
        Configuration configuration;
        configuration.FileName = file;
        configuration.Description = std::to_string(i);
        for (const ParameterDef& row : ParameterTable()) {
            configuration.Parameters.*row.value = i;
        }
        return modConfigFile::Write(configuration);
    };
    Repeat(100, save, [&](int done) {
        Configuration read;
        read.FileName = file;
        modConfigFile::Read(read);
        ASSERT_TRUE(read.Description == std::to_string(done) || read.Description == std::to_string(done + 1));
        for (const ParameterDef& row : ParameterTable()) {
            ASSERT_TRUE(row.group == ParameterGroup::SerialOnly ||
                        std::to_string(read.Parameters.*row.value) == read.Description);
        }
    });
    LeftoversGoWith(save, "configurations, `*.rvq`");
}

TEST_F(CrashSafety, Recordings)
{
    const Measurement value{.value = 1234.0, .value_mm = 1234, .unit = 1, .outputFormat = 1, .time = 46341.5};
    const std::string temperature = "23 C,  OK";
    const std::string line = modRecordLine::RecordLine(value, temperature);
    constexpr std::size_t kValuesOfTick = 3;
    const fs::path file = folder.path / "SAVE0001.rec";
    clsRecorder recorder(folder.path);
    const auto record = [&](int i) {
        if (i == 1) {
            recorder.StartRecording();
        }
        recorder.Record(std::vector(kValuesOfTick, value), temperature);
        Settled(recorder); // as before the next tick
    };
    Repeat(200, record, [&](int done) {
        // The system may have taken the current line up to the end of a page.
        const std::string bytes = TemporaryFolder::Read(file);
        ASSERT_GE(bytes.size(), line.size() * kValuesOfTick * static_cast<std::size_t>(done));
        std::string lines;
        while (lines.size() < bytes.size()) {
            lines += line;
        }
        ASSERT_TRUE(lines.starts_with(bytes));
        fs::remove(file);
    });
    Print("recordings, `*.rec`", "nothing; the file ends behind a line or within the last tick's");
}

/// A program without a display. Call it in the child only, which never destroys static objects.
void needWindows()
{
    static int count = 1;
    static char name[] = "crash";
    static char* arguments[] = {name, nullptr};
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static const QApplication application(count, arguments);
}

TEST_F(CrashSafety, Tables)
{
    const TemporaryFolder source;
    std::string recordings[2], tables[2], lines;
    for (int i = 0; i < 2; ++i) {
        for (int line = 1; line <= 3000; ++line) {
            lines += "15.11.2026 12:00:00,000; " + std::to_string(line) + " mm; 23 \xB0\x43\r\n";
        }
        recordings[i] = source.Write(i == 0 ? "short.rec" : "long.rec", lines);
        const auto write = [&](std::string_view piece) { return !tables[i].append(piece).empty(); };
        modCsvExport::ExportCsv(recordings[i], modCsvExport::kGermanSpreadsheet,
                                Text(TextId::ExportColumns, 0).toStdString(), {write, [](double) { return true; }});
    }
    const std::string file = folder.path / "table.csv";
    const auto write = [&](int i) {
        needWindows();
        static QWidget owner;
        WriteTable(owner, QString::fromStdString(recordings[i % 2]), QString::fromStdString(file),
                   modCsvExport::kGermanSpreadsheet, 0);
    };
    Repeat(15, write, [&](int done) {
        const std::string found = TemporaryFolder::Read(file);
        ASSERT_TRUE(found == tables[done % 2] || found == tables[(done + 1) % 2]) << found.size();
    });
    Print("tables, `*.csv`", "the unfinished table beside the other, `NAME.csv.XXXXXX`, for the user to delete");
}

TEST_F(CrashSafety, Pictures)
{
    struct Row {
        std::string kind;
        const char *head, *tail;
    };
    for (const Row& row : {Row{"png", "\x89PNG", "IEND\xAE\x42\x60\x82"}, Row{"svg", "<?xml", "</svg>\n"},
                           Row{"pdf", "%PDF", "%%EOF\n"}}) {
        const std::string file = folder.path / ("chart." + row.kind);
        const auto write = [&](int i) {
            needWindows();
            static XYChart chart(nullptr);
            chart.resize(400 + i % 2 * 100, 300);
            WritePicture(chart, QString::fromStdString(file), row.kind.c_str());
        };
        Repeat(6, write, [&](int) {
            const std::string found = TemporaryFolder::Read(file);
            ASSERT_TRUE(found.starts_with(row.head) && found.ends_with(row.tail)) << file;
            ASSERT_TRUE(row.kind != "png" || !QImage(QString::fromStdString(file)).isNull());
        });
    }
    Print("pictures, `*.png`, `*.svg`, `*.pdf`", "the unfinished picture, `NAME.png.XXXXXX`, for the user to delete");
}

} // namespace
