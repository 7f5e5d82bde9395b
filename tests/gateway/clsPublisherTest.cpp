// What goes to a broker that acknowledges late.
#include "gateway/clsPublisher.h"

#include "gateway/clsJsonFormat.h"
#include "tests/gateway/FakeBroker.h"
#include "tests/gateway/JournalSite.h"

#include <deque>
#include <gtest/gtest.h>

namespace {

/// Many sensors with 20 values a second each, and one with values of an earlier run; a step is 50 ms.
struct PublisherSite {
    static constexpr std::size_t kSensors = 200;

    JournalSite kept;
    FakeBroker broker;
    clsFakeBrokerLine line{broker};
    clsJsonFormat format{"orvex", "gw", "1.0"};
    BrokerConfig config;
    std::unique_ptr<clsPublisher> publisher;
    std::deque<std::size_t> sentAt; ///< how many were sent, for each step whose acknowledgements are on their way
    std::size_t steps = 0;

    PublisherSite()
    {
        broker.acknowledges = false;
        kept.Put("old", {{1, 1, 1}, 1}, JournalSite::Lines(1, 3000), 3000);
        kept.Kill();
        GatewayEvent event;
        event.time = JournalSite::kTime;
        event.sensor = "old";
        event.what = "refused";
        kept.journal->Add(event);
        publisher = std::make_unique<clsPublisher>(line, format, *kept.journal, config);
        broker.Connect();
        publisher->Connected(JournalSite::kTime);
    }
    void Step(std::size_t lateBy)
    {
        ++steps;
        const double now_s = static_cast<double>(steps) * 0.05;
        const GatewayValue value{.time = JournalSite::kTime, .value_mm = 1, .run = 2};
        for (std::size_t i = 0; i < kSensors; ++i) {
            publisher->SendLive("s" + std::to_string(i), {&value, 1}, now_s);
        }
        publisher->Fill(std::vector<std::string>{"s1", "old"}, JournalSite::kTime, now_s);
        publisher->Flush();
        sentAt.push_back(broker.sent.size());
        if (sentAt.size() > lateBy) {
            broker.Acknowledge(sentAt.front());
            sentAt.pop_front();
        }
        for (const BrokerEvent& event : line.TakeEvents()) {
            if (const auto* acknowledged = std::get_if<BrokerAcknowledged>(&event)) {
                publisher->Acknowledged(acknowledged->token);
            }
        }
    }
    std::size_t Live() const
    {
        return static_cast<std::size_t>(std::ranges::count_if(broker.sent, [](const MqttMessage& message) {
            return message.topic.starts_with("orvex/gw/s") && message.topic.ends_with("/value");
        }));
    }
};

TEST(Publisher, ALateAcknowledgementHoldsUpNeitherNewValuesNorKeptOnes)
{
    PublisherSite site;
    EXPECT_TRUE(JournalSite::Until([&] {
        site.Step(10); // half a second: 2000 values are on their way
        return site.steps >= 40 && site.kept.journal->Waiting("old") == 0;
    })) << site.kept.journal->Waiting("old");
    EXPECT_EQ(site.Live(), site.steps * PublisherSite::kSensors);
    EXPECT_EQ(site.broker.On("orvex/gw/old/event").size(), 1U);
}

TEST(Publisher, WithoutAcknowledgementsItStops)
{
    PublisherSite site;
    for (int i = 0; i < 60; ++i) {
        site.Step(1000);
    }
    EXPECT_LE(site.broker.sent.size(), clsPublisher::kMostLive + clsPublisher::kMostKept);
    EXPECT_GT(site.Live(), clsPublisher::kMostLive - clsPublisher::kMostKept) << "new values come first";
}

} // namespace
