// Recordings (*.rec): the reader's short cut for the usual line agrees with the plain way, playback and table hold what
// a plain reading accepts, and what is shown reads back the same after it is written. Input: how often the text is
// repeated in the file; half the number of blanks that each \1 in it stands for; the text.
#include "fuzz/FuzzFolder.h"
#include "fuzz/FuzzInput.h"
#include "session/modPlayback.h"
#include "store/clsRecordReader.h"
#include "store/modCsvExport.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <string>
#include <vector>

namespace {

constexpr std::int32_t kMillimetres = 0;               // a unit in which a value is a number of millimetres
constexpr std::size_t kLargest = std::size_t{1} << 18; // a few of the reader's blocks

std::string fileOf(FuzzInput& input)
{
    const std::size_t copies = std::max<std::size_t>(input.Byte(), 1);
    const std::size_t blanks = (input.Byte() * std::size_t{256} + input.Byte()) * 2;
    std::string text;
    for (const char c : input.Rest()) {
        text += c == '\1' ? std::string(text.size() < kLargest / 2 ? blanks : 0, ' ') : std::string(1, c);
    }
    std::string file;
    for (std::size_t i = 0; i < copies && (i == 0 || file.size() + text.size() <= kLargest); ++i) {
        file += text;
    }
    return file;
}

struct Line {
    bool readable = false;
    modRecordLine::RecordedValue value;
    std::string temperature; ///< that of `value`, which only points into its line
};

/// The lines of a recording, read without remembering anything but the date.
std::vector<Line> plainLines(std::string_view bytes)
{
    std::vector<Line> lines;
    modRecordLine::clsLineParser parser;
    while (!bytes.empty()) {
        const std::string_view whole = bytes.substr(0, bytes.find('\n'));
        bytes.remove_prefix(std::min(bytes.size(), whole.size() + 1));
        const std::string_view text = whole.substr(0, whole.size() - (whole.ends_with('\r') ? 1 : 0));
        Line line;
        line.readable = text.size() <= clsRecordReader::kLongestLine && parser.Parse(text, line.value);
        line.temperature = line.readable ? line.value.temperature : std::string_view();
        lines.push_back(line);
    }
    return lines;
}

void requireSame(const Line& line, const modRecordLine::RecordedValue& value)
{
    Require(line.readable && std::isfinite(value.time));
    Require(line.value.time == value.time && line.value.kind == value.kind);
    Require(line.value.kind != MeasurementKind::Distance || line.value.value_mm == value.value_mm);
    Require(line.temperature == value.temperature);
}

void checkReader(const std::string& file, std::size_t size, const std::vector<Line>& lines)
{
    clsRecordReader reader(file);
    std::uint64_t position = 0;
    std::size_t number = 0;
    for (RecordStep step = reader.Next(); step != RecordStep::End; step = reader.Next()) {
        Require(reader.Position() >= position && reader.Position() <= size && reader.Fraction() <= 1.0);
        position = reader.Position();
        number += step == RecordStep::Skipped ? 0 : 1;
        Require(number <= lines.size() && reader.LineNumber() == static_cast<std::int64_t>(number));
        if (step == RecordStep::Value) {
            requireSame(lines[number - 1], reader.Value());
        } else {
            Require(!lines[number - 1].readable);
        }
    }
    Require(number == lines.size() && reader.Position() == size);
}

/// A recording that is written and read again looks the same on the screen.
void checkWriting(const Measurement& shown, std::string_view temperature)
{
    if (!modRecordLine::HasTemperature(temperature) || shown.time < kFirstDay || shown.time >= kEndOfDays) {
        return;
    }
    std::string text = modRecordLine::RecordLine(shown, temperature);
    Require(text.ends_with("C\r\n") && std::ranges::count(text, '\n') == 1);
    text.resize(text.size() - 2);
    modRecordLine::clsLineParser parser;
    modRecordLine::RecordedValue value;
    Require(parser.Parse(text, value));
    Require(value.time <= shown.time + 1e-9 && shown.time - value.time < 2.0 / kMsPerDay);
    const bool isDistance = KindOf(shown) == MeasurementKind::Distance && shown.value_mm != 0;
    Require(isDistance == (value.kind == MeasurementKind::Distance));
    Require(!isDistance || value.value_mm == shown.value_mm);
    const auto isSame = [](char written, char c) { return written == c || written == '?'; };
    Require(std::ranges::equal(value.temperature.substr(0, value.temperature.find(' ')),
                               temperature.substr(0, temperature.find(' ')), isSame));
}

void checkPlayback(const std::string& file, const std::vector<Line>& lines)
{
    ParameterSet set;
    set.DistanceUnit = kMillimetres;
    std::string temperature;
    std::size_t shown = 0;
    std::vector<FileHandle> played;
    const auto check = [&](const Measurement& record) {
        Require(shown < lines.size() && lines[shown].readable);
        const modRecordLine::RecordedValue& value = lines[shown].value;
        Require(record.time == value.time && record.value == record.value_mm);
        Require(value.kind != MeasurementKind::Distance || record.value_mm == value.value_mm);
        if (!lines[shown].temperature.empty()) {
            temperature = lines[shown].temperature;
        }
        ++shown;
        checkWriting(record, temperature);
    };
    const auto show = [&](std::span<const Measurement> records, double) { std::ranges::for_each(records, check); };
    clsHistory history;
    const RecordPart whole{file, false};
    const modPlayback::Loaded loaded = modPlayback::LoadData(
        {&whole, 1}, set, {history, show, [](double) {}, [](double read) { return read <= 1.0; }}, played);
    const auto unreadable = std::ranges::find(lines, false, &Line::readable);
    Require(shown == static_cast<std::size_t>(unreadable - lines.begin()));
    Require((loaded.outcome == modPlayback::Outcome::Complete) == (unreadable == lines.end()));
    Require(std::isfinite(modPlayback::TimeAxisOf(loaded).origin));
}

void checkTable(const std::string& file, const std::vector<Line>& lines)
{
    std::string table;
    const auto write = [&table](std::string_view piece) {
        table += piece;
        return true;
    };
    const auto exported =
        modCsvExport::ExportCsv(file, {';', '.', false}, "a|b|c|d", {write, [](double) { return true; }});
    FuzzInput rows(reinterpret_cast<const std::uint8_t*>(table.data()), table.size());
    Require(rows.Until('\n') == "a;b;c;d\r" && exported.finished);
    const auto readable = std::ranges::count(lines, true, &Line::readable);
    Require(exported.rows == readable && exported.unreadable == std::ssize(lines) - readable);
    for (const Line& line : lines) {
        if (!line.readable) {
            continue;
        }
        const std::string_view row = rows.Until('\n');
        Require(row.ends_with('\r') && std::ranges::count(row, ';') == 3);
        FuzzInput fields(reinterpret_cast<const std::uint8_t*>(row.data()), row.size());
        fields.Until(';');
        const std::string_view distance = fields.Until(';');
        Require(distance.empty() ||
                (line.value.kind == MeasurementKind::Distance && distance == std::to_string(line.value.value_mm)));
    }
    Require(rows.IsEmpty());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const FuzzFolder folder;
    FuzzInput input(data, size);
    const std::string bytes = fileOf(input);
    const std::string file = folder.Put("x.rec", bytes);
    const std::vector<Line> lines = plainLines(bytes);
    checkReader(file, bytes.size(), lines);
    checkPlayback(file, lines);
    checkTable(file, lines);
    return 0;
}
