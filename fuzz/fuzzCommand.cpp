// Reads any bytes as a command from outside, in both formats. What has no problem is complete, and only then; whatever
// is answered can be written down.
#include "fuzz/FuzzInput.h"
#include "gateway/clsJsonFormat.h"
#include "gateway/clsSparkplugFormat.h"
#include "session/modParameterNames.h"

#include <cmath>

namespace {

void check(const std::optional<GatewayCommand>& command, MessageFormat& format)
{
    if (!command) {
        return;
    }
    Require(command->id.size() <= 64 && command->values.size() <= kParameterCount);
    Require(!command->time || std::isfinite(*command->time));
    if (command->problem.empty()) {
        Require(command->isRebirth != command->kind.has_value());
        Require(command->isRebirth || !command->id.empty());
        Require((command->kind == CommandKind::Write) == !command->values.empty());
    }
    for (const auto& [name, text] : command->values) {
        if (const ParameterDef* row = ParameterOfName(name)) {
            ValueOfText(*row, text);
        }
    }
    CommandAnswer answer{command->sensor, command->id, "refused", command->problem};
    for (const MqttMessage& message : format.Answer(answer, 46000.5)) {
        Require(!message.payload.empty());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    const std::string topic(input.Until('\n'));
    const std::string_view payload = input.Rest();
    clsJsonFormat json("orvex", "gw", "1");
    std::uint8_t births = 1;
    clsSparkplugFormat sparkplug("orvex", "gw", "1", births, [] { return 46000.5; });
    check(json.ReadCommand(topic, payload), json);
    check(sparkplug.ReadCommand(topic, payload), sparkplug);
    // Whatever the topic says.
    check(json.ReadCommand("orvex/gw/a/command", payload), json);
    check(sparkplug.ReadCommand("spBv1.0/orvex/DCMD/gw/a", payload), sparkplug);
    check(sparkplug.ReadCommand("spBv1.0/orvex/NCMD/gw", payload), sparkplug);
    return 0;
}
