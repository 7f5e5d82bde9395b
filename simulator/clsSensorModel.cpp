// Commands and parameters of the simulated sensor; clsSensorModelMeasure.cpp holds what it measures.
#include "simulator/clsSensorModel.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace simulator {

namespace {

constexpr double kProcessing_s = 0.002; // from a complete command to the first bit of its answer
constexpr double kLatest_s = 1.0;       // how late a slow answer can be
constexpr std::size_t kWireLogLength = 1000;
constexpr std::string_view kReady = "RVQ ready\r\n";
constexpr std::int32_t kFactoryRateIndex = 3;

std::int32_t roundedToTens(std::int32_t value)
{
    return (value + (value < 0 ? -5 : 5)) / 10 * 10;
}

std::size_t knownParameter(std::string_view code)
{
    const auto place = FindParameter(code);
    if (!place) {
        throw std::out_of_range("the sensor has no parameter " + std::string(code));
    }
    return *place;
}

} // namespace

clsSensorModel::clsSensorModel(const SensorOptions& options)
    : m_options(options), m_line(options.lineRate, options.seed + 1), m_random(options.seed),
      m_current(FactoryValues()), m_stored(m_current),
      m_bootRateIndex(RateIndex(options.lineRate).value_or(kFactoryRateIndex))
{
    m_current[knownParameter("601")] = m_bootRateIndex;
    m_current[knownParameter("101")] = static_cast<std::int32_t>(options.format);
    m_stored = m_current;
}

void clsSensorModel::PowerOn(double now_s)
{
    m_reader.Reset();
    m_line.Clear();
    m_onTheirWay.clear();
    m_singleValue_s.reset();
    m_isMeasuring = false;
    m_isMarkerOn = false;
    m_current = m_stored;
    // A rate given from outside may have no index; it stays until a different one is stored.
    if (const std::int32_t index = Parameter("601"); index != m_bootRateIndex) {
        m_line.Rate(kRates.at(static_cast<std::size_t>(index)));
        m_bootRateIndex = index;
    }
    if (m_options.faults.silence < 1) {
        m_line.Send(kReady, now_s + kProcessing_s, m_options.faults);
    }
    if (Parameter("305") == 1) {
        startMeasuring(now_s);
    }
}

void clsSensorModel::Receive(std::string_view bytes, double now_s)
{
    advance(now_s);
    for (const char byte : bytes) {
        const auto command = m_reader.Take(byte, now_s);
        if (!command) {
            continue;
        }
        m_wireLog.push_back(*command);
        if (m_wireLog.size() > kWireLogLength) {
            m_wireLog.pop_front();
        }
        if (!Happens(m_options.faults.silence, m_random)) {
            execute(*command, now_s);
        }
    }
}

std::string clsSensorModel::Transmit(double now_s)
{
    advance(now_s);
    std::vector<std::int64_t> gone;
    std::string bytes = m_line.TakeDue(now_s, gone);
    m_justSent.clear();
    for (std::size_t i = 0; i < gone.size(); ++i) { // in their order
        m_justSent.push_back(std::move(m_onTheirWay.front()));
        m_onTheirWay.pop_front();
    }
    return bytes;
}

double clsSensorModel::NextDue() const
{
    double due_s = m_line.NextDue();
    if (m_isMeasuring) {
        due_s = std::min(due_s, std::max(m_nextValue_s, m_line.FreeAt()));
    }
    if (m_singleValue_s) {
        due_s = std::min(due_s, std::max(*m_singleValue_s, m_line.FreeAt()));
    }
    return due_s;
}

std::int32_t clsSensorModel::Parameter(std::string_view code) const
{
    return m_current[knownParameter(code)];
}

std::int32_t clsSensorModel::StoredParameter(std::string_view code) const
{
    return m_stored[knownParameter(code)];
}

void clsSensorModel::SetParameter(std::string_view code, std::int32_t value)
{
    const std::size_t place = knownParameter(code);
    const ParameterRow& row = kParameterRows[place];
    if (value < row.minimum || value > row.maximum) {
        throw std::out_of_range("parameter " + std::string(code) + " cannot be " + std::to_string(value));
    }
    m_current[place] = value;
}

void clsSensorModel::execute(std::string_view command, double now_s)
{
    if (Happens(m_options.faults.forget, m_random)) {
        LoseMemory();
    }
    switch (command.front()) {
    case 'M':
        startMeasuring(now_s);
        break;
    case 'S':
        stopMeasuring();
        break;
    case 'X':
        stopMeasuring();
        answer("Sensor ready\r\n", now_s);
        break;
    case 'G':
        m_singleValue_s = now_s + interval_s();
        break;
    case 'T':
        answer(TemperatureMessage(format(), m_temperature_C, isTemperatureGood()), now_s);
        break;
    case 'C': {
        std::string text = dump();
        if (Happens(m_options.faults.cutdump, m_random)) {
            text.resize(text.size() / 2);
        }
        if (Happens(m_options.faults.falsedump, m_random)) {
            falsify(text);
        }
        answer(std::move(text), now_s);
        break;
    }
    case 'O':
    case 'P':
        m_isMarkerOn = command.front() == 'P';
        break;
    default:
        executeFrame(command, now_s);
    }
}

void clsSensorModel::executeFrame(std::string_view frame, double now_s)
{
    const std::string_view code = frame.substr(0, 3);
    const bool isWellFormed = frame.size() >= 5 && frame[3] == ' ' && code.find_first_not_of("0123456789") == code.npos;
    if (!isWellFormed) {
        answer("Error ???\r\n", now_s);
        return;
    }
    const bool isDone =
        !Happens(m_options.faults.refusal, m_random) && applyFrame(code, frame.substr(4, frame.size() - 5));
    if (!isDone) {
        answer("Error " + std::string(code) + "\r\n", now_s);
    } else {
        answer(m_options.isShortAcknowledge ? "OK\r\n" : "OK " + std::string(code) + "\r\n", now_s);
    }
}

bool clsSensorModel::applyFrame(std::string_view code, std::string_view text)
{
    if (code == m_options.faults.refused) {
        return false;
    }
    const bool isIgnored = code == m_options.faults.ignored;
    if (code == "999" || code == "000") {
        if (isIgnored || !text.empty()) {
            return text.empty();
        }
        (code == "999" ? m_stored : m_current) = code == "999" ? m_current : FactoryValues();
        return true;
    }
    const auto place = FindParameter(code);
    if (!place || !hasParameter(kParameterRows[*place])) {
        return false;
    }
    const auto value = ReadParameterText(kParameterRows[*place], text);
    if (value && !isIgnored) {
        m_current[*place] = code == m_options.faults.rounded ? roundedToTens(*value) : *value;
    }
    return value.has_value();
}

void clsSensorModel::answer(std::string text, double now_s)
{
    double delay_s = kProcessing_s;
    if (Happens(m_options.faults.slow, m_random)) {
        delay_s += std::uniform_real_distribution<double>(0, kLatest_s)(m_random);
    }
    if (Happens(m_options.faults.announce, m_random)) {
        text.insert(text.size() / 2, kReady);
    }
    m_line.Send(text, now_s + delay_s, m_options.faults);
}

std::string clsSensorModel::dump() const
{
    const bool isShutDown = m_options.faults.shutdown >= 0.5;
    std::string text = m_options.kind == DeviceKind::Serial ? "Type: Serial\r\n" : "Type: Profibus\r\n";
    text += "Attenuator: " + m_options.attenuator + "\r\n";
    text += "Serial-No: " + m_serialNo + "\r\nVersion: 2.07\r\nBuild: 1187\r\nDate: 2019-03-14\r\n";
    text += std::string("Pointer: ") + (isShutDown ? "shutdown" : m_isMarkerOn ? "on" : "off") + "\r\n";
    text += "Temperature: " + TemperatureText(m_temperature_C, isTemperatureGood()) + "\r\n";
    for (std::size_t i = 0; i < kParameterRows.size(); ++i) {
        const ParameterRow& row = kParameterRows[i];
        if (!hasParameter(row) || row.code == m_options.faults.omitted) {
            continue;
        }
        text += m_options.isLegacyDump && row.code == "306" ? "3 06" : std::string(row.code);
        text += ": " + std::to_string(m_current[i]) + "\r\n";
    }
    return text + "end\r\n";
}

/// Another digit in a value of the list of parameters.
void clsSensorModel::falsify(std::string& dump)
{
    std::vector<std::size_t> digits;
    for (std::size_t at = dump.find("\r\n101: "); (at = dump.find(": ", at)) != std::string::npos; ++at) {
        digits.push_back(dump.find_first_of("0123456789", at));
    }
    char& digit = dump[digits[std::uniform_int_distribution<std::size_t>(0, digits.size() - 1)(m_random)]];
    digit = static_cast<char>('0' + (digit - '0' + 1) % 10);
}

bool clsSensorModel::isTemperatureGood() const
{
    return m_options.faults.shutdown < 0.5;
}

bool clsSensorModel::hasParameter(const ParameterRow& row) const
{
    switch (row.presence) {
    case Presence::ProfibusOnly:
        return m_options.kind == DeviceKind::Profibus;
    case Presence::EchoOnly:
        return m_options.attenuator.find('E') != std::string::npos;
    case Presence::Always:
        break;
    }
    return true;
}

Format clsSensorModel::format() const
{
    return static_cast<Format>(Parameter("101"));
}

} // namespace simulator
