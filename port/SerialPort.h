// The serial port as the sensor's driver sees it. Calls address a port by its number, whatever stands behind the
// number: a terminal device, a line over the network, a script in a test. No call blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

/// Line-error bits of `sio_data_status`.
enum LineError : std::int32_t {
    LineErrorParity = 1,
    LineErrorFraming = 2,
    LineErrorOverrun = 4,
    LineErrorOverflow = 8,
};

/// The rates that a port can be set to, in bit/s.
inline constexpr std::int32_t kPortRates[] = {1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200};

enum class OpenProblem : std::uint8_t {
    None,
    NoDevice,
    Busy,
    NoPermission,
    NotATerminal,
    Other,
    // Of lines over the network.
    NoAddress,      ///< the text in the place of the device is no address
    NoHost,         ///< nobody knows the host's name
    NameUnresolved, ///< the name cannot be asked for now
    NoRoute,        ///< the network does not lead to the host
    Refused,        ///< the host answers, and nothing listens there
    TimedOut,       ///< the host does not answer
    NoRfc2217,      ///< a server does, but it does not let the line be set
    ClosedAtOnce,   ///< the server has ended it before it was used, perhaps with a word: the reason
    ConnectionLost, ///< it was there and has ended
    TooMuch,        ///< it is open and brings more than a serial line can; the rest waits at the sender
};

/// Another program that has a port open.
struct PortUser {
    std::int32_t process = 0; ///< 0: not known
    std::string name = {};    ///< of the program, as the system shortens it
};

/// Why an opening failed.
struct OpenFailure {
    OpenProblem problem = OpenProblem::None;
    std::string device; ///< empty: the port number has no device
    std::string group;  ///< with NoPermission: the group whose members may open the device
    std::string reason; ///< with Other: the system's message; with ClosedAtOnce: the bytes that the server has sent
    PortUser user = {}; ///< with Busy: who has the device, if the system tells
};

enum class PortState : std::uint8_t {
    Closed,
    Opening, ///< under way: becomes Open or Closed by itself, after a limited time
    Open,
};

class SerialPort {
public:
    virtual ~SerialPort() = default;

    /// Opens the port; 0 means success. `State` then says whether it is open or still opening.
    virtual std::int32_t sio_open(std::int32_t port) = 0;
    /// Closes the port and gives up an opening that is under way; harmless on a closed one.
    virtual std::int32_t sio_close(std::int32_t port) = 0;
    /// Sets the rate, one of `kPortRates`; 0 means success.
    virtual std::int32_t sio_baud(std::int32_t port, std::int32_t rate) = 0;
    /// The rate in bit/s; 0 or less when the port is closed.
    virtual std::int32_t sio_getbaud(std::int32_t port) = 0;
    /// Function 0 discards the received bytes that have not been read.
    virtual std::int32_t sio_flush(std::int32_t port, std::int32_t function) = 0;
    /// Sends one byte; 0 means success. Several bytes go out with `sio_write`, which returns how many were taken.
    virtual std::int32_t sio_putch(std::int32_t port, std::uint8_t byte)
    {
        const char sent = static_cast<char>(byte);
        return sio_write(port, {&sent, 1}) == 1 ? 0 : -1;
    }
    /// Sends bytes. Returns how many were taken: fewer or none when the line is full, less than 0 on an error or when
    /// the port is not open.
    virtual std::int32_t sio_write(std::int32_t port, std::span<const char> bytes) = 0;
    /// The number of received bytes waiting; 0 or less when there are none or the port is closed.
    virtual std::int32_t sio_iqueue(std::int32_t port) = 0;
    /// Copies waiting bytes into the buffer and does not wait for more; returns how many, less than 0 on an error.
    virtual std::int32_t sio_read(std::int32_t port, std::span<char> buffer) = 0;
    /// The line errors since the last call, as `LineError` bits.
    virtual std::int32_t sio_data_status(std::int32_t port) = 0;

    /// Takes an opening that is under way a step further and returns how far it is. Call it in every tick until it
    /// ends.
    virtual PortState State(std::int32_t port) = 0;
    /// Why the last completed opening failed, or why the line it opened has ended by itself as far as that is known, or
    /// what is wrong with the open line; problem None after a success.
    virtual OpenFailure LastFailure(std::int32_t port) const
    {
        static_cast<void>(port);
        return {};
    }
    /// Whether the devices have changed since the last opening of the port, so that it may succeed now; false if not
    /// known.
    virtual bool DevicesChanged(std::int32_t port) const
    {
        static_cast<void>(port);
        return false;
    }
    /// A file descriptor that becomes readable when bytes arrive, for an event loop; -1 when there is none. It changes
    /// with each opening.
    virtual int ArrivalHandle(std::int32_t port) const
    {
        static_cast<void>(port);
        return -1;
    }
    /// True when the device behind an open port has gone (a pulled cable); the port is closed then.
    virtual bool HasVanished(std::int32_t port) const
    {
        static_cast<void>(port);
        return false;
    }
    /// Whether the rate that is set is that of the line. A raw line over the network has the rate of its server.
    virtual bool HasRate(std::int32_t port) const
    {
        static_cast<void>(port);
        return true;
    }
    /// How much later an answer comes than over a cable, in milliseconds: the round trip to where the line begins.
    virtual std::int32_t Delay_ms(std::int32_t port) const
    {
        static_cast<void>(port);
        return 0;
    }
};
