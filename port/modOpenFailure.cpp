#include "port/modOpenFailure.h"

#include "base/PlainText.h"
#include "port/modPortScan.h"
#include "texts/modFunctions.h"

#include <string_view>

namespace modOpenFailure {

namespace {

constexpr std::size_t kLongestWord = 80; // of a server, in characters

TextId textOf(const OpenFailure& failure)
{
    switch (failure.problem) {
    case OpenProblem::None:
        break;
    case OpenProblem::NoDevice:
        return failure.device.empty() ? TextId::PortWithoutDevice : TextId::PortDeviceMissing;
    case OpenProblem::Busy:
        return failure.user.process == 0 ? TextId::PortBusy : TextId::PortBusyBy;
    case OpenProblem::NoPermission:
        return TextId::PortNoPermission;
    case OpenProblem::NotATerminal:
        return TextId::PortNotSerial;
    case OpenProblem::NoAddress:
        return TextId::PortNoAddress;
    case OpenProblem::NoHost:
        return TextId::PortNoHost;
    case OpenProblem::NameUnresolved:
        return TextId::PortNameUnresolved;
    case OpenProblem::NoRoute:
        return TextId::PortNoRoute;
    case OpenProblem::Refused:
        return TextId::PortRefused;
    case OpenProblem::TimedOut:
        return TextId::PortTimedOut;
    case OpenProblem::NoRfc2217:
        return TextId::PortNoRfc2217;
    case OpenProblem::ClosedAtOnce:
        return PlainText(failure.reason, kLongestWord).empty() ? TextId::PortClosedAtOnce : TextId::PortClosedSaying;
    case OpenProblem::TooMuch:
        return TextId::PortTooMuch;
    case OpenProblem::ConnectionLost:
        return TextId::PortConnectionLost;
    case OpenProblem::Other:
        return TextId::PortOtherFailure;
    }
    return TextId::None;
}

} // namespace

std::string Text(const OpenFailure& failure, std::int32_t language)
{
    const bool isBusy = failure.problem == OpenProblem::Busy;
    const std::string detail = isBusy                                         ? modPortScan::InWords(failure.user)
                               : failure.problem == OpenProblem::NoPermission ? failure.group
                               : failure.problem == OpenProblem::ClosedAtOnce ? PlainText(failure.reason, kLongestWord)
                                                                              : failure.reason;
    return modFunctions::Filled(modFunctions::GetText(textOf(failure), language), {failure.device, detail});
}

} // namespace modOpenFailure
