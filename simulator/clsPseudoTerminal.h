// The sensor's end of a serial line: a pseudo-terminal that programs open like a serial port, with an optional link as
// its permanent name. It moves bytes and plays the cable; it knows nothing of the sensor.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace simulator {

class clsPseudoTerminal {
public:
    static constexpr std::int32_t kAnyRate = 0; ///< of a line that scrambles nothing

    /// Opens a terminal, raw and set to the rate in bit/s, and points the link (empty: none) at it. An existing
    /// symbolic link is replaced. Throws std::runtime_error when the system has no terminal to give, when the link
    /// cannot be made or when its path is taken by anything but a symbolic link.
    clsPseudoTerminal(std::string link, std::int32_t bitsPerSecond);
    /// Closes the terminal and removes the link, unless it points elsewhere by now.
    ~clsPseudoTerminal();
    clsPseudoTerminal(const clsPseudoTerminal&) = delete;
    clsPseudoTerminal& operator=(const clsPseudoTerminal&) = delete;

    /// Pulls the cable: the other side gets a hang-up, and the link is removed.
    void Unplug();
    /// A fresh terminal after Unplug, under the same link but with a device path of its own. Throws like the
    /// constructor.
    void Replug(std::int32_t bitsPerSecond);
    bool IsPlugged() const { return m_ownEnd >= 0; }

    /// Whether a program has the terminal open. When the last one has gone, what it left unread is discarded. A
    /// terminal that it claimed for itself is then replaced by a fresh one, but only when there is a link to it.
    bool IsAttached();
    /// What has been sent to the sensor, or the beginning of a flood; empty when there is nothing. The bytes of a
    /// sender that has set another rate than bitsPerSecond are scrambled on the way, in either direction.
    std::string Read(std::int32_t bitsPerSecond);
    /// Never waits: bytes are lost when nobody is there or the terminal's buffer is full. Returns whether all have
    /// arrived as they are.
    bool Write(std::string_view bytes, std::int32_t bitsPerSecond);

    /// The link if there is one, else the device.
    const std::string& Path() const { return m_link.empty() ? m_device : m_link; }
    /// To wait on; -1 while unplugged.
    int Descriptor() const { return m_ownEnd; }

private:
    void open(std::int32_t bitsPerSecond);
    void close();
    void makeLink() const;
    void removeLink() const;
    bool forgetUnread() const;
    void replaceClaimed();
    bool isHungUp() const;
    bool hasOtherRate(std::int32_t bitsPerSecond) const;

    std::string m_link;
    std::string m_device;
    std::int32_t m_openRate;
    int m_ownEnd = -1;
    bool m_isAttached = false;
};

} // namespace simulator
