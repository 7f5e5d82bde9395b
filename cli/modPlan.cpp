#include "cli/modPlan.h"

#include "cli/clsProgram.h"
#include "cli/modParameterNames.h"
#include "sensor/Fields.h"
#include "sensor/modCompare.h"
#include "session/modReportText.h"

#include <cstdlib>

namespace modPlan {

namespace {

class Words {
public:
    explicit Words(clsProgram& program) : m_program(program) {}

    std::string Name(const ParameterDef& row) const { return modReportText::NameAndCode(row, m_program.Language()); }
    std::string Value(const ParameterDef& row, const ParameterSet& set) const
    {
        return WithUnit(row, ShownValue(row, set.*row.value, '.', m_program.Language()));
    }
    std::string Assignment(const ParameterDef& row, const ParameterSet& set) const
    {
        return Name(row) + " = " + Value(row, set);
    }
    std::string Obstacle(const ParameterDef& row, SendObstacle obstacle, const ParameterSet& target) const
    {
        switch (obstacle) {
        case SendObstacle::NotInSensor:
            return about(row, TextId::CompareObstacleNotInSensor);
        case SendObstacle::ReadOnly:
            return about(row, TextId::CompareObstacleReadOnly);
        case SendObstacle::NoValue:
            return about(row, TextId::CliNoValue);
        case SendObstacle::None:
        case SendObstacle::NotValid:
            break;
        }
        return NotValid(row, target);
    }
    std::string NotValid(const ParameterDef& row, const ParameterSet& set) const
    {
        const auto* partner = row.apart.partner == nullptr ? nullptr : &RowOf(row.apart.partner);
        if (partner != nullptr &&
            std::abs(std::int64_t{set.*row.value} - set.*partner->value) < std::int64_t{row.apart.least}) {
            const std::string least = WithUnit(row, NumberText(row, row.apart.least, '.'));
            return m_program.Text(TextId::CliTooClose, {Assignment(row, set), Assignment(*partner, set), least});
        }
        return m_program.Text(TextId::CliNotAllowed,
                              {Name(row), Value(row, set), AllowedValues(row, m_program.Language())});
    }

private:
    std::string about(const ParameterDef& row, TextId text) const
    {
        return m_program.Text(TextId::CaptionNote, {Name(row), m_program.Text(text)});
    }

    clsProgram& m_program;
};

/// What the sensor would have afterwards.
ParameterSet resultOf(const ParameterSet& current, const Plan& plan)
{
    ParameterSet result = current;
    for (const std::string& code : plan.codes) {
        const ParameterDef& row = *ParameterOfCode(code);
        result.*row.value = plan.target.*row.value;
    }
    return result;
}

void refuse(clsProgram& program, Plan& plan, const std::string& why)
{
    program.Say(why);
    plan.isRefused = true;
}

void checkPartners(clsProgram& program, const ParameterSet& current, const SensorIdentity& sensor, Plan& plan)
{
    const ParameterDef* row = plan.isRefused ? nullptr : TooClose(current, plan.target, plan.codes, sensor);
    if (row != nullptr) {
        refuse(program, plan, Words(program).NotValid(*row, resultOf(current, plan)));
    }
    if (plan.isRefused) {
        program.Say(program.Text(TextId::CliNothingSent));
    }
}

} // namespace

Plan OfValues(clsProgram& program, const ParameterSet& current, const ParameterSet& target,
              const std::vector<const ParameterDef*>& rows, const SensorIdentity& sensor)
{
    Plan plan{target, CodesInOrder(rows)};
    for (const ParameterDef* row : rows) {
        const SendObstacle obstacle = ObstacleOf(*row, current, target, sensor);
        if (obstacle != SendObstacle::None) {
            refuse(program, plan, Words(program).Obstacle(*row, obstacle, target));
        }
    }
    checkPartners(program, current, sensor, plan);
    return plan;
}

Plan Leading(clsProgram& program, const ParameterSet& current, const ParameterSet& target, const SensorIdentity& sensor)
{
    Plan plan{target};
    std::vector<const ParameterDef*> rows;
    for (const ComparedRow& compared : Compare(current, target)) {
        const SendObstacle obstacle =
            compared.Differs() ? ObstacleOf(*compared.row, current, target, sensor) : SendObstacle::None;
        const std::string why = Words(program).Obstacle(*compared.row, obstacle, target);
        if (obstacle == SendObstacle::NotValid) {
            refuse(program, plan, why);
        } else if (obstacle != SendObstacle::None) {
            program.Note(why);
        } else if (compared.Differs()) {
            rows.push_back(compared.row);
        }
    }
    plan.codes = CodesInOrder(std::move(rows));
    checkPartners(program, current, sensor, plan);
    return plan;
}

std::vector<std::string> Lines(clsProgram& program, const ParameterSet& current, const Plan& plan)
{
    const Words words(program);
    std::vector<std::string> lines;
    for (const std::string& code : plan.codes) {
        const ParameterDef& row = *ParameterOfCode(code);
        lines.push_back(words.Name(row) + ": " + ShownValue(row, current.*row.value, '.', program.Language()) + " → " +
                        words.Value(row, plan.target));
    }
    return lines;
}

} // namespace modPlan
