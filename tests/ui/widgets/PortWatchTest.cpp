// A session's port between two ticks: a pipe plays it, so that its descriptor behaves like that of a line.
#include "ui/widgets/PortWatch.h"

#include "session/clsSession.h"
#include "store/modGlobals.h"
#include "tests/support/PlayedLine.h"

#include <QCoreApplication>

#include <array>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace {

class PipePort : public PlayedLine {
public:
    int Looks = 0; ///< how often somebody wanted to know what has arrived

    PipePort() { Renew(); }
    ~PipePort() override { drop(); }

    /// As if the port had been closed and opened again, with another descriptor.
    void Renew()
    {
        const std::array<int, 2> before = m_ends;
        if (pipe(m_ends.data()) != 0) {
            throw std::runtime_error("no pipe");
        }
        close(before[0]);
        close(before[1]);
    }
    void HangUp() { close(std::exchange(m_ends[1], -1)); }
    void Arrive(std::string_view bytes)
    {
        Arriving += bytes;
        ASSERT_EQ(write(m_ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

    int ArrivalHandle(std::int32_t) const override { return m_ends[0]; }
    std::int32_t sio_iqueue(std::int32_t port) override
    {
        ++Looks;
        return PlayedLine::sio_iqueue(port);
    }

private:
    void sent(char) override {}
    void wasRead() override
    {
        std::array<char, 100> bytes{};
        ASSERT_GT(read(m_ends[0], bytes.data(), bytes.size()), 0);
    }
    void drop() const
    {
        close(m_ends[0]);
        close(m_ends[1]);
    }

    std::array<int, 2> m_ends{-1, -1};
};

struct WatchedSession {
    modGlobals::Settings settings;
    PipePort* port = new PipePort;
    clsSession session{std::unique_ptr<SerialPort>(port), settings, {}, '.'};
    PortWatch watch{session, nullptr};

    /// Lets all events come that would come without a tick; returns how often the port was looked at.
    int Looks()
    {
        port->Looks = 0;
        for (int i = 0; i < 50; ++i) {
            QCoreApplication::processEvents();
        }
        return port->Looks;
    }
};

} // namespace

TEST(PortWatch, BytesAreTakenWhenTheyArrive)
{
    WatchedSession watched;
    watched.watch.Follow();
    EXPECT_EQ(watched.Looks(), 0);
    for (const char* bytes : {"   1.234 m\r\n", "   1.235 m\r\n"}) {
        watched.port->Arrive(bytes);
        EXPECT_EQ(watched.Looks(), 1);
        EXPECT_EQ(watched.port->Arriving, "") << bytes;
    }
}

TEST(PortWatch, AHungUpLineIsLookedAtOnceATick)
{
    WatchedSession watched;
    watched.port->HangUp();
    for (int tick = 0; tick < 3; ++tick) {
        watched.watch.Follow();
        EXPECT_EQ(watched.Looks(), 1) << tick;
    }
}

TEST(PortWatch, APortThatIsOpenedAgainIsWatchedAfterTheNextTick)
{
    WatchedSession watched;
    watched.watch.Follow();
    watched.port->Renew();
    watched.watch.Follow();
    watched.port->Arrive("x");
    EXPECT_EQ(watched.Looks(), 1);
    EXPECT_EQ(watched.port->Arriving, "");
}

TEST(PortWatch, AStoppedWatchTakesNothingUntilItFollowsAgain)
{
    WatchedSession watched;
    watched.watch.Follow();
    watched.watch.Stop();
    watched.port->Arrive("x");
    EXPECT_EQ(watched.Looks(), 0);
    watched.watch.Follow();
    EXPECT_EQ(watched.Looks(), 1);
}
