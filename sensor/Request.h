// What the program asks of the sensor: the commands, how long an answer may take, and what silence means.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

/// Values of `clsRVQ::CommStatus`.
enum Dialogue : std::int32_t { DialogueNone = 0, DialogueIdle = 1, DialogueMeasuring = 2 };

enum class Request : std::uint8_t {
    None,
    Probe,         ///< whether anybody is there
    Configuration, ///< the dump
    Temperature,
    Start,     ///< of continuous measurement
    Measuring, ///< never sent: a start, once the first bytes have come
    Stop,
    Single, ///< one distance
    LaserOn,
    LaserOff,
    Store,     ///< the set, for good
    Defaults,  ///< of the factory
    Parameter, ///< any other frame, and whatever the program does not know
};

/// What a passed deadline means when nothing has come.
enum class Silence : std::uint8_t {
    Probe,    ///< ask whether anybody is there
    Poll,     ///< ask for the temperature: the idle sensor's, or the one that a measurement was interrupted for
    GiveUp,   ///< no answer, and the request is forgotten
    StepBack, ///< no answer, and the loop is to take a step back in the dialogue
    Done,     ///< such a request has no answer
    Leave,    ///< nothing: the loop asks for a silent single value by itself
    Stop,     ///< no answer, and the start is taken back
    LostStart ///< no answer, and the loop leaves the measuring state; a sensor with single output still owes nothing
};

struct RequestDef {
    Request request;
    std::string_view text; ///< as it is sent; of a parameter's frame, which has many, empty
    std::int32_t answer_ms;
    std::array<Silence, 3> silence; ///< by the state of the dialogue
};

/// By `Request`. Deliberate: no answer time of the configuration stands here, it depends on the rate (`AnswerTime_ms`).
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
};

constexpr const RequestDef& RowOf(Request request)
{
    return kRequests[static_cast<std::size_t>(request)];
}

/// The request that such a text makes when it is sent; `Parameter` for any that has no row of its own.
Request RequestOf(std::string_view command);

/// Milliseconds that the answer may take at so many bit/s, without the margin.
std::int32_t AnswerTime_ms(std::string_view command, std::int32_t rate);

/// Milliseconds for which nothing may be sent after a stop.
std::int32_t StopPause_ms(std::int32_t rate);

/// The request under way, which has not been answered.
struct PendingRequest {
    Request request = Request::None;
    std::string text;      ///< as it was sent, "m" while measuring
    double deadline = 0.0; ///< in days; without a request: when the next poll is due
};
