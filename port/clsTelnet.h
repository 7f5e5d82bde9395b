// A serial line inside a telnet connection, as RFC 2217 has it: what stands between the bytes, in both directions. It
// opens no connection and knows no clock.
#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

class clsTelnet {
public:
    enum class Agreement : std::uint8_t {
        Open,    ///< the server has not said yet whether it lets the line be set
        Agreed,  ///< it does; the character format has been asked for
        Refused, ///< it does not, whatever it says later
    };

    /// Says what a connection begins with.
    void Begin();
    /// Takes what the server has sent: the line's bytes are appended to `data`, the rest is answered.
    void Receive(std::string_view bytes, std::string& data);
    /// Sends bytes of the line.
    void Send(std::span<const char> bytes);
    /// Asks the server to set the rate in bit/s.
    void SetRate(std::int32_t rate);
    /// Asks the server to discard what it has received and not sent on.
    void Purge();

    Agreement Agreed() const { return m_agreement; }
    /// The line's rate as asked for, or as the server has set it instead.
    std::int32_t Rate() const { return m_rate; }
    /// The line errors that the server has told since the last call, as `LineError` bits.
    std::int32_t TakeLineErrors();
    /// What goes to the server, in this order; whoever has sent it takes it off the front.
    std::string& Outgoing() { return m_outgoing; }

private:
    enum class Place : std::uint8_t { Data, Command, Option, Setting, SettingCommand };

    void take(std::uint8_t byte, std::string& data);
    void takeCommand(std::uint8_t byte, std::string& data);
    void negotiate(std::uint8_t verb, std::uint8_t option);
    void takeSetting();
    void takeRate(std::string_view value);
    void say(std::uint8_t verb, std::uint8_t option);
    void set(std::uint8_t command, std::string_view value);
    void agree();

    Place m_place = Place::Data;
    std::uint8_t m_verb = 0;
    std::string m_setting;                  ///< the subnegotiation under way, as far as it is kept
    std::array<std::bitset<256>, 4> m_said; ///< by verb: what has been said about each option, never said twice
    std::string m_outgoing;
    Agreement m_agreement = Agreement::Open;
    std::int32_t m_rate = 0;
    std::int32_t m_openRates = 0; ///< asked for and not answered
    std::int32_t m_lineErrors = 0;
};
