// The service itself: the loop that serves all lines in one thread, and what passes between them, the journal and the
// broker. It has no signals and no options; `main.cpp` has.
#pragma once

#include "gateway/GatewayMessages.h"
#include "gateway/clsJournal.h"
#include "gateway/clsPublisher.h"
#include "gateway/clsSensorLine.h"
#include "store/clsPortSensors.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// How much a line of the log matters, as the system's journal counts it.
enum class LogLevel : std::uint8_t { Error = 3, Warning = 4, Info = 6 };

/// Who carries out commands from outside. What is empty is not called.
struct CommandHooks {
    /// Commands for this sensor go to this session from now on, until `end`.
    std::function<void(std::string_view sensor, clsSession& session)> begin;
    std::function<void(std::string_view sensor)> end;
    /// A command has come with this message. Asked to say everything again, the gateway does so by itself.
    std::function<void(const GatewayCommand& command, const BrokerReceived& message, double now)> take;
};

class clsGateway : private SensorLineListener {
public:
    /// What the gateway gets made. The second and the third are called again when the configuration has changed.
    struct Parts {
        clsJournal& journal;
        std::function<std::unique_ptr<MessageFormat>(const GatewayConfig&)> makeFormat;
        std::function<std::unique_ptr<BrokerLine>(const GatewayConfig&)> makeBroker;
        std::function<void(LogLevel, const std::string&)> log; ///< English, one line
        std::string version;
        CommandHooks commands{};
        double patienceWithLine_s = 15.0; ///< longer than a line takes to leave, whatever is under way
    };

    /// Begins with all sensors of the configuration. Throws std::system_error when the system has no room for the loop.
    clsGateway(GatewayConfig config, Parts parts);
    ~clsGateway() override;
    clsGateway(const clsGateway&) = delete;
    clsGateway& operator=(const clsGateway&) = delete;

    /// A descriptor that ends the wait of `Serve` when it becomes readable.
    void WakeBy(int descriptor);
    /// One pass: whatever is due, then a wait until something is, for `most_s` at most. Returns whether one of those
    /// descriptors, or the broker's, has ended the wait.
    bool Serve(double most_s);

    /// Takes a configuration over that has no problems. Sensors that it does not change go on as if nothing had
    /// happened; others end and begin anew in the passes that follow. Another folder or other bounds of the journal
    /// hold from the next start.
    void Reload(GatewayConfig config);
    /// Ends in order: sensors that measure are stopped, recordings closed, and the broker told; some seconds at most.
    void End();

    /// What has become of a command.
    void Answer(const CommandAnswer& answer);
    /// An event of a command or of the gateway itself, when `sensor` is empty.
    void Note(std::string_view sensor, std::string_view what, const Details& details);
    const GatewayConfig& Config() const { return m_config; }

    /// In a few words, for an administrator.
    std::string Status() const;

private:
    struct Entry {
        explicit Entry(std::unique_ptr<clsSensorLine> newLine) : line(std::move(newLine)) {}

        std::unique_ptr<clsSensorLine> line;
        std::pair<int, std::int32_t> watched{-1, -1};
        std::optional<double> quietUntil_s; ///< until then arrivals are not told
        double begun_s = 0.0, nextLook_s = 0.0, toldState_s = -1e9;
        SensorState told; ///< without what changes all the time
        std::int32_t toldReports = 0;
        std::int64_t toldDropped = 0;
        double toldDropped_s = -1e9;
        bool isLeaving = false;                               ///< nothing more is said of it
        double leftBy_s = std::numeric_limits<double>::max(); ///< then it is given up
        std::string fault;                                    ///< as it was logged last
        double faultAgain_s = 0.0;
        std::string logged; ///< the connection as it was logged last
    };
    using Entries = std::vector<std::unique_ptr<Entry>>;

    // The lines.
    void begin(const SensorConfig& sensor);
    void leave(Entry& entry);
    void guard(Entry& entry, const std::function<void()>& action);
    void endLeaving();
    void beginWaiting();
    bool isNamed(const std::string& sensor) const;
    void serveLines();
    void serveLine(Entry& entry);
    void watch(Entry& entry);
    void take(Entry& entry);
    void takeQuiet();
    SensorState stateOf(const Entry& entry) const;
    void look(Entry& entry);
    void logConnection(Entry& entry, const SensorState& state);

    // The broker.
    void connect();
    bool isConnecting();
    void takeBrokerEvents();
    void take(const BrokerConnected& event);
    void take(const BrokerDisconnected& event);
    void take(const BrokerAcknowledged& event);
    void take(const BrokerReceived& event);
    void sayEverything();
    void sayAgain();
    void noteKept(const std::string& topic);
    void sayForgotten();
    void forgetAll();
    void tellState(Entry& entry, const SensorState& state);
    void tellReport(Entry& entry);
    void noteJournal();
    void noteFormer();
    void publish();

    void keepJournal(GatewayConfig& config);
    void wait(double most_s);
    double nextDue_s() const;
    void add(int descriptor, void* whom, bool isTold = true);
    void endLines();
    void sayGoodbye();
    void leaveBroker();
    void endBroker();

    std::string NameForRecording(clsSensorLine& line) override;
    void RecordingBegan(clsSensorLine& line, const std::filesystem::path& file, std::int64_t firstSequence) override;
    void Recorded(clsSensorLine& line, std::int64_t lastSequence) override;
    void RecordingEnded(clsSensorLine& line) override;
    void Measured(clsSensorLine& line, std::span<const GatewayValue> values) override;
    void Happened(clsSensorLine& line, std::string_view what, const Details& details) override;

    GatewayConfig m_config;
    clsPortSensors m_portSensors{m_config.folder / "PASSPORT"}; ///< read before the first line begins
    Parts m_parts;
    clsJournal& m_journal;
    std::unique_ptr<MessageFormat> m_format;
    std::unique_ptr<BrokerLine> m_broker;
    std::unique_ptr<clsPublisher> m_publisher;
    std::vector<std::unique_ptr<BrokerLine>> m_formerBrokers; ///< say goodbye; the present one begins behind them
    double m_goodbyesUntil_s = 0.0, m_nextTry_s = 0.0;
    bool m_isConnecting = false; ///< the present one has begun
    Entries m_entries, m_leaving;
    std::vector<std::string> m_names;      ///< in the configuration
    std::vector<SensorConfig> m_beginning; ///< as soon as those that leave have left
    std::set<std::string> m_forgotten;     ///< what is retained of them is to go
    bool m_isEnding = false;
    int m_epoll = -1;
    double m_now = 0.0, m_now_s = 0.0; ///< of the present pass
    double m_lastArrivals_s = 0.0, m_nextFill_s = 0.0, m_nextNote_s = 0.0;
    bool m_isCalled = true;                           ///< by something else than a line
    bool m_isAskedAgain = false;                      ///< everything is to be said again
    double m_nextAgain_s = 0.0;                       ///< but not before
    double m_keptLogged_s = -1e9;                     ///< a command that the broker had kept
    std::map<std::string, std::int64_t> m_toldFormer; ///< values of sensors that had to go
    double m_nextFormer_s = 0.0;
    std::string m_fromNextStart;                        ///< what a reload could not take over, as logged last
    std::string m_brokerProblem{"-"}, m_journalProblem; ///< as logged last
};
