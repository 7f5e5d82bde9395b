// The terminal, its link and its cable, through POSIX calls.
#include "simulator/clsPseudoTerminal.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <stdexcept>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>

namespace simulator {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostAtOnce = 4096; // a sender that never stops blocks nothing else

struct Speed {
    std::int32_t bitsPerSecond;
    speed_t code;
};
constexpr Speed kSpeeds[] = {{1200, B1200},   {2400, B2400},   {4800, B4800},   {9600, B9600},
                             {19200, B19200}, {38400, B38400}, {57600, B57600}, {115200, B115200}};

[[noreturn]] void fail(const std::string& what, int error)
{
    throw std::runtime_error(what + ": " + std::generic_category().message(error));
}

/// What a receiver makes of a byte at the wrong rate. The outcome is repeatable and lies in 0x80..0xBF, outside all
/// commands, replies and sign bytes of binary values.
char scrambled(char byte)
{
    const unsigned mixed = static_cast<unsigned char>(byte) * 37U + 11U;
    return static_cast<char>(0x80U | ((mixed ^ (mixed >> 6)) & 0x3FU));
}

std::string scrambled(std::string_view bytes)
{
    std::string garbage;
    for (const char byte : bytes) {
        garbage.push_back(scrambled(byte));
    }
    return garbage;
}

/// The other side sees the settings of our end, so nothing has to be open there.
void makeRaw(int ownEnd, std::int32_t bitsPerSecond)
{
    termios settings{};
    if (tcgetattr(ownEnd, &settings) != 0) {
        fail("cannot set up the pseudo-terminal", errno);
    }
    cfmakeraw(&settings);
    for (const Speed& speed : kSpeeds) {
        if (speed.bitsPerSecond == bitsPerSecond) {
            cfsetspeed(&settings, speed.code);
        }
    }
    tcsetattr(ownEnd, TCSANOW, &settings);
}

} // namespace

clsPseudoTerminal::clsPseudoTerminal(std::string link, std::int32_t bitsPerSecond)
    : m_link(std::move(link)), m_openRate(bitsPerSecond)
{
    open(bitsPerSecond);
}

clsPseudoTerminal::~clsPseudoTerminal()
{
    Unplug();
}

void clsPseudoTerminal::Unplug()
{
    if (IsPlugged()) {
        removeLink();
        close();
    }
}

void clsPseudoTerminal::Replug(std::int32_t bitsPerSecond)
{
    if (!IsPlugged()) {
        open(bitsPerSecond);
    }
}

bool clsPseudoTerminal::IsAttached()
{
    const bool wasAttached = m_isAttached;
    m_isAttached = IsPlugged() && !isHungUp();
    if (wasAttached && IsPlugged() && !m_isAttached && !forgetUnread() && isHungUp()) {
        replaceClaimed();
    }
    return m_isAttached;
}

std::string clsPseudoTerminal::Read(std::int32_t bitsPerSecond)
{
    std::string bytes;
    char piece[512];
    for (ssize_t count = 0;
         IsPlugged() && bytes.size() < kMostAtOnce && (count = read(m_ownEnd, piece, sizeof piece)) > 0;) {
        bytes.append(piece, static_cast<std::size_t>(count));
    }
    return hasOtherRate(bitsPerSecond) ? scrambled(bytes) : bytes;
}

bool clsPseudoTerminal::Write(std::string_view bytes, std::int32_t bitsPerSecond)
{
    if (bytes.empty() || !IsAttached()) {
        return bytes.empty();
    }
    const bool isScrambled = hasOtherRate(bitsPerSecond);
    const std::string sent = isScrambled ? scrambled(bytes) : std::string(bytes);
    const ssize_t taken = write(m_ownEnd, sent.data(), sent.size());
    return !isScrambled && taken == static_cast<ssize_t>(sent.size());
}

void clsPseudoTerminal::open(std::int32_t bitsPerSecond)
{
    m_openRate = bitsPerSecond;
    m_ownEnd = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    char device[128];
    if (m_ownEnd < 0 || grantpt(m_ownEnd) != 0 || unlockpt(m_ownEnd) != 0 ||
        ptsname_r(m_ownEnd, device, sizeof device) != 0) {
        const int error = errno;
        close();
        fail("cannot open a pseudo-terminal", error);
    }
    m_device = device;
    m_isAttached = false;
    try {
        makeRaw(m_ownEnd, bitsPerSecond);
        makeLink();
    } catch (const std::exception&) {
        close();
        throw;
    }
    // The system reports "nobody there" only after somebody has been there.
    forgetUnread();
}

void clsPseudoTerminal::close()
{
    if (m_ownEnd >= 0) {
        ::close(m_ownEnd);
    }
    m_ownEnd = -1;
    m_isAttached = false;
}

void clsPseudoTerminal::makeLink() const
{
    if (m_link.empty()) {
        return;
    }
    std::error_code ignored;
    const fs::file_status status = fs::symlink_status(m_link, ignored);
    if (fs::exists(status) && !fs::is_symlink(status)) {
        throw std::runtime_error(m_link + " exists and is not a symbolic link");
    }
    // The process number keeps two simulators from using the same temporary name. The rename leaves no moment without a
    // link.
    const std::string temporary = m_link + "." + std::to_string(getpid());
    unlink(temporary.c_str());
    if (symlink(m_device.c_str(), temporary.c_str()) != 0) {
        fail("cannot make the link " + m_link, errno);
    }
    if (rename(temporary.c_str(), m_link.c_str()) != 0) {
        const int error = errno;
        unlink(temporary.c_str());
        fail("cannot make the link " + m_link, error);
    }
}

void clsPseudoTerminal::removeLink() const
{
    if (m_link.empty()) {
        return;
    }
    std::error_code error;
    const fs::path target = fs::read_symlink(m_link, error);
    if (!error && target == m_device) {
        unlink(m_link.c_str());
    }
}

/// False when the terminal is claimed: by a program that was quicker, or still by one that has gone.
bool clsPseudoTerminal::forgetUnread() const
{
    const int otherEnd = ::open(m_device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (otherEnd < 0) {
        return errno != EBUSY;
    }
    tcflush(otherEnd, TCIFLUSH);
    ::close(otherEnd);
    return true;
}

/// An exclusive claim outlives its owner for as long as our side stays open, and only root can lift it.
void clsPseudoTerminal::replaceClaimed()
{
    if (m_link.empty()) {
        return;
    }
    const int claimed = m_ownEnd;
    const std::string claimedDevice = m_device;
    try {
        open(m_openRate);
    } catch (const std::runtime_error&) {
        m_ownEnd = claimed; // no worse than before
        m_device = claimedDevice;
        return;
    }
    ::close(claimed);
}

bool clsPseudoTerminal::isHungUp() const
{
    pollfd ownEnd{m_ownEnd, POLLIN, 0};
    return poll(&ownEnd, 1, 0) < 0 || (ownEnd.revents & POLLHUP) != 0;
}

bool clsPseudoTerminal::hasOtherRate(std::int32_t bitsPerSecond) const
{
    termios settings{};
    if (bitsPerSecond == kAnyRate || !IsPlugged() || tcgetattr(m_ownEnd, &settings) != 0) {
        return false;
    }
    const speed_t code = cfgetospeed(&settings);
    for (const Speed& speed : kSpeeds) {
        if (speed.code == code) {
            return speed.bitsPerSecond != bitsPerSecond;
        }
    }
    return false; // a rate that nobody has set, or that is not in the table
}

} // namespace simulator
