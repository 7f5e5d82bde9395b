#include "port/clsTelnet.h"

#include "port/SerialPort.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

enum Telnet : std::uint8_t {
    SettingEnd = 240,
    SettingBegin = 250,
    Will = 251,
    Wont = 252,
    Do = 253,
    Dont = 254,
    Escape = 255,
};

enum Option : std::uint8_t { OptionBinary = 0, OptionNoGoAhead = 3, OptionLine = 44 };

/// What the line's option can say. The server's commands have numbers that are higher by `kFromServer`.
enum LineCommand : std::uint8_t {
    SetRateTo = 1,
    SetDataBits = 2,
    SetParity = 3,
    SetStopBits = 4,
    SetControl = 5,
    LineState = 6,
    SetLineStateMask = 10,
    SetModemStateMask = 11,
    PurgeData = 12,
};
constexpr std::uint8_t kFromServer = 100;

struct StateBit {
    std::uint8_t told;
    LineError error;
};
constexpr StateBit kStateBits[] = {{2, LineErrorOverrun}, {4, LineErrorParity}, {8, LineErrorFraming}};
constexpr char kStateMask = 2 + 4 + 8;

/// 8N1 without flow control; line errors are told, modem lines are not. Each value is one byte.
constexpr std::pair<LineCommand, char> kCharacterFormat[] = {{SetDataBits, 8},      {SetParity, 1},
                                                             {SetStopBits, 1},      {SetControl, 1},
                                                             {SetControl, 14},      {SetLineStateMask, kStateMask},
                                                             {SetModemStateMask, 0}};

constexpr std::size_t kLongestSetting = 64; // more than any that is understood
constexpr std::string_view kPurgeReceived("\x01", 1);

bool isOurs(std::uint8_t option)
{
    return option == OptionBinary || option == OptionNoGoAhead || option == OptionLine;
}

/// What the server may do. It may not echo, for instance. Some also say that they know the line's option.
bool isTheirs(std::uint8_t option)
{
    return option == OptionBinary || option == OptionNoGoAhead || option == OptionLine;
}

void appendEscaped(std::string_view bytes, std::string& to)
{
    for (const char byte : bytes) {
        to += byte;
        if (static_cast<std::uint8_t>(byte) == Escape) {
            to += byte;
        }
    }
}

} // namespace

void clsTelnet::Begin()
{
    say(Will, OptionLine);
    for (const Option option : {OptionBinary, OptionNoGoAhead}) {
        say(Will, option);
        say(Do, option);
    }
}

void clsTelnet::Receive(std::string_view bytes, std::string& data)
{
    while (!bytes.empty()) {
        if (m_place == Place::Data) {
            const std::size_t plain = std::min(bytes.find(static_cast<char>(Escape)), bytes.size());
            data += bytes.substr(0, plain);
            bytes.remove_prefix(plain);
        }
        if (!bytes.empty()) {
            take(static_cast<std::uint8_t>(bytes.front()), data);
            bytes.remove_prefix(1);
        }
    }
}

void clsTelnet::Send(std::span<const char> bytes)
{
    appendEscaped({bytes.data(), bytes.size()}, m_outgoing);
}

void clsTelnet::SetRate(std::int32_t rate)
{
    std::string value;
    for (const int shift : {24, 16, 8, 0}) {
        value += static_cast<char>(static_cast<std::uint32_t>(rate) >> shift & 0xFFU);
    }
    m_rate = rate;
    ++m_openRates;
    set(SetRateTo, value);
}

void clsTelnet::Purge()
{
    set(PurgeData, kPurgeReceived);
}

std::int32_t clsTelnet::TakeLineErrors()
{
    return std::exchange(m_lineErrors, 0);
}

void clsTelnet::take(std::uint8_t byte, std::string& data)
{
    switch (m_place) {
    case Place::Data:
        m_place = Place::Command; // only an escape comes here
        break;
    case Place::Command:
        takeCommand(byte, data);
        break;
    case Place::Option:
        m_place = Place::Data;
        negotiate(m_verb, byte);
        break;
    case Place::Setting:
        if (byte == Escape) {
            m_place = Place::SettingCommand;
        } else if (m_setting.size() < kLongestSetting) {
            m_setting += static_cast<char>(byte);
        }
        break;
    case Place::SettingCommand:
        if (byte == Escape) {
            m_place = Place::Setting;
            m_setting += static_cast<char>(byte);
            m_setting.resize(std::min(m_setting.size(), kLongestSetting));
            break;
        }
        m_place = Place::Data;
        if (byte == SettingEnd) {
            takeSetting();
        } else {
            takeCommand(byte, data); // the end of the setting is missing
        }
        break;
    }
}

/// The byte behind an escape.
void clsTelnet::takeCommand(std::uint8_t byte, std::string& data)
{
    m_place = Place::Data;
    if (byte == Escape) {
        data += static_cast<char>(byte);
    } else if (byte == SettingBegin) {
        m_place = Place::Setting;
        m_setting.clear();
    } else if (byte >= Will && byte <= Dont) {
        m_place = Place::Option;
        m_verb = byte;
    } // all others mean nothing for a line
}

/// Nothing is said twice, so that no server can keep a negotiation going.
void clsTelnet::negotiate(std::uint8_t verb, std::uint8_t option)
{
    switch (verb) {
    case Will:
        say(isTheirs(option) ? Do : Dont, option);
        break;
    case Do:
        say(isOurs(option) ? Will : Wont, option);
        if (option == OptionLine) {
            agree();
        }
        break;
    case Dont:
        if (option == OptionLine) {
            m_agreement = Agreement::Refused;
        }
        break;
    default: // Wont: nothing that the line needs
        break;
    }
}

/// Deliberate: bytes pass as they are even when the server does not agree to binary transfer. Servers that leave the
/// option out do not change carriage returns either.
void clsTelnet::agree()
{
    if (m_agreement != Agreement::Open) {
        return;
    }
    m_agreement = Agreement::Agreed;
    for (const auto& [command, value] : kCharacterFormat) {
        set(command, {&value, 1});
    }
}

void clsTelnet::takeSetting()
{
    if (m_setting.size() < 3 || static_cast<std::uint8_t>(m_setting[0]) != OptionLine) {
        return;
    }
    const int command = static_cast<std::uint8_t>(m_setting[1]) - kFromServer;
    const std::string_view value = std::string_view(m_setting).substr(2);
    if (command == SetRateTo) {
        takeRate(value);
    } else if (command == LineState) {
        for (const StateBit& bit : kStateBits) {
            m_lineErrors |= (static_cast<std::uint8_t>(value.front()) & bit.told) != 0 ? bit.error : 0;
        }
    }
}

/// Only the answer to the last question counts: an earlier one may still be on its way when the rate changes again.
void clsTelnet::takeRate(std::string_view value)
{
    if (value.size() != 4 || m_openRates == 0 || --m_openRates > 0) {
        return;
    }
    std::uint32_t rate = 0;
    for (const char byte : value) {
        rate = rate << 8U | static_cast<std::uint8_t>(byte);
    }
    if (std::ranges::find(kPortRates, static_cast<std::int32_t>(rate)) != std::end(kPortRates)) {
        m_rate = static_cast<std::int32_t>(rate);
    }
}

void clsTelnet::say(std::uint8_t verb, std::uint8_t option)
{
    std::bitset<256>& said = m_said.at(static_cast<std::size_t>(verb - Will));
    if (said[option]) {
        return;
    }
    said.set(option);
    m_outgoing += {static_cast<char>(Escape), static_cast<char>(verb), static_cast<char>(option)};
}

void clsTelnet::set(std::uint8_t command, std::string_view value)
{
    m_outgoing += {static_cast<char>(Escape), static_cast<char>(SettingBegin), static_cast<char>(OptionLine),
                   static_cast<char>(command)};
    appendEscaped(value, m_outgoing);
    m_outgoing += {static_cast<char>(Escape), static_cast<char>(SettingEnd)};
}
