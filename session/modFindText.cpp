#include "session/modFindText.h"

#include "base/CodePage.h"
#include "base/PlainText.h"
#include "port/modOpenFailure.h"
#include "sensor/ValueLists.h"
#include "texts/modFunctions.h"

#include <initializer_list>
#include <string_view>

namespace modFindText {

namespace {

constexpr std::size_t kLongestName = 300, kLongestFromSensor = 60;

TextId textOf(FindEvent event)
{
    switch (event) {
    case FindEvent::Opening:
        return TextId::FindOpening;
    case FindEvent::Listening:
        return TextId::FindListening;
    case FindEvent::Asking:
        return TextId::FindAsking;
    case FindEvent::Reading:
        return TextId::FindReading;
    case FindEvent::NoAnswer:
        return TextId::FindNoAnswer;
    case FindEvent::OnlyEcho:
        return TextId::FindOnlyEcho;
    case FindEvent::OtherBytes:
        return TextId::FindOtherBytes;
    case FindEvent::OtherAnswer:
        return TextId::FindOtherAnswer;
    case FindEvent::Vanished:
        return TextId::FindVanished;
    case FindEvent::Own:
        return TextId::FindOwn;
    case FindEvent::NotOpened:
    case FindEvent::Found:
        break;
    }
    return TextId::None;
}

std::string filled(TextId id, std::int32_t language, std::initializer_list<std::string_view> parts)
{
    return modFunctions::Filled(modFunctions::GetText(id, language), parts);
}

std::string fromSensor(const std::string& bytes)
{
    return PlainText(Utf8Of(bytes), kLongestFromSensor);
}

/// The port, and the rate where it matters.
std::string placeOf(const std::string& name, std::int32_t rate)
{
    const std::string plain = PlainText(name, kLongestName);
    return rate > 0 ? plain + ", " + std::to_string(rate) + " bit/s" : plain;
}

} // namespace

bool IsOutcome(const FindStep& step)
{
    return step.event >= FindEvent::NotOpened &&
           !(step.event == FindEvent::NotOpened && step.failure.problem == OpenProblem::NoDevice);
}

std::string StepText(const FindStep& step, std::int32_t language)
{
    if (step.event == FindEvent::NotOpened) {
        const std::string why = modOpenFailure::Text(step.failure, language);
        return Printable(why.find(step.name) == why.npos ? step.name + ": " + why : why);
    }
    const std::int32_t rate = IsOutcome(step) ? 0 : step.rate; // which matters only while it is tried
    return filled(textOf(step.event), language, {placeOf(step.name, rate)});
}

std::string FoundText(const FoundSensor& sensor, std::int32_t language)
{
    const std::string place = placeOf(sensor.name, sensor.rate);
    if (sensor.format) {
        const std::string format(kOutputFormatTexts.at(static_cast<std::size_t>(*sensor.format)));
        return filled(TextId::FindMeasuring, language, {place, format});
    }
    if (sensor.serialNo.empty() && sensor.version.empty()) {
        return filled(TextId::FindUnknown, language, {place});
    }
    return filled(TextId::FindKnown, language, {place, fromSensor(sensor.serialNo), fromSensor(sensor.version)});
}

std::string ResultText(std::size_t found, bool isStopped, std::int32_t language)
{
    return filled(found == 0 && !isStopped ? TextId::FindNothing : TextId::FindStopped, language, {});
}

} // namespace modFindText
