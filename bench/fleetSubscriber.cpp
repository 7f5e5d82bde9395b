// Subscribes to the values of a gateway, as JSON, and counts for each sensor what came, what came twice, what is
// missing and what came out of order; of values that came live it takes the time from the arrival of their last byte at
// the gateway. Ends with SIGTERM or SIGINT and prints one JSON object.
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <getopt.h>
#include <iostream>
#include <map>
#include <mosquitto.h>
#include <nlohmann/json.hpp>
#include <signal.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace {

using nlohmann::json;

constexpr auto kPause = std::chrono::milliseconds(100); // before the broker is tried again
constexpr int kLoop_ms = 100;
constexpr int kKeepAlive_s = 10;
constexpr int kBadArguments = 2;

volatile sig_atomic_t mustEnd = 0;

struct Options {
    std::string hosts = "127.0.0.1:1883", gateway = "gateway", prefix = "orvex", id = "fleet-subscriber", log, ready;
    double discard_s = 0; ///< latencies of the first seconds do not count
};

double now_s()
{
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

/// Seconds since 1970 from "2026-11-22T22:00:00.123Z"; throws std::invalid_argument for any other text.
double seconds(const std::string& text)
{
    std::tm parts{};
    const char* rest = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &parts);
    if (rest == nullptr || text.back() != 'Z') {
        throw std::invalid_argument("no time: " + text);
    }
    return static_cast<double>(timegm(&parts)) + std::strtod(rest, nullptr);
}

/// The values of one sensor in one run of the gateway, by their number.
class clsRun {
public:
    void Take(std::int64_t number, bool isHistorical)
    {
        const auto place = static_cast<std::size_t>(number);
        if (m_seen.size() <= place) {
            m_seen.resize(place + 1);
        }
        if (m_seen[place]) {
            ++duplicates;
            return;
        }
        m_seen[place] = true;
        m_lowest = m_lowest == 0 ? number : std::min(m_lowest, number);
        // Live values and historical ones are two streams, each in its order.
        std::int64_t& last = isHistorical ? m_lastHistorical : m_lastLive;
        disordered += number < last ? 1 : 0;
        last = std::max(last, number);
    }
    /// Different ones, up to the highest.
    std::int64_t Values() const { return std::count(m_seen.begin(), m_seen.end(), true); }
    std::int64_t Lowest() const { return m_lowest; }
    std::int64_t Highest() const { return m_seen.empty() ? 0 : static_cast<std::int64_t>(m_seen.size()) - 1; }

    std::int64_t duplicates = 0, disordered = 0;

private:
    std::vector<bool> m_seen;
    std::int64_t m_lowest = 0, m_lastLive = 0, m_lastHistorical = 0;
};

struct Sensor {
    std::map<std::int64_t, clsRun> runs;
    std::int64_t historical = 0, unrecorded = 0;
};

class clsSubscriber {
public:
    explicit clsSubscriber(const Options& options) : m_options(options)
    {
        if (!options.log.empty()) {
            m_log.open(options.log, std::ios::trunc);
        }
        std::istringstream hosts(options.hosts);
        for (std::string one; std::getline(hosts, one, ',');) {
            m_hosts.push_back(one);
        }
        // Not a clean session: a broker that keeps it has what came while this connection was away.
        m_client = mosquitto_new(options.id.c_str(), false, this);
        mosquitto_connect_callback_set(
            m_client, [](mosquitto*, void* self, int code) { static_cast<clsSubscriber*>(self)->connected(code); });
        mosquitto_subscribe_callback_set(m_client, [](mosquitto*, void* self, int, int, const int*) {
            static_cast<clsSubscriber*>(self)->tellReady();
        });
        mosquitto_message_callback_set(m_client, [](mosquitto*, void* self, const mosquitto_message* message) {
            static_cast<clsSubscriber*>(self)->received(*message);
        });
    }
    ~clsSubscriber() { mosquitto_destroy(m_client); }
    clsSubscriber(const clsSubscriber&) = delete;

    void Run()
    {
        m_begin_s = now_s();
        int code = connect();
        while (mustEnd == 0) {
            if (code == MOSQ_ERR_SUCCESS) {
                code = mosquitto_loop(m_client, kLoop_ms, 1);
                continue;
            }
            std::this_thread::sleep_for(kPause);
            code = connect();
        }
        mosquitto_disconnect(m_client);
    }

    json Report()
    {
        json sensors = json::object();
        for (const auto& [name, sensor] : m_sensors) {
            json runs = json::object();
            for (const auto& [number, run] : sensor.runs) {
                runs[std::to_string(number)] = {{"values", run.Values()},
                                                {"holes", run.Highest() - run.Values()},
                                                {"inside", run.Highest() - run.Lowest() + 1 - run.Values()},
                                                {"duplicates", run.duplicates},
                                                {"disordered", run.disordered}};
            }
            sensors[name] = {{"runs", runs}, {"historical", sensor.historical}, {"unrecorded", sensor.unrecorded}};
        }
        std::sort(m_latencies_ms.begin(), m_latencies_ms.end());
        return {{"sensors", sensors},
                {"connections", m_connections},
                {"notUnderstood", m_notUnderstood},
                {"latency_ms",
                 {{"values", m_latencies_ms.size()}, {"median", latency_ms(0.5)}, {"99 %", latency_ms(0.99)}}}};
    }

private:
    /// To the next of the hosts.
    int connect()
    {
        const std::string one = m_hosts.at(m_attempts++ % m_hosts.size());
        const std::size_t colon = one.rfind(':');
        return mosquitto_connect(m_client, one.substr(0, colon).c_str(), std::atoi(one.c_str() + colon + 1),
                                 kKeepAlive_s);
    }

    void connected(int code)
    {
        if (code == 0) {
            ++m_connections;
            const std::string filter = m_options.prefix + "/" + m_options.gateway + "/+/value";
            mosquitto_subscribe(m_client, nullptr, filter.c_str(), 1);
        }
    }

    void tellReady() const
    {
        if (!m_options.ready.empty()) {
            std::ofstream(m_options.ready).put('\n');
        }
    }

    void received(const mosquitto_message& message)
    {
        const double time_s = now_s();
        const std::string_view topic = message.topic;
        const std::size_t end = topic.rfind('/');
        const std::size_t begin = topic.rfind('/', end - 1) + 1;
        const std::string name(topic.substr(begin, end - begin));
        const char* bytes = static_cast<const char*>(message.payload);
        try {
            const json content = json::parse(bytes, bytes + message.payloadlen);
            if (!content.contains("values")) {
                take(name, content, time_s);
                return;
            }
            for (const json& value : content["values"]) {
                take(name, value, time_s);
            }
        } catch (const std::exception&) {
            ++m_notUnderstood;
        }
    }

    void take(const std::string& name, const json& value, double time_s)
    {
        Sensor& sensor = m_sensors[name];
        const std::int64_t number = value.value("seq", std::int64_t{0});
        const std::int64_t run = value.value("run", std::int64_t{0});
        const bool isHistorical = value.value("historical", false);
        const double arrival_s = seconds(value.at("time").get<std::string>());
        sensor.historical += isHistorical ? 1 : 0;
        if (number > 0) {
            sensor.runs[run].Take(number, isHistorical);
        } else {
            ++sensor.unrecorded;
        }
        if (!isHistorical && time_s - m_begin_s > m_options.discard_s) {
            m_latencies_ms.push_back(static_cast<float>((time_s - arrival_s) * 1000));
        }
        if (m_log.is_open()) {
            std::array<char, 160> line{};
            std::snprintf(line.data(), line.size(), "%s;%lld;%lld;%.6f;%.3f;%s;%d;%d\n", name.c_str(),
                          static_cast<long long>(run), static_cast<long long>(number), time_s, arrival_s,
                          value.value("kind", std::string()).c_str(), value.value("mm", 0), isHistorical ? 1 : 0);
            m_log << line.data();
        }
    }

    double latency_ms(double share) const
    {
        if (m_latencies_ms.empty()) {
            return -1;
        }
        const auto last = static_cast<double>(m_latencies_ms.size() - 1);
        return static_cast<double>(m_latencies_ms[static_cast<std::size_t>(std::lround(share * last))]);
    }

    Options m_options;
    std::vector<std::string> m_hosts;
    std::size_t m_attempts = 0;
    mosquitto* m_client = nullptr;
    std::ofstream m_log;
    double m_begin_s = 0;
    std::map<std::string, Sensor> m_sensors;
    std::vector<float> m_latencies_ms;
    std::int64_t m_connections = 0, m_notUnderstood = 0;
};

bool readOptions(int argc, char* argv[], Options& options)
{
    constexpr option kOptions[] = {
        {"hosts", required_argument, nullptr, 'h'},   {"gateway", required_argument, nullptr, 'g'},
        {"prefix", required_argument, nullptr, 'x'},  {"id", required_argument, nullptr, 'i'},
        {"log", required_argument, nullptr, 'l'},     {"ready", required_argument, nullptr, 'r'},
        {"discard", required_argument, nullptr, 'd'}, {nullptr, 0, nullptr, 0}};
    const std::map<int, std::string*> texts = {{'h', &options.hosts}, {'g', &options.gateway}, {'x', &options.prefix},
                                               {'i', &options.id},    {'l', &options.log},     {'r', &options.ready}};
    for (int choice = 0; (choice = getopt_long(argc, argv, "", kOptions, nullptr)) != -1;) {
        if (const auto text = texts.find(choice); text != texts.end()) {
            *text->second = optarg;
        } else if (choice == 'd') {
            options.discard_s = std::atof(optarg);
        } else {
            return false;
        }
    }
    return optind == argc && options.hosts.find(':') != options.hosts.npos;
}

} // namespace

int main(int argc, char* argv[])
{
    Options options;
    if (!readOptions(argc, argv, options)) {
        std::cerr
            << "Usage: orvex_fleet_subscriber [--hosts HOST:PORT,...] [--gateway NAME] [--prefix NAME] [--id ID]\n"
               "  [--log FILE]     every value: sensor, run, number, received and arrived (s), kind, mm, historical\n"
               "  [--ready FILE]   written as soon as the subscription stands\n"
               "  [--discard S]    the delays of the first S seconds do not count\n";
        return kBadArguments;
    }
    signal(SIGINT, [](int) { mustEnd = 1; });
    signal(SIGTERM, [](int) { mustEnd = 1; });
    mosquitto_lib_init();
    {
        clsSubscriber subscriber(options);
        subscriber.Run();
        std::cout << subscriber.Report().dump(1) << std::endl;
    }
    mosquitto_lib_cleanup();
    return 0;
}
