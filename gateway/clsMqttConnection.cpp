#include "gateway/clsMqttConnection.h"

#include "base/FileHandle.h"
#include "gateway/modReach.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <malloc.h>
#include <mosquitto.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <optional>
#include <poll.h>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr unsigned kMostInFlight = 5000; // sent and not acknowledged; what is beyond waits in the library
constexpr auto kGathering = 500us;       // what comes within this time is served together
constexpr auto kBusy = 10ms;             // of so many turns as `m_turns` holds
constexpr int kLargeBlock = 1 << 20;
constexpr auto kCare = 1s;                        // between looks at the keep-alive
constexpr std::size_t kFew = 4;                   // messages on their way
constexpr std::chrono::milliseconds kNext = 60ms; // until what has come is looked at, if no message goes out before

std::string inQuotes(std::string_view text)
{
    return '"' + std::string(text) + '"';
}

std::string systemMessage(int error)
{
    return std::generic_category().message(error);
}

/// The first line of a file that only its owner and group can read: the service has a group of its own.
std::optional<std::string> readPassword(const std::filesystem::path& path, std::string& why)
{
    const FileHandle file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file.IsOpen() || fstat(file.Descriptor(), &status) != 0) {
        why = "the password file " + inQuotes(path.string()) + " cannot be read: " + systemMessage(errno);
        return std::nullopt;
    }
    if (!S_ISREG(status.st_mode)) {
        why = "the password file " + inQuotes(path.string()) + " is not a file";
        return std::nullopt;
    }
    if ((status.st_mode & S_IRWXO) != 0) {
        why = "others can read the password file " + inQuotes(path.string()) + "; chmod o= helps";
        return std::nullopt;
    }
    std::array<char, 4096> bytes{};
    const ssize_t size = read(file.Descriptor(), bytes.data(), bytes.size());
    std::string_view line(bytes.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    line = line.substr(0, line.find('\n'));
    line = line.substr(0, line.find('\r'));
    if (line.empty() || line.size() == bytes.size()) {
        why = "the password file " + inQuotes(path.string()) + " has no password in its first line";
        return std::nullopt;
    }
    return std::string(line);
}

/// A key with a password would ask for it on the terminal.
int noPassword(char*, int, int, void*)
{
    return 0;
}

/// Many small packets travel as few large ones.
class Corked {
public:
    explicit Corked(int socket) : m_socket(socket) { set(1); }
    ~Corked() { set(0); }
    Corked(const Corked&) = delete;
    Corked& operator=(const Corked&) = delete;

private:
    void set(int value) const { setsockopt(m_socket, IPPROTO_TCP, TCP_CORK, &value, sizeof value); }

    int m_socket;
};

} // namespace

/// What the library calls; its user data is the connection.
struct clsMqttConnection::Callbacks {
    static clsMqttConnection& of(void* data) { return *static_cast<clsMqttConnection*>(data); }

    static void connected(mosquitto*, void* data, int code)
    {
        auto& self = of(data);
        self.m_isUp = code == 0;
        if (code == 4 || code == 5) { // brokers take either for either
            self.m_refusal = self.m_config.user.empty()
                                 ? "the broker refuses the gateway: it asks for a user"
                                 : "the broker refuses user " + inQuotes(self.m_config.user) + " or the password";
        } else if (code != 0) {
            self.m_refusal = std::string("the broker refuses the gateway: ") + mosquitto_connack_string(code);
        }
    }
    static void published(mosquitto*, void* data, int message)
    {
        auto& self = of(data);
        if (const auto sent = self.m_sent.find(message); sent != self.m_sent.end()) {
            self.acknowledged.push_back(sent->second);
            self.m_sent.erase(sent);
        }
    }
    static void subscribed(mosquitto*, void* data, int, int count, const int* granted)
    {
        for (int i = 0; i < count; ++i) {
            if (granted[i] > 2) {
                of(data).warnings.emplace_back("the broker does not permit to subscribe to commands");
            }
        }
    }
    static void came(mosquitto*, void* data, const mosquitto_message* message)
    {
        auto& self = of(data);
        const auto size = static_cast<std::size_t>(message->payloadlen);
        if (size > kLargestPayload) {
            self.warnings.push_back("a message of " + std::to_string(size) + " bytes on " + inQuotes(message->topic) +
                                    " is left out: too large");
            return;
        }
        self.received.push_back(
            {message->topic, std::string(static_cast<const char*>(message->payload), size), message->retain});
    }
    /// Keeps the state of TLS, in which the reason stands; the library frees its own before anybody can ask. And the
    /// library knows an address only, so the name that the broker is to hear is set here, before its first message.
    static void handshake(const SSL* tls, int, int)
    {
        auto& self = of(SSL_CTX_get_app_data(SSL_get_SSL_CTX(tls)));
        if (auto* own = const_cast<SSL*>(tls); !self.m_tls && SSL_up_ref(own) == 1) {
            self.m_tls = std::shared_ptr<ssl_st>(own, SSL_free);
            const char* name = self.m_isByAddress ? nullptr : self.m_config.host.c_str();
            SSL_set_tlsext_host_name(own, name);
        }
    }
    static void said(mosquitto*, void* data, int level, const char* text)
    {
        auto& self = of(data);
        std::string_view words = text;
        if (level != MOSQ_LOG_ERR || self.m_said.size() > 500) {
            return;
        }
        if (words.starts_with("OpenSSL Error")) { // "OpenSSL Error[0]: error:0A000086:SSL routines::the words"
            words = words.substr(words.rfind(':') + 1);
        } else if (words.starts_with("Error: ")) {
            words = words.substr(7);
        }
        if (self.m_said.find(words) == std::string::npos) {
            self.m_said.append(self.m_said.empty() ? "" : ", ").append(words);
        }
    }
};

clsMqttConnection::clsMqttConnection(const BrokerConfig& config, std::string clientId, int keepAlive_s)
    : m_config(config), m_clientId(std::move(clientId)), m_keepAlive_s(keepAlive_s)
{
    [[maybe_unused]] static const bool isReady = [] {
        // Otherwise a message of 10 MB raises the limit, and the blocks of later ones stay with the process.
        mallopt(M_MMAP_THRESHOLD, kLargeBlock);
        return mosquitto_lib_init() == MOSQ_ERR_SUCCESS; // for good: a thread may be left in the library
    }();
}

clsMqttConnection::~clsMqttConnection()
{
    mosquitto_destroy(m_mosquitto);
}

bool clsMqttConnection::Open(const std::optional<MqttMessage>& will, std::chrono::milliseconds most)
{
    if (!prepare(will)) {
        return false;
    }
    const modReach::Answer reached = modReach::Try(m_config.host, m_config.port, most);
    if (reached.address.empty()) {
        return reached.lookupError != 0 ? failCode(MOSQ_ERR_EAI, reached.lookupError) : failSystem(reached.systemError);
    }
    errno = 0;
    const int code = mosquitto_connect(m_mosquitto, reached.address.c_str(), m_config.port, m_keepAlive_s);
    const int systemError = errno;
    m_lastCare = std::chrono::steady_clock::now();
    return code == MOSQ_ERR_SUCCESS || failCode(code, systemError);
}

/// Whether this is one of several turns in a short time: gathering saves some of them then, else it adds one.
bool clsMqttConnection::isBusy()
{
    const auto before = std::exchange(m_turns[m_turn++ % m_turns.size()], std::chrono::steady_clock::now());
    return m_turns[(m_turn - 1) % m_turns.size()] - before < kBusy;
}

/// With few messages on their way an acknowledgement may wait for the next message: one turn serves both.
bool clsMqttConnection::mayAwaitNext() const
{
    return m_isUp && !m_sent.empty() && m_sent.size() <= kFew && !wantsWrite();
}

bool clsMqttConnection::Serve(int wake, std::chrono::milliseconds most)
{
    const int socket = mosquitto_socket(m_mosquitto);
    if (socket < 0) {
        return failCode(MOSQ_ERR_CONN_LOST, 0);
    }
    const auto wanted = static_cast<short>(wantsWrite() ? POLLIN | POLLOUT : POLLIN);
    pollfd handles[] = {{wake, POLLIN, 0}, {socket, wanted, 0}};
    int ready = mayAwaitNext() ? poll(handles, 1, static_cast<int>(std::min(most, kNext).count())) : 0;
    if (ready == 0) {
        ready = poll(handles, 2, static_cast<int>(most.count()));
    }
    if (ready > 0 && m_isUp && isBusy()) {
        std::this_thread::sleep_for(kGathering);
    }
    std::uint64_t count = 0;
    if (handles[0].revents != 0 && read(wake, &count, sizeof count) < 0) {
        return fail("the gateway cannot wake itself: " + systemMessage(errno));
    }
    errno = 0;
    int code = MOSQ_ERR_SUCCESS;
    if (ready > 0) { // acknowledgements that came while it gathered are there, whoever has woken it
        code = mosquitto_loop_read(m_mosquitto, 1);
    }
    if (code == MOSQ_ERR_SUCCESS && wantsWrite()) {
        code = mosquitto_loop_write(m_mosquitto, 1);
    }
    if (const auto now = std::chrono::steady_clock::now(); code == MOSQ_ERR_SUCCESS && now - m_lastCare >= kCare) {
        m_lastCare = now;
        code = mosquitto_loop_misc(m_mosquitto);
    }
    return code == MOSQ_ERR_SUCCESS || failCode(code, errno);
}

bool clsMqttConnection::Publish(const std::vector<MqttMessage>& messages)
{
    std::optional<Corked> corked; // several go out together
    if (messages.size() > 1) {
        corked.emplace(mosquitto_socket(m_mosquitto));
    }
    for (const MqttMessage& message : messages) {
        int number = 0;
        errno = 0;
        const int code =
            mosquitto_publish(m_mosquitto, &number, message.topic.c_str(), static_cast<int>(message.payload.size()),
                              message.payload.data(), 1, message.retain);
        if (code != MOSQ_ERR_SUCCESS) {
            return failCode(code, errno);
        }
        m_sent[number] = {message.token, message.topic.size() + message.payload.size()};
    }
    return true;
}

bool clsMqttConnection::Subscribe(const std::vector<std::string>& filters)
{
    for (const std::string& filter : filters) {
        errno = 0;
        if (const int code = mosquitto_subscribe(m_mosquitto, nullptr, filter.c_str(), 1); code != MOSQ_ERR_SUCCESS) {
            return failCode(code, errno);
        }
    }
    return true;
}

void clsMqttConnection::Close()
{
    mosquitto_disconnect(m_mosquitto);
}

bool clsMqttConnection::prepare(const std::optional<MqttMessage>& will)
{
    m_mosquitto = mosquitto_new(m_clientId.c_str(), true, this);
    if (m_mosquitto == nullptr) {
        return fail("the client id " + inQuotes(m_clientId) + " is not possible");
    }
    mosquitto_int_option(m_mosquitto, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V311);
    mosquitto_int_option(m_mosquitto, MOSQ_OPT_TCP_NODELAY, 1);
    mosquitto_max_inflight_messages_set(m_mosquitto, kMostInFlight);
    mosquitto_connect_callback_set(m_mosquitto, Callbacks::connected);
    mosquitto_publish_callback_set(m_mosquitto, Callbacks::published);
    mosquitto_subscribe_callback_set(m_mosquitto, Callbacks::subscribed);
    mosquitto_message_callback_set(m_mosquitto, Callbacks::came);
    mosquitto_log_callback_set(m_mosquitto, Callbacks::said);
    if (will && mosquitto_will_set(m_mosquitto, will->topic.c_str(), static_cast<int>(will->payload.size()),
                                   will->payload.data(), 1, will->retain) != MOSQ_ERR_SUCCESS) {
        return fail("the last will is not possible on " + inQuotes(will->topic));
    }
    return prepareUser() && (!m_config.usesTls || prepareTls());
}

bool clsMqttConnection::prepareUser()
{
    if (m_config.user.empty()) {
        return true;
    }
    std::optional<std::string> password;
    if (!m_config.passwordFile.empty() && !(password = readPassword(m_config.passwordFile, m_why))) {
        return false;
    }
    return mosquitto_username_pw_set(m_mosquitto, m_config.user.c_str(), password ? password->c_str() : nullptr) ==
               MOSQ_ERR_SUCCESS ||
           fail("user or password have characters that are not possible");
}

bool clsMqttConnection::prepareTls()
{
    for (const auto& file : {m_config.ca, m_config.certificate, m_config.key}) {
        if (!file.empty() && access(file.c_str(), R_OK) != 0) {
            return fail(inQuotes(file.string()) + " cannot be read: " + systemMessage(errno));
        }
    }
    m_tlsContext = std::shared_ptr<ssl_ctx_st>(SSL_CTX_new(TLS_client_method()), SSL_CTX_free);
    SSL_CTX* context = m_tlsContext.get();
    if (context == nullptr) {
        return fail("TLS: no memory");
    }
    SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
    SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
    X509_VERIFY_PARAM* expected = SSL_CTX_get0_param(context);
    m_isByAddress = X509_VERIFY_PARAM_set1_ip_asc(expected, m_config.host.c_str()) == 1;
    if (!m_isByAddress && X509_VERIFY_PARAM_set1_host(expected, m_config.host.c_str(), 0) != 1) {
        return fail("TLS: the host " + inQuotes(m_config.host) + " is not possible");
    }
    if ((m_config.ca.empty() ? SSL_CTX_set_default_verify_paths(context)
                             : SSL_CTX_load_verify_locations(context, m_config.ca.c_str(), nullptr)) != 1) {
        return fail("TLS: there is no certificate in " + inQuotes(m_config.ca.string()));
    }
    SSL_CTX_set_default_passwd_cb(context, noPassword);
    if (!m_config.certificate.empty() &&
        SSL_CTX_use_certificate_chain_file(context, m_config.certificate.c_str()) != 1) {
        return fail("TLS: there is no certificate in " + inQuotes(m_config.certificate.string()));
    }
    if (!m_config.key.empty() && SSL_CTX_use_PrivateKey_file(context, m_config.key.c_str(), SSL_FILETYPE_PEM) != 1) {
        return fail("TLS: " + inQuotes(m_config.key.string()) + " has no key without a password for this certificate");
    }
    SSL_CTX_set_app_data(context, this);
    SSL_CTX_set_info_callback(context, Callbacks::handshake);
    mosquitto_int_option(m_mosquitto, MOSQ_OPT_SSL_CTX_WITH_DEFAULTS, 0);
    mosquitto_void_option(m_mosquitto, MOSQ_OPT_SSL_CTX, context);
    return true;
}

bool clsMqttConnection::wantsWrite() const
{
    // During the handshake the library always has a packet that waits; poll() would never wait.
    if (m_tls && SSL_is_init_finished(m_tls.get()) == 0) {
        return SSL_want_write(m_tls.get());
    }
    return mosquitto_want_write(m_mosquitto);
}

bool clsMqttConnection::fail(std::string why)
{
    m_isUp = false;
    m_why = std::move(why);
    return false;
}

bool clsMqttConnection::failSystem(int systemError)
{
    return fail((m_isUp ? "the connection to the broker is lost: " : "no connection to the broker: ") +
                systemMessage(systemError));
}

bool clsMqttConnection::failCode(int code, int systemError)
{
    if (!m_refusal.empty()) {
        return fail(m_refusal);
    }
    if (code == MOSQ_ERR_EAI) {
        return fail("the host " + inQuotes(m_config.host) + " is not found: " + gai_strerror(systemError));
    }
    if (std::string reason = tlsReason(); !reason.empty()) {
        return fail(std::move(reason));
    }
    if (code == MOSQ_ERR_KEEPALIVE) {
        return fail("the broker does not answer any more");
    }
    if (code == MOSQ_ERR_ERRNO && systemError != 0) {
        return failSystem(systemError);
    }
    if (code == MOSQ_ERR_CONN_LOST && m_isUp) {
        return fail("the broker has closed the connection; if it does so again and again, another gateway has the "
                    "client id " +
                    inQuotes(m_clientId));
    }
    if (code == MOSQ_ERR_CONN_LOST) {
        return fail(m_config.usesTls ? "the broker has closed the connection"
                                     : "the broker has closed the connection at once; does it want TLS?");
    }
    // "Success" would be the system's word for a failure of which it knows nothing.
    return fail(code == MOSQ_ERR_ERRNO ? "no connection to the broker: what answers there is no MQTT broker"
                                       : std::string("no connection to the broker: ") + mosquitto_strerror(code));
}

std::string clsMqttConnection::tlsReason() const
{
    const long result = m_tls ? SSL_get_verify_result(m_tls.get()) : X509_V_OK;
    if (result == X509_V_ERR_HOSTNAME_MISMATCH || result == X509_V_ERR_IP_ADDRESS_MISMATCH) {
        return "the broker's certificate is not for " + inQuotes(m_config.host);
    }
    if (result != X509_V_OK) {
        return std::string("the broker's certificate is not accepted: ") + X509_verify_cert_error_string(result);
    }
    if (m_said.empty()) {
        return {};
    }
    if (!m_config.usesTls) {
        return "what answers there is no MQTT broker: " + m_said;
    }
    const bool mayBePlain = m_said == "unexpected eof while reading" || m_said == "wrong version number";
    return "TLS: " + m_said + (mayBePlain && !m_isUp ? "; is this its port for TLS?" : "");
}
