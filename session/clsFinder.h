// Looks for sensors on ports of which nothing is known. It listens before it asks: a line on which values come gets no
// byte, so a sensor that measures goes on. Nothing waits; the caller steps it with the time, several times a second.
#pragma once

#include "base/Operation.h"
#include "port/SerialPort.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// A port to look at.
struct FindCandidate {
    std::int32_t port = 0;
    std::string name;        ///< as the user knows it, UTF-8
    bool isOwn = false;      ///< this program uses it: it is named and passed over
    std::string device = {}; ///< its user is asked for before it is opened; empty: not asked
    bool hasNumber = true;   ///< false: `port` leads to the device only as long as the search runs
};

enum class FindEvent : std::uint8_t {
    // What is tried.
    Opening,
    Listening,
    Asking,
    Reading, ///< a sensor answers
    // What came of a port. `Found` may be followed by another port, not by another event of this one.
    NotOpened, ///< or the server has ended the connection during the search
    NoAnswer,
    OnlyEcho,    ///< what is sent comes back, and nothing else
    OtherBytes,  ///< something sends that is not recognised; nothing was sent there
    OtherAnswer, ///< the same, but it was silent until it was asked
    Vanished,
    Own,
    Found,
};

struct FindStep {
    FindEvent event = FindEvent::Opening;
    std::string name;          ///< of the port
    std::int32_t rate = 0;     ///< that is tried, in bit/s; 0 where the line has none
    OpenFailure failure{};     ///< with NotOpened
    std::size_t candidate = 0; ///< its number, from 0
};

struct FoundSensor {
    std::int32_t port = 0;
    std::string name;                   ///< of the port
    std::int32_t rate = 0;              ///< in bit/s; 0: the line has none to set
    std::optional<std::int32_t> format; ///< of the values that it sends by itself; such a sensor is not asked anything
    std::string serialNo, version;      ///< one byte a character; empty: not known
    bool hasNumber = true;              ///< as of the candidate
};

class clsFinder {
public:
    static constexpr double kPort_s = 10.0; ///< for one port, at most

    using Tell = std::function<void(const FindStep&)>;
    using UserOf = std::function<std::optional<PortUser>(const std::string& device)>;

    /// Which other program has a device open. Takes some tens of milliseconds.
    static std::optional<PortUser> AskSystem(const std::string& device);

    /// `port` must outlive the finder and belong to nobody else. It is opened for one candidate after the other, unless
    /// `userOf` says that another program has it, and closed after each. `tell` hears each step; `userOf` runs in a
    /// thread.
    clsFinder(SerialPort& port, std::vector<FindCandidate> candidates, Tell tell, UserOf userOf = AskSystem);

    /// Goes on at `now_s`, counted from any moment. True when it is over.
    bool Step(double now_s);
    /// Ends the search at once; what was found stays.
    void Cancel() { m_work.reset(); }

    bool IsOver() const { return !m_work; }
    const std::vector<FindCandidate>& Candidates() const { return m_candidates; }
    const std::vector<FoundSensor>& Found() const { return m_found; }

private:
    /// What listening to a line has shown.
    enum class Sound : std::uint8_t { Quiet, Values, Bytes, Announcement, Gone };
    /// What came of a question.
    enum class Answer : std::uint8_t { None, Echo, Foreign, Cut, Dump, Values, Gone };

    Operation<> finding();
    Operation<> searching();
    Operation<bool> lookingForUser();
    Operation<bool> opening();
    Operation<> asking(std::vector<std::int32_t> rates);
    Operation<Answer> askingAt(std::int32_t rate);
    Operation<Sound> hearing(const std::vector<std::int32_t>& rates);
    Operation<Sound> listeningAt(std::int32_t rate, double limit_s);

    void beginAt(std::int32_t rate, FindEvent event);
    bool takeArrived();
    bool hearsValues();
    void tell(FindEvent event);
    void tellNotOpened(OpenFailure failure);
    void tellGone();
    void noteFound();
    void noteDump(std::string_view dump);
    const FindCandidate& candidate() const { return m_candidates[m_at]; }
    double delay_s() const;
    bool isTimeUp() const { return m_now_s >= m_portEnd_s; }

    SerialPort& m_port;
    std::vector<FindCandidate> m_candidates;
    Tell m_tell;
    UserOf m_userOf;
    std::vector<FoundSensor> m_found;
    double m_now_s = 0.0;

    // The port that is looked at.
    std::size_t m_at = 0;
    double m_portEnd_s = 0.0;
    std::int32_t m_rate = 0;
    std::string m_heard; ///< at this rate
    double m_begun_s = 0.0, m_lastArrival_s = 0.0, m_firstArrival_s = 0.0;
    bool m_isCleanLine = true;
    bool m_isPromising = false;
    std::optional<std::int32_t> m_format;
    std::string m_serialNo, m_version;

    std::optional<Operation<>> m_work; ///< last: it uses the members above until it is destroyed
};
