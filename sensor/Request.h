// What the program asks the sensor: the commands, how long an answer may take, and what silence means.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

/// Values of `clsRVQ::CommStatus`.
enum Dialogue : std::int32_t { DialogueNone = 0, DialogueIdle = 1, DialogueMeasuring = 2 };

enum class Request : std::uint8_t {
    None,
    Probe,         ///< whether a sensor is there
    Configuration, ///< the dump
    Temperature,
    Start,     ///< of continuous measurement
    Measuring, ///< never sent: replaces a start once the first bytes have come
    Stop,
    Single, ///< one distance
    LaserOn,
    LaserOff,
    Store,     ///< stores the parameters permanently
    Defaults,  ///< sets the factory defaults
    Parameter, ///< any other frame, and any text that the program does not know
    ByHand,    ///< such a text that the operator has typed: it may have any answer or none
};

/// What silence means once the deadline has passed.
enum class Silence : std::uint8_t {
    Probe,    ///< ask whether a sensor is there
    Poll,     ///< ask for the temperature, as the idle poll or because a measurement was interrupted for it
    GiveUp,   ///< no answer, and the request is forgotten
    StepBack, ///< no answer; the loop takes a step back in the dialogue
    Done,     ///< this request has no answer
    Leave,    ///< nothing: the loop itself polls after a silent single value
    Stop,     ///< no answer, and the start is taken back
    LostStart ///< no answer; the loop stops measuring, unless a sensor with single output owes nothing
};

struct RequestDef {
    Request request;
    std::string_view text; ///< as sent; empty for a parameter's frame, which has many texts
    std::int32_t answer_ms;
    std::array<Silence, 3> silence; ///< by state of the dialogue
};

/// Indexed by `Request`. Deliberate: the answer time of the configuration is not here; it depends on the rate
/// (`AnswerTime_ms`).
inline constexpr RequestDef kRequests[] = {
    // request              text     answer   no dialogue      idle               measuring
    {Request::None, "", 1500, {Silence::Probe, Silence::Poll, Silence::Poll}},
    {Request::Probe, "X", 1500, {Silence::GiveUp, Silence::StepBack, Silence::StepBack}},
    {Request::Configuration, "C", 0, {Silence::GiveUp, Silence::StepBack, Silence::StepBack}},
    {Request::Temperature, "T", 1000, {Silence::GiveUp, Silence::GiveUp, Silence::GiveUp}},
    {Request::Start, "M", 3000, {Silence::GiveUp, Silence::Stop, Silence::LostStart}},
    {Request::Measuring, "m", 1500, {Silence::GiveUp, Silence::StepBack, Silence::StepBack}},
    {Request::Stop, "S", 1500, {Silence::GiveUp, Silence::Done, Silence::Poll}},
    {Request::Single, "G", 1500, {Silence::GiveUp, Silence::Leave, Silence::Leave}},
    {Request::LaserOn, "P", 1500, {Silence::GiveUp, Silence::Done, Silence::Done}},
    {Request::LaserOff, "O", 1500, {Silence::GiveUp, Silence::Done, Silence::Done}},
    {Request::Store, "999 \r", 3000, {Silence::GiveUp, Silence::StepBack, Silence::StepBack}},
    {Request::Defaults, "000 \r", 3000, {Silence::GiveUp, Silence::StepBack, Silence::StepBack}},
    {Request::Parameter, "", 1500, {Silence::GiveUp, Silence::StepBack, Silence::StepBack}},
    {Request::ByHand, "", 1500, {Silence::Done, Silence::Done, Silence::Done}},
};

constexpr const RequestDef& RowOf(Request request)
{
    return kRequests[static_cast<std::size_t>(request)];
}

/// The request that a command text stands for; `Parameter` for a text without a row of its own.
Request RequestOf(std::string_view command);

/// Milliseconds that the answer may take at this rate in bit/s, without the margin.
std::int32_t AnswerTime_ms(std::string_view command, std::int32_t rate);

/// Milliseconds after a stop in which nothing may be sent.
std::int32_t StopPause_ms(std::int32_t rate);

/// The request that has been sent and not answered yet.
struct PendingRequest {
    Request request = Request::None;
    std::string text;      ///< as sent, "m" while measuring
    double deadline = 0.0; ///< in days; without a request: when the next poll is due
};
