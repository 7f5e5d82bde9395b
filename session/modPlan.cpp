#include "session/modPlan.h"

#include "sensor/Fields.h"
#include "sensor/modCompare.h"
#include "session/modParameterNames.h"
#include "session/modReportText.h"
#include "texts/modFunctions.h"

#include <cstdlib>
#include <initializer_list>
#include <string_view>
#include <utility>

namespace modPlan {

namespace {

class Words {
public:
    explicit Words(std::int32_t language) : m_language(language) {}

    std::string Name(const ParameterDef& row) const { return modReportText::NameAndCode(row, m_language); }
    std::string Value(const ParameterDef& row, const ParameterSet& set) const
    {
        return WithUnit(row, ShownValue(row, set.*row.value, '.', m_language));
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
            return text(TextId::CliTooClose, {Assignment(row, set), Assignment(*partner, set), least});
        }
        return text(TextId::CliNotAllowed, {Name(row), Value(row, set), AllowedValues(row, m_language)});
    }

private:
    std::string about(const ParameterDef& row, TextId id) const
    {
        return text(TextId::CaptionNote, {Name(row), text(id)});
    }
    std::string text(TextId id, std::initializer_list<std::string_view> parts = {}) const
    {
        return modFunctions::Filled(modFunctions::GetText(id, m_language), parts);
    }

    std::int32_t m_language;
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

void refuse(Plan& plan, std::string why)
{
    plan.remarks.push_back({std::move(why), true});
    plan.isRefused = true;
}

void checkPartners(const Words& words, const ParameterSet& current, const SensorIdentity& sensor, Plan& plan)
{
    const ParameterDef* row = plan.isRefused ? nullptr : TooClose(current, plan.target, plan.codes, sensor);
    if (row != nullptr) {
        refuse(plan, words.NotValid(*row, resultOf(current, plan)));
    }
}

} // namespace

Plan OfValues(const ParameterSet& current, const ParameterSet& target, const std::vector<const ParameterDef*>& rows,
              const SensorIdentity& sensor, std::int32_t language)
{
    const Words words(language);
    Plan plan{target, CodesInOrder(rows)};
    for (const ParameterDef* row : rows) {
        const SendObstacle obstacle = ObstacleOf(*row, current, target, sensor);
        if (obstacle != SendObstacle::None) {
            refuse(plan, words.Obstacle(*row, obstacle, target));
        }
    }
    checkPartners(words, current, sensor, plan);
    return plan;
}

Plan Leading(const ParameterSet& current, const ParameterSet& target, const SensorIdentity& sensor,
             std::int32_t language)
{
    const Words words(language);
    Plan plan{target};
    std::vector<const ParameterDef*> rows;
    for (const ComparedRow& compared : Compare(current, target)) {
        const SendObstacle obstacle =
            compared.Differs() ? ObstacleOf(*compared.row, current, target, sensor) : SendObstacle::None;
        std::string why = words.Obstacle(*compared.row, obstacle, target);
        if (obstacle == SendObstacle::NotValid) {
            refuse(plan, std::move(why));
        } else if (obstacle != SendObstacle::None) {
            plan.remarks.push_back({std::move(why)});
        } else if (compared.Differs()) {
            rows.push_back(compared.row);
        }
    }
    plan.codes = CodesInOrder(std::move(rows));
    checkPartners(words, current, sensor, plan);
    return plan;
}

std::vector<std::string> Lines(const ParameterSet& current, const Plan& plan, std::int32_t language)
{
    const Words words(language);
    std::vector<std::string> lines;
    for (const std::string& code : plan.codes) {
        const ParameterDef& row = *ParameterOfCode(code);
        lines.push_back(words.Name(row) + ": " + ShownValue(row, current.*row.value, '.', language) + " → " +
                        words.Value(row, plan.target));
    }
    return lines;
}

} // namespace modPlan
