// What can go wrong with the simulated sensor and its line, and how a command line asks for it.
#pragma once

#include <random>
#include <string>
#include <string_view>

namespace simulator {

/// Each rate runs from 0 (never) to 1 (always); kFaultRows says what it applies to.
struct Faults {
    double silence = 0;
    double refusal = 0;
    double slow = 0;
    double split = 0;
    double burst = 0;
    double garbage = 0;
    double lost = 0;
    double noecho = 0;
    double temperr = 0;
    double shutdown = 0;
    double unplug = 0;
    double cutdump = 0;
    double announce = 0;
    double forget = 0;
    double falsedump = 0;
    // Codes of one parameter each; empty: none.
    std::string refused{}, ignored{}, rounded{}, omitted{};
};

struct FaultRow {
    std::string_view name;
    double Faults::*rate;
    std::string_view help;
};

inline constexpr FaultRow kFaultRows[] = {
    {"silence", &Faults::silence, "chance that a command is not heard; 1: the sensor is dead"},
    {"refusal", &Faults::refusal, "chance that a parameter frame is refused"},
    {"slow", &Faults::slow, "chance that an answer comes up to 1 s late"},
    {"split", &Faults::split, "chance that an answer or value comes byte by byte, with gaps"},
    {"burst", &Faults::burst, "chance that an answer or value waits for the next 200 ms burst"},
    {"garbage", &Faults::garbage, "chance per byte of a foreign byte before it"},
    {"lost", &Faults::lost, "chance per byte to vanish"},
    {"noecho", &Faults::noecho, "chance per value of \"No Echo\""},
    {"temperr", &Faults::temperr, "chance per value of \"TempErr!\""},
    {"shutdown", &Faults::shutdown, "0.5 or more: laser shut down, temperature not OK, only \"TempErr!\""},
    {"unplug", &Faults::unplug, "chance per second that the line is pulled for 3 s"},
    {"cutdump", &Faults::cutdump, "chance that a configuration dump stops in its middle"},
    {"announce", &Faults::announce, "chance that \"RVQ ready\" breaks into an answer"},
    {"forget", &Faults::forget, "chance per command that the stored values come back before it, unannounced"},
    {"falsedump", &Faults::falsedump, "chance that one digit of a configuration dump is another one"},
};

/// A fault of one parameter, given by its code.
struct CodeFaultRow {
    std::string_view name;
    std::string Faults::*code;
    std::string_view help;
};

inline constexpr CodeFaultRow kCodeFaultRows[] = {
    {"refuse", &Faults::refused, "this parameter is refused, also 999 (store) and 000 (defaults)"},
    {"ignore", &Faults::ignored, "this parameter is acknowledged but not taken, also 999 and 000"},
    {"round", &Faults::rounded, "this parameter is acknowledged but rounded to tens"},
    {"omit", &Faults::omitted, "this parameter is missing from the configuration dump"},
};

/// Whether an event with this rate happens now. A rate of 0 draws no random number, so a run without a fault stays the
/// same whatever faults there are.
bool Happens(double rate, std::mt19937_64& random);

/// Sets one rate from "NAME=RATE" (0..1, decimal point whatever the locale), or the code of a fault of one parameter
/// from "NAME=CODE". Returns an empty text, or a sentence that says what is wrong and leaves the faults as they were.
std::string ParseFault(std::string_view text, Faults& faults);

} // namespace simulator
