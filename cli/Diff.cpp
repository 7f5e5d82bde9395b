#include "cli/Diff.h"

#include "base/CodePage.h"
#include "base/PlainText.h"
#include "cli/clsProgram.h"
#include "cli/clsSensorRun.h"
#include "cli/modParameterRows.h"
#include "cli/modSensorSet.h"
#include "sensor/modCompare.h"

#include <algorithm>
#include <sstream>

namespace {

constexpr std::size_t kLongestSerial = 40;

/// The other side of the comparison.
struct Other {
    std::string name;
    ParameterSet set;
};

void checkUsage(const clsArguments& arguments)
{
    const std::size_t sides =
        arguments.Operands().size() + (arguments.Has("factory") ? 1 : 0) + (arguments.Has("backup") ? 1 : 0);
    if (sides != 1) {
        throw UsageError("diff takes a FILE, --factory or --backup");
    }
}

std::optional<Other> otherSide(clsProgram& program, const clsArguments& arguments, const ParameterSet& set,
                               const SensorIdentity& sensor)
{
    if (arguments.Has("factory")) {
        return Other{program.Text(TextId::CompareFactory), FactorySet(set)};
    }
    std::optional<std::filesystem::path> file;
    if (arguments.Has("backup")) {
        file = NewestBackup(program, sensor.SerialNo);
    } else {
        file = arguments.Operands().front();
    }
    const auto configuration = file ? ReadConfiguration(program, *file) : std::nullopt;
    return configuration ? std::optional(Other{file->string(), configuration->Parameters}) : std::nullopt;
}

/// "Parameter|Code|Unit|Factory" with the two sides before the last.
std::vector<std::string> columns(clsProgram& program, const std::string& left, const std::string& right)
{
    std::istringstream names(program.Text(TextId::CompareColumns));
    std::vector<std::string> fields;
    for (std::string name; std::getline(names, name, '|');) {
        fields.push_back(name);
    }
    fields.insert(fields.end() - 1, {left, right});
    return fields;
}

void printText(clsProgram& program, std::span<const ComparedRow> rows, std::vector<std::string> names)
{
    const auto shown = [&](const ParameterDef& row, std::optional<std::int32_t> value) {
        return value ? ShownValue(row, *value, '.', program.Language()) : std::string("-");
    };
    modRows::Rows lines{std::move(names)};
    for (const ComparedRow& compared : rows) {
        const ParameterDef& row = *compared.row;
        lines.push_back({CaptionOf(row, program.Language()), std::string(row.code), std::string(row.unit),
                         shown(row, compared.left), shown(row, compared.right), shown(row, compared.factory)});
    }
    if (lines.size() > 1) {
        modRows::PrintText(program, lines);
    }
}

void printCsv(clsProgram& program, std::span<const ComparedRow> rows)
{
    const auto data = [](const ParameterDef& row, std::optional<std::int32_t> value) {
        return value ? DataValue(row, *value) : std::string();
    };
    modRows::Rows lines{{"code", "key", "name", "unit", "sensor", "other", "factory"}};
    for (const ComparedRow& compared : rows) {
        const ParameterDef& row = *compared.row;
        lines.push_back({std::string(row.code), std::string(row.key), CaptionOf(row, program.Language()),
                         std::string(row.unit), data(row, compared.left), data(row, compared.right),
                         data(row, compared.factory)});
    }
    modRows::PrintCsv(program, lines);
}

void printJson(clsProgram& program, std::span<const ComparedRow> rows, const std::string& serial,
               const std::string& other)
{
    const auto json = [](const ParameterDef& row, std::optional<std::int32_t> value) {
        return value ? JsonValue(row, *value) : std::string("null");
    };
    std::vector<std::string> objects;
    for (const ComparedRow& compared : rows) {
        const ParameterDef& row = *compared.row;
        objects.push_back(modRows::Object({{"code", modRows::Quoted(row.code)},
                                           {"key", modRows::Quoted(row.key)},
                                           {"name", modRows::Quoted(CaptionOf(row, program.Language()))},
                                           {"unit", modRows::Quoted(row.unit)},
                                           {"sensor", json(row, compared.left)},
                                           {"other", json(row, compared.right)},
                                           {"factory", json(row, compared.factory)},
                                           {"differs", modRows::Truth(compared.Differs())}}));
    }
    program.PrintData(modRows::Object({{"serial", modRows::Quoted(serial)},
                                       {"other", modRows::Quoted(other)},
                                       {"parameters", modRows::Array(objects)}}));
}

} // namespace

int RunDiff(clsProgram& program, const clsArguments& arguments)
{
    const OutputKind format = modRows::FormatOf(arguments);
    checkUsage(arguments);
    // A file that is none need not wait for a sensor.
    if (!arguments.Operands().empty() && !ReadConfiguration(program, arguments.Operands().front())) {
        return ExitFailed;
    }
    clsSensorRun run(program);
    run.EndsWithOutput = false;
    ParameterSet set;
    int code = ConnectAndRead(program, run, set);
    if (code != ExitDone) {
        return code;
    }
    const SensorIdentity& sensor = run.Device().Identity();
    const auto other = otherSide(program, arguments, set, sensor);
    if (!other) {
        return ExitFailed;
    }
    std::vector<ComparedRow> rows = Compare(set, other->set);
    const std::size_t compared = rows.size();
    const auto differing = static_cast<std::size_t>(std::ranges::count_if(rows, &ComparedRow::Differs));
    if (!arguments.Has("all")) {
        std::erase_if(rows, [](const ComparedRow& row) { return !row.Differs(); });
    }
    const std::string serial = PlainText(Utf8Of(sensor.SerialNo), kLongestSerial);
    if (format == OutputKind::Json) {
        printJson(program, rows, serial, other->name);
    } else if (format == OutputKind::Csv) {
        printCsv(program, rows);
    } else {
        printText(program, rows, columns(program, program.Text(TextId::CompareSensor, {serial}), other->name));
    }
    program.Note(program.Text(TextId::CompareSummary, {std::to_string(differing), std::to_string(compared)}));
    if (!run.Leave()) {
        return ExitNoConnection;
    }
    return differing > 0 ? ExitRefused : ExitDone;
}
