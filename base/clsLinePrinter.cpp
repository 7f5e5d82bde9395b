#include "base/clsLinePrinter.h"

#include <cerrno>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <poll.h>
#include <string_view>
#include <thread>
#include <unistd.h>

namespace {

/// Writes until a write fails; returns what is left of the text.
std::string_view writeTo(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = write(descriptor, text.data(), text.size());
        if (count > 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (count < 0 && errno == EAGAIN) {
            // Another program shares this file and has made it non-blocking.
            pollfd room{descriptor, POLLOUT, 0};
            poll(&room, 1, -1);
        } else if (count == 0 || errno != EINTR) {
            break;
        }
    }
    return text;
}

} // namespace

struct clsLinePrinter::Work {
    int descriptor = -1;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::string> waiting;
    bool inHand = false; ///< the thread is still busy with the line that it has taken
    bool ended = false;
    std::int64_t dropped = 0;
    std::string rest; ///< used by the thread only: the end of a line that could not be written yet

    bool print(const std::string& line);
    void run();
};

/// Whether the line is printed, if need be in two parts. A line of which nothing can be written is dropped: the disk is
/// full or the reader has gone.
bool clsLinePrinter::Work::print(const std::string& line)
{
    rest.erase(0, rest.size() - writeTo(descriptor, rest).size());
    if (!rest.empty()) {
        return false;
    }
    const std::string_view left = writeTo(descriptor, line);
    const bool begun = left.size() < line.size();
    rest = begun ? left : std::string_view();
    return begun;
}

void clsLinePrinter::Work::run()
{
    std::unique_lock lock(mutex);
    while (true) {
        changed.wait(lock, [this] { return ended || !waiting.empty(); });
        if (ended) {
            return;
        }
        const std::string line = std::move(waiting.front());
        waiting.pop_front();
        inHand = true;
        lock.unlock();
        const bool printed = print(line);
        lock.lock();
        inHand = false;
        dropped += printed ? 0 : 1;
        changed.notify_all();
    }
}

clsLinePrinter::clsLinePrinter(int descriptor) : m_work(std::make_shared<Work>())
{
    m_work->descriptor = descriptor;
    std::thread([work = m_work] { work->run(); }).detach();
}

clsLinePrinter::~clsLinePrinter()
{
    Finish(std::chrono::milliseconds::zero());
}

void clsLinePrinter::Print(std::string line)
{
    const std::scoped_lock lock(m_work->mutex);
    if (m_work->ended || m_work->waiting.size() >= kMostWaiting) {
        ++m_work->dropped;
        return;
    }
    line += '\n';
    m_work->waiting.push_back(std::move(line));
    m_work->changed.notify_all();
}

std::int64_t clsLinePrinter::Finish(std::chrono::milliseconds patience)
{
    std::unique_lock lock(m_work->mutex);
    m_work->changed.wait_for(lock, patience, [this] { return m_work->waiting.empty() && !m_work->inHand; });
    m_work->dropped += static_cast<std::int64_t>(m_work->waiting.size()) + (m_work->inHand && !m_work->ended ? 1 : 0);
    m_work->waiting.clear();
    m_work->ended = true;
    m_work->changed.notify_all();
    return m_work->dropped;
}
