// A sensor that says what a recording of a line's traffic has: each answer follows the request that it followed then,
// as late as then. It knows no sensor; time and line belong to the caller.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <istream>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

class clsReplay {
public:
    static constexpr std::size_t kMostBytes = std::size_t{256} << 20; ///< of a recording
    static constexpr std::size_t kLongestLine = 4096;

    /// Reads a recording: lines of time, direction (">" to the sensor, "<" from it, "-" of the line itself) and
    /// hexadecimal bytes; "#" begins a comment. A last line that was cut off is left out. Throws std::runtime_error,
    /// which names the line, for anything else and for a recording in which the sensor says nothing.
    explicit clsReplay(std::istream& recording);

    /// A program has opened the line: the recording begins. What the sensor said before the first request comes by its
    /// time.
    void Start(double now_s);
    /// What the program sends. A request that is the next one of the recording releases what followed it there. For
    /// another one, in this order: polls in front of it that the program has not made are passed over; what was asked
    /// before is answered as it was last, and the recording stays where it is; what is asked later is gone to, and what
    /// lies between is left out; anything else gets no answer. Each request that has an answer ends the one
    /// before, except the question for the temperature: its reply comes among the values, which keep their times
    /// however often and early it is asked.
    void Receive(std::string_view bytes, double now_s);
    /// What is due by now.
    std::string TakeDue(double now_s);
    /// When something will be due; infinite when nothing is.
    double NextDue() const;
    /// What a person should know, lines without their ends; each once.
    std::vector<std::string> TakeNews();

    std::size_t Requests() const { return m_requests.size() - 1; }

private:
    struct Answer {
        double after_s = 0;
        std::string bytes;
    };
    struct Request {
        std::string text;
        double time_s = 0;
        std::size_t line = 0; ///< of the file
        std::vector<Answer> answers{};
    };
    /// Cuts what is sent into requests: a digit begins a frame up to its carriage return, any other byte is one.
    class Cutter {
    public:
        bool Take(char byte, double now_s);
        std::string Text{};

    private:
        double m_last_s = 0;
        bool m_isOpen = false;
    };

    void takeLine(std::string_view line, std::size_t number, Cutter& cutter);
    void take(const std::string& request, double now_s);
    void takeUnfinished(std::string_view line, std::size_t number, Cutter& cutter);
    bool isSpeaking() const;
    void answerAgain(const Request& request, double now_s);
    void release(const Request& request, double now_s);
    void releaseAside(const Request& request, double now_s);
    static std::vector<Answer>::const_iterator asideReply(const Request& request);
    void addDue(double at_s, const std::string& bytes);
    std::size_t behindPolls(const std::string& request) const;
    void say(std::string news);

    std::vector<Request> m_requests; ///< the first one stands for the opening
    std::size_t m_next = 1;
    Cutter m_cutter;
    std::deque<Answer> m_due; ///< at a time of the caller
    double m_begin_s = 0;     ///< of the recording's time, by the caller's
    std::vector<std::string> m_news;
    bool m_isOver = false;
};

} // namespace simulator
