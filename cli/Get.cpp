#include "cli/Get.h"

#include "base/CodePage.h"
#include "base/PlainText.h"
#include "cli/clsProgram.h"
#include "cli/clsSensorRun.h"
#include "cli/modParameterRows.h"
#include "cli/modSensorSet.h"
#include "sensor/Fields.h"
#include "sensor/modCompare.h"
#include "session/modReportText.h"

#include <algorithm>

namespace {

constexpr std::size_t kLongestSerial = 40;

using RowList = std::vector<const ParameterDef*>;

void printText(clsProgram& program, const RowList& rows, const ParameterSet& set)
{
    modRows::Rows lines;
    for (const ParameterDef* row : rows) {
        lines.push_back({std::string(row->code), CaptionOf(*row, program.Language()),
                         WithUnit(*row, ShownValue(*row, set.*row->value, '.', program.Language()))});
    }
    modRows::PrintText(program, lines);
}

void printCsv(clsProgram& program, const RowList& rows, const ParameterSet& set)
{
    modRows::Rows lines{{"code", "key", "name", "value", "unit"}};
    for (const ParameterDef* row : rows) {
        lines.push_back({std::string(row->code), std::string(row->key), CaptionOf(*row, program.Language()),
                         DataValue(*row, set.*row->value), std::string(row->unit)});
    }
    modRows::PrintCsv(program, lines);
}

void printJson(clsProgram& program, const RowList& rows, const ParameterSet& set, const SensorIdentity& sensor)
{
    std::vector<std::string> parameters;
    for (const ParameterDef* row : rows) {
        parameters.push_back(modRows::Object({{"code", modRows::Quoted(row->code)},
                                              {"key", modRows::Quoted(row->key)},
                                              {"name", modRows::Quoted(CaptionOf(*row, program.Language()))},
                                              {"value", JsonValue(*row, set.*row->value)},
                                              {"unit", modRows::Quoted(row->unit)}}));
    }
    const std::string serial = PlainText(Utf8Of(sensor.SerialNo), kLongestSerial);
    program.PrintData(
        modRows::Object({{"serial", modRows::Quoted(serial)}, {"parameters", modRows::Array(parameters)}}));
}

/// What there is, and what may be set.
int list(clsProgram& program, const RowList& rows, OutputKind format)
{
    modRows::Rows lines;
    std::vector<std::string> objects;
    for (const ParameterDef* row : rows) {
        const std::string name = CaptionOf(*row, program.Language());
        const std::string allowed =
            row->editable == EditableWhen::Never ? std::string("-") : AllowedValues(*row, program.Language());
        lines.push_back({std::string(row->code), std::string(row->key), name, allowed});
        objects.push_back(modRows::Object({{"code", modRows::Quoted(row->code)},
                                           {"key", modRows::Quoted(row->key)},
                                           {"name", modRows::Quoted(name)},
                                           {"values", modRows::Quoted(allowed)}}));
    }
    if (format == OutputKind::Json) {
        program.PrintData(modRows::Array(objects));
    } else if (format == OutputKind::Csv) {
        lines.insert(lines.begin(), {"code", "key", "name", "values"});
        modRows::PrintCsv(program, lines);
    } else {
        modRows::PrintText(program, lines);
    }
    return ExitDone;
}

RowList allRows()
{
    RowList rows;
    for (const ParameterDef& row : ParameterTable()) {
        rows.push_back(&row);
    }
    std::ranges::sort(rows, {}, &ParameterDef::code);
    return rows;
}

/// False, which is said, when the sensor has not got one of them.
bool hasAll(clsProgram& program, const RowList& rows, const ParameterSet& set, const SensorIdentity& sensor)
{
    bool has = true;
    for (const ParameterDef* row : rows) {
        if (!IsReported(*row, set, sensor)) {
            program.Say(program.Text(TextId::CliNotInSensor, {modReportText::NameAndCode(*row, program.Language())}));
            has = false;
        }
    }
    return has;
}

} // namespace

int RunGet(clsProgram& program, const clsArguments& arguments)
{
    const OutputKind format = modRows::FormatOf(arguments);
    const RowList named = ParametersOf(arguments.Operands(), {}, {});
    if (arguments.Has("list")) {
        return list(program, arguments.Operands().empty() ? allRows() : named, format);
    }
    clsSensorRun run(program);
    ParameterSet set;
    int code = ConnectAndRead(program, run, set);
    if (code != ExitDone) {
        return code;
    }
    const SensorIdentity& sensor = run.Device().Identity();
    const RowList rows = ParametersOf(arguments.Operands(), set, sensor);
    if (!hasAll(program, rows, set, sensor)) {
        return ExitFailed;
    }
    if (arguments.Has("bare")) {
        for (const ParameterDef* row : rows) {
            program.Print(DataValue(*row, set.*row->value));
        }
    } else if (format == OutputKind::Json) {
        printJson(program, rows, set, sensor);
    } else {
        (format == OutputKind::Csv ? printCsv : printText)(program, rows, set);
    }
    return run.Leave() ? ExitDone : ExitNoConnection;
}
