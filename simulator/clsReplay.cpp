#include "simulator/clsReplay.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <limits>
#include <optional>
#include <stdexcept>
#include <utility>

namespace simulator {

namespace {

constexpr double kPatience_s = 2.0; // a sensor forgets a frame that is not finished
constexpr std::size_t kLongestFrame = 64;
constexpr std::size_t kLongestNews = 40;
constexpr std::string_view kAside = "T";          // a measuring sensor answers it among its values
constexpr std::string_view kAsideReply = " C,";   // in its answer, if that is text
constexpr std::string_view kPolls[] = {"T", "X"}; // what programs ask by their own clock

[[noreturn]] void fail(std::size_t line, std::string_view what)
{
    throw std::runtime_error("line " + std::to_string(line) + ": " + std::string(what));
}

std::string_view takeWord(std::string_view& line)
{
    const std::size_t begin = std::min(line.find_first_not_of(" \t\r"), line.size());
    const std::size_t end = std::min(line.find_first_of(" \t\r", begin), line.size());
    const std::string_view word = line.substr(begin, end - begin);
    line.remove_prefix(end);
    return word;
}

/// A whole number at its place in a time; -1 for anything else.
int numberAt(std::string_view text, std::size_t at, std::size_t digits)
{
    int number = -1;
    if (at + digits > text.size()) {
        return -1;
    }
    const char* const end = text.data() + at + digits;
    const auto [rest, error] = std::from_chars(text.data() + at, end, number);
    return error == std::errc{} && rest == end ? number : -1;
}

/// Seconds of a time such as 2026-11-20T14:03:05.250+01:00; the offset may be missing.
std::optional<double> timeOf(std::string_view text)
{
    constexpr std::string_view kForm = "0000-00-00T00:00:00.000";
    if (text.size() < kForm.size()) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < kForm.size(); ++i) {
        const bool isDigit = text[i] >= '0' && text[i] <= '9';
        if (kForm[i] == '0' ? !isDigit : text[i] != kForm[i]) {
            return std::nullopt;
        }
    }
    const std::chrono::year_month_day day{std::chrono::year(numberAt(text, 0, 4)),
                                          std::chrono::month(static_cast<unsigned>(numberAt(text, 5, 2))),
                                          std::chrono::day(static_cast<unsigned>(numberAt(text, 8, 2)))};
    double offset_min = 0;
    if (const std::string_view offset = text.substr(kForm.size()); !offset.empty() && offset != "Z") {
        const int hours = numberAt(offset, 1, 2), minutes = numberAt(offset, 4, 2);
        if (offset.size() != 6 || (offset[0] != '+' && offset[0] != '-') || hours < 0 || minutes < 0) {
            return std::nullopt;
        }
        offset_min = (offset[0] == '-' ? -1 : 1) * (hours * 60 + minutes);
    }
    const int hour = numberAt(text, 11, 2), minute = numberAt(text, 14, 2), second = numberAt(text, 17, 2);
    if (!day.ok() || hour > 23 || minute > 59 || second > 60) {
        return std::nullopt;
    }
    const auto days = std::chrono::sys_days(day).time_since_epoch().count();
    return static_cast<double>(days) * 86400.0 + hour * 3600.0 + (minute - offset_min) * 60.0 + second +
           numberAt(text, 20, 3) / 1000.0;
}

std::optional<std::string> bytesOf(std::string_view line)
{
    std::string bytes;
    for (std::string_view word = takeWord(line); !word.empty(); word = takeWord(line)) {
        unsigned value = 0;
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value, 16);
        if (word.size() != 2 || error != std::errc{} || end != word.data() + word.size()) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<char>(value));
    }
    return bytes;
}

/// A request as it can be shown.
std::string shown(std::string_view request)
{
    std::string text = "\"";
    for (const char byte : request.substr(0, kLongestNews)) {
        text += byte >= ' ' && byte <= '~' ? std::string(1, byte) : byte == '\r' ? "\\r" : "?";
    }
    return text + '"';
}

bool isPoll(std::string_view request)
{
    return std::ranges::find(kPolls, request) != std::end(kPolls);
}

} // namespace

clsReplay::clsReplay(std::istream& recording) : m_requests(1)
{
    Cutter cutter;
    std::string line;
    std::size_t number = 0, bytes = 0;
    for (char byte = 0; recording.get(byte);) {
        if (++bytes > kMostBytes) {
            fail(number + 1, "the recording is larger than 256 MiB");
        }
        if (byte != '\n') {
            line.push_back(byte);
            if (line.size() > kLongestLine) {
                fail(number + 1, "longer than a line of a recording");
            }
            continue;
        }
        takeLine(line, ++number, cutter);
        line.clear();
    }
    if (recording.bad()) {
        throw std::runtime_error("cannot be read");
    }
    takeUnfinished(line, ++number, cutter);
    if (!isSpeaking()) {
        throw std::runtime_error("no sensor says anything in this recording");
    }
}

bool clsReplay::isSpeaking() const
{
    return std::ranges::any_of(m_requests, [](const Request& request) { return !request.answers.empty(); });
}

/// The last line, if it has no end: whoever wrote it may have been stopped there.
void clsReplay::takeUnfinished(std::string_view line, std::size_t number, Cutter& cutter)
{
    try {
        takeLine(line, number, cutter);
    } catch (const std::runtime_error&) {
        if (!isSpeaking()) {
            throw;
        }
        say("line " + std::to_string(number) + " is not finished: it is left out");
    }
}

void clsReplay::takeLine(std::string_view line, std::size_t number, Cutter& cutter)
{
    line = line.substr(0, line.find('#'));
    const std::string_view time = takeWord(line);
    if (time.empty()) {
        return;
    }
    const auto time_s = timeOf(time);
    if (!time_s) {
        fail(number, "does not begin with a time like 2026-11-20T14:03:05.250+01:00");
    }
    const std::string_view direction = takeWord(line);
    if (direction != ">" && direction != "<" && direction != "-") {
        fail(number, "the direction is >, < or -");
    }
    const auto bytes = bytesOf(line);
    if (!bytes) {
        fail(number, "the bytes are two hexadecimal digits each");
    }
    Request& newest = m_requests.back();
    if (m_requests.size() == 1 && newest.time_s == 0) {
        newest.time_s = *time_s;
    }
    if (direction == "<") {
        newest.answers.push_back({std::max(*time_s - newest.time_s, 0.0), *bytes});
        return;
    }
    for (const char byte : *bytes) {
        if (direction == ">" && cutter.Take(byte, *time_s)) {
            m_requests.push_back({std::exchange(cutter.Text, {}), *time_s, number});
        }
    }
}

/// Adds to `Text`; true when it is a whole request, which the caller takes.
bool clsReplay::Cutter::Take(char byte, double now_s)
{
    if (m_isOpen && (now_s - m_last_s > kPatience_s || Text.size() >= kLongestFrame)) {
        m_isOpen = false;
        Text.clear();
    }
    m_last_s = now_s;
    Text.push_back(byte);
    m_isOpen = m_isOpen ? byte != '\r' : byte >= '0' && byte <= '9';
    return !m_isOpen;
}

void clsReplay::Start(double now_s)
{
    m_next = 1;
    m_isOver = false;
    m_cutter = {};
    release(m_requests.front(), now_s);
}

void clsReplay::Receive(std::string_view bytes, double now_s)
{
    for (const char byte : bytes) {
        if (m_cutter.Take(byte, now_s)) {
            take(std::exchange(m_cutter.Text, {}), now_s);
        }
    }
}

/// Where this request is, if only polls stand between the next one and it; else the end.
std::size_t clsReplay::behindPolls(const std::string& request) const
{
    std::size_t at = m_next;
    while (at < m_requests.size() && m_requests[at].text != request && isPoll(m_requests[at].text)) {
        ++at;
    }
    return at < m_requests.size() && m_requests[at].text == request ? at : m_requests.size();
}

void clsReplay::take(const std::string& request, double now_s)
{
    const auto isIt = [&](const Request& asked) { return asked.text == request; };
    const auto next = m_requests.begin() + static_cast<std::ptrdiff_t>(m_next);
    std::size_t found = behindPolls(request);
    const bool isJump = found == m_requests.size();
    if (isJump) {
        const auto before = std::find_if(std::make_reverse_iterator(next), m_requests.rend() - 1, isIt);
        if (before != m_requests.rend() - 1) {
            say(shown(request) + " is asked again: answered as in line " + std::to_string(before->line));
            answerAgain(*before, now_s);
            return;
        }
        found = static_cast<std::size_t>(std::find_if(next, m_requests.end(), isIt) - m_requests.begin());
    }
    if (found == m_requests.size()) {
        say(shown(request) + " is not in the recording: no answer");
        return;
    }
    if (found > m_next) {
        say(shown(request) + ": goes on in line " + std::to_string(m_requests[found].line) + " and leaves out " +
            std::to_string(found - m_next) + " requests");
    }
    m_next = found + 1;
    if (m_requests[found].text == kAside && !isJump) {
        releaseAside(m_requests[found], now_s);
    } else {
        release(m_requests[found], now_s);
    }
}

void clsReplay::answerAgain(const Request& request, double now_s)
{
    if (request.text != kAside) {
        release(request, now_s);
    } else if (const auto reply = asideReply(request); reply != request.answers.end()) {
        addDue(now_s + reply->after_s, reply->bytes);
    }
}

/// What came next may be a value that was on its way.
std::vector<clsReplay::Answer>::const_iterator clsReplay::asideReply(const Request& request)
{
    const auto text = std::ranges::find_if(
        request.answers, [](const Answer& answer) { return answer.bytes.find(kAsideReply) != answer.bytes.npos; });
    return text == request.answers.end() ? request.answers.begin() : text;
}

void clsReplay::release(const Request& request, double now_s)
{
    m_due.clear();
    m_begin_s = now_s - request.time_s;
    for (const Answer& answer : request.answers) {
        addDue(now_s + answer.after_s, answer.bytes);
    }
}

/// The reply comes as late as then. What else came then, comes when it is due by what was released before; behind a
/// request that is late, all of it is late.
void clsReplay::releaseAside(const Request& request, double now_s)
{
    const double begin_s = now_s - request.time_s;
    m_begin_s = m_due.empty() ? begin_s : std::max(m_begin_s, begin_s);
    const auto reply = asideReply(request);
    for (auto answer = request.answers.begin(); answer != request.answers.end(); ++answer) {
        const double from_s = answer == reply ? now_s : m_begin_s + request.time_s;
        addDue(from_s + answer->after_s, answer->bytes);
    }
}

void clsReplay::addDue(double at_s, const std::string& bytes)
{
    m_due.insert(std::ranges::upper_bound(m_due, at_s, {}, &Answer::after_s), {at_s, bytes});
}

std::string clsReplay::TakeDue(double now_s)
{
    std::string bytes;
    for (; !m_due.empty() && m_due.front().after_s <= now_s; m_due.pop_front()) {
        bytes += m_due.front().bytes;
    }
    if (m_due.empty() && m_next == m_requests.size() && !std::exchange(m_isOver, true)) {
        say("the recording is over");
    }
    return bytes;
}

double clsReplay::NextDue() const
{
    return m_due.empty() ? std::numeric_limits<double>::infinity() : m_due.front().after_s;
}

void clsReplay::say(std::string news)
{
    m_news.push_back(std::move(news));
}

std::vector<std::string> clsReplay::TakeNews()
{
    return std::exchange(m_news, {});
}

} // namespace simulator
