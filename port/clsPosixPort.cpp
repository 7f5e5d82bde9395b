#include "port/clsPosixPort.h"

#include "port/modPortScan.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <linux/serial.h>
#include <optional>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>
#include <utility>

namespace {

struct Rate {
    std::int32_t bit_s;
    speed_t speed;
};
constexpr Rate kRates[] = {{1200, B1200},   {2400, B2400},   {4800, B4800},   {9600, B9600},
                           {19200, B19200}, {38400, B38400}, {57600, B57600}, {115200, B115200}};
static_assert(std::ranges::equal(kRates, kPortRates, {}, &Rate::bit_s));
constexpr speed_t kSpeedOnOpening = B9600;
/// Twice a second at the rate of the measurement's ticks.
constexpr std::uint32_t kEmptyLooksPerRead = 10;

std::string groupName(gid_t gid)
{
    std::array<char, 4096> buffer{};
    group entry{};
    group* found = nullptr;
    getgrgid_r(gid, &entry, buffer.data(), buffer.size(), &found);
    return found != nullptr ? found->gr_name : std::to_string(gid);
}

std::string reasonOf(int error)
{
    return std::generic_category().message(error);
}

/// Whether to name the group. Nobody should join root's group, and a group that may not open the device does not help.
bool membersMayOpen(const struct stat& device)
{
    return device.st_gid != 0 && (device.st_mode & 0060U) == 0060U;
}

OpenFailure busyFailure(const std::string& device)
{
    return {OpenProblem::Busy, device, {}, {}, modPortScan::LockerOf(device).value_or(PortUser())};
}

OpenFailure failureOf(int error, const std::string& device, const struct stat& info)
{
    switch (error) {
    case ENOENT:
    case ENOTDIR:
    case ENODEV:
    case ENXIO:
    case EIO: // a port number that the driver reserves without hardware
        return {OpenProblem::NoDevice, device, {}, {}};
    case EBUSY:
    case EWOULDBLOCK:
        return busyFailure(device);
    case EACCES:
    case EPERM:
        if (membersMayOpen(info)) {
            return {OpenProblem::NoPermission, device, groupName(info.st_gid), {}};
        }
        return {OpenProblem::Other, device, {}, reasonOf(error)};
    case ENOTTY:
        return {OpenProblem::NotATerminal, device, {}, {}};
    default:
        return {OpenProblem::Other, device, {}, reasonOf(error)};
    }
}

/// Raw, 8N1, no flow control. With VMIN 1 a read that finds nothing fails with EAGAIN instead of returning 0.
bool makeRaw(int fd)
{
    termios settings{};
    if (tcgetattr(fd, &settings) != 0) {
        return false;
    }
    cfmakeraw(&settings);
    settings.c_cflag |= CLOCAL | CREAD;
    settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB | CRTSCTS);
    settings.c_iflag &= ~static_cast<tcflag_t>(IXOFF | IXANY);
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    cfsetispeed(&settings, kSpeedOnOpening);
    cfsetospeed(&settings, kSpeedOnOpening);
    return tcsetattr(fd, TCSANOW, &settings) == 0 && tcflush(fd, TCIOFLUSH) == 0;
}

/// Root can still open a device that is marked as exclusive; the advisory lock keeps out a second copy of this program
/// there too.
bool claim(int fd)
{
    return flock(fd, LOCK_EX | LOCK_NB) == 0 && ioctl(fd, TIOCEXCL) == 0;
}

/// Only for a device that was claimed: the bytes and the claim of any other device belong to another program.
void release(int fd)
{
    if (fd < 0) {
        return;
    }
    // Unsent bytes must not delay the program on a line that nobody reads.
    tcflush(fd, TCOFLUSH);
    // On a pseudo-terminal the claim would outlive this descriptor.
    ioctl(fd, TIOCNXCL);
    close(fd);
}

std::int64_t nanoseconds(const timespec& time)
{
    return time.tv_sec * std::int64_t{1000000000} + time.tv_nsec;
}

} // namespace

clsPosixPort::~clsPosixPort()
{
    for (const auto& [port, line] : m_lines) {
        release(line.fd);
    }
}

std::int32_t clsPosixPort::sio_open(std::int32_t port)
{
    sio_close(port);
    const std::string device = m_devices.DeviceOf(port);
    Attempt& attempt = m_attempts[port];
    attempt.before = sightOf(device);
    attempt.failure = openDevice(port, device);
    return attempt.failure.problem == OpenProblem::None ? 0 : -1;
}

OpenFailure clsPosixPort::openDevice(std::int32_t port, const std::string& device)
{
    struct stat info {};
    if (device.empty()) {
        return {OpenProblem::NoDevice, {}, {}, {}};
    }
    if (stat(device.c_str(), &info) != 0) {
        // There is no group to name: a folder that may not be entered says nothing about the device.
        return failureOf(errno, device, {});
    }
    // Opening a file or a pipe may have effects, so the kind is checked first.
    if (!S_ISCHR(info.st_mode)) {
        return failureOf(ENOTTY, device, info);
    }
    const int fd = open(device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        return failureOf(errno, device, info);
    }
    if (!claim(fd)) {
        const int error = errno;
        close(fd);
        return failureOf(error, device, info);
    }
    if (!makeRaw(fd)) {
        const int error = errno;
        release(fd);
        return failureOf(error, device, info);
    }
    m_lines[port] = {fd, {}};
    sio_data_status(port); // discards errors from before the opening
    return {};
}

std::int32_t clsPosixPort::sio_close(std::int32_t port)
{
    const auto line = m_lines.find(port);
    if (line == m_lines.end()) {
        return 0;
    }
    release(line->second.fd);
    m_lines.erase(line);
    return 0;
}

std::int32_t clsPosixPort::sio_baud(std::int32_t port, std::int32_t rate)
{
    for (const Rate& known : kRates) {
        termios settings{};
        if (known.bit_s == rate && tcgetattr(descriptor(port), &settings) == 0) {
            cfsetispeed(&settings, known.speed);
            cfsetospeed(&settings, known.speed);
            return tcsetattr(descriptor(port), TCSANOW, &settings) == 0 ? 0 : -1;
        }
    }
    return -1;
}

std::int32_t clsPosixPort::sio_getbaud(std::int32_t port)
{
    termios settings{};
    if (tcgetattr(descriptor(port), &settings) == 0) {
        for (const Rate& known : kRates) {
            if (known.speed == cfgetospeed(&settings)) {
                return known.bit_s;
            }
        }
    }
    return -1;
}

std::int32_t clsPosixPort::sio_flush(std::int32_t port, std::int32_t function)
{
    return function == 0 ? tcflush(descriptor(port), TCIFLUSH) : -1;
}

std::int32_t clsPosixPort::sio_write(std::int32_t port, std::span<const char> bytes)
{
    const int fd = descriptor(port);
    if (fd < 0) {
        return -1;
    }
    const ssize_t count = write(fd, bytes.data(), std::min<std::size_t>(bytes.size(), INT_MAX));
    if (count >= 0) {
        return static_cast<std::int32_t>(count);
    }
    noteFault(port);
    return HasVanished(port) ? -1 : 0;
}

std::int32_t clsPosixPort::sio_iqueue(std::int32_t port)
{
    const int fd = descriptor(port);
    int waiting = 0;
    if (fd < 0) {
        return -1;
    }
    if (ioctl(fd, FIONREAD, &waiting) != 0) {
        noteFault(port);
        return -1;
    }
    if (waiting > 0) {
        return waiting;
    }
    // With some drivers only a read shows that the device has gone. With bytes waiting it would take one.
    char none = 0;
    if (++m_lines[port].emptyLooks % kEmptyLooksPerRead == 0 && read(fd, &none, 0) < 0) {
        noteFault(port);
    }
    return 0;
}

std::int32_t clsPosixPort::sio_read(std::int32_t port, std::span<char> buffer)
{
    const int fd = descriptor(port);
    if (fd < 0) {
        return -1;
    }
    const std::size_t most = buffer.size() < INT_MAX ? buffer.size() : INT_MAX;
    const ssize_t count = read(fd, buffer.data(), most);
    if (count >= 0) {
        return static_cast<std::int32_t>(count);
    }
    noteFault(port);
    return -1;
}

std::int32_t clsPosixPort::sio_data_status(std::int32_t port)
{
    serial_icounter_struct counters{};
    const int fd = descriptor(port);
    // Pseudo-terminals and some adapters do not count errors.
    if (fd < 0 || ioctl(fd, TIOCGICOUNT, &counters) != 0) {
        return 0;
    }
    const LineErrors now{counters.parity, counters.frame, counters.overrun, counters.buf_overrun};
    const LineErrors before = std::exchange(m_lines[port].seen, now);
    return (now.parity != before.parity ? LineErrorParity : 0) |
           (now.framing != before.framing ? LineErrorFraming : 0) |
           (now.overrun != before.overrun ? LineErrorOverrun : 0) |
           (now.overflow != before.overflow ? LineErrorOverflow : 0);
}

bool clsPosixPort::HasVanished(std::int32_t port) const
{
    const auto line = m_lines.find(port);
    return line != m_lines.end() && line->second.fd < 0;
}

PortState clsPosixPort::State(std::int32_t port)
{
    return descriptor(port) < 0 ? PortState::Closed : PortState::Open;
}

OpenFailure clsPosixPort::LastFailure(std::int32_t port) const
{
    const auto attempt = m_attempts.find(port);
    return attempt == m_attempts.end() ? OpenFailure() : attempt->second.failure;
}

bool clsPosixPort::DevicesChanged(std::int32_t port) const
{
    const auto attempt = m_attempts.find(port);
    return attempt != m_attempts.end() && sightOf(m_devices.DeviceOf(port)) != attempt->second.before;
}

/// The time of a folder changes when a device comes or goes. Of the device itself, the permissions can change, and the
/// time when its number is reused at once. Writing to the device changes neither.
clsPosixPort::Sight clsPosixPort::sightOf(const std::string& device)
{
    Sight sight;
    struct stat info {};
    for (const char* folder : {"/dev", "/dev/serial/by-id", "/dev/pts"}) {
        sight.push_back(stat(folder, &info) == 0 ? nanoseconds(info.st_mtim) : 0);
    }
    if (stat(device.c_str(), &info) == 0) {
        for (const auto number : {info.st_dev, info.st_ino, info.st_rdev}) {
            sight.push_back(static_cast<std::int64_t>(number));
        }
        for (const auto number : {info.st_mode, info.st_uid, info.st_gid}) {
            sight.push_back(number);
        }
        sight.push_back(nanoseconds(info.st_ctim));
    }
    return sight;
}

int clsPosixPort::descriptor(std::int32_t port) const
{
    const auto line = m_lines.find(port);
    return line == m_lines.end() ? -1 : line->second.fd;
}

/// Looks at `errno`: a full queue or a signal is temporary, anything else means that the device has gone.
void clsPosixPort::noteFault(std::int32_t port)
{
    if (errno == EAGAIN || errno == EINTR) {
        return;
    }
    Line& line = m_lines[port];
    if (line.fd >= 0) {
        close(line.fd);
        line.fd = -1;
    }
}
