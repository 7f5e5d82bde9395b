#include "gateway/clsCommandRun.h"

#include "gateway/modMessageJson.h"
#include "sensor/Fields.h"
#include "sensor/modCompare.h"
#include "sensor/modRVQComm.h"
#include "session/modParameterNames.h"
#include "session/modSetReading.h"
#include "texts/modFunctions.h"

#include <utility>

namespace {

constexpr double kMostWaiting_s = 30.0; // for the commands before it
constexpr double kFirstValue_s = 10.0, kSingleValue_s = 5.0;

void set(CommandAnswer& answer, std::string_view result, std::string text = {})
{
    answer.result = result;
    answer.text = std::move(text);
}

} // namespace

/// The answer to one command. Whatever ends the command, it is given.
class clsCommandRun::Reply {
public:
    Reply(std::shared_ptr<clsCommandRun> run, const GatewayCommand& command, std::shared_ptr<Tell> tell)
        : Run(std::move(run)), m_tell(std::move(tell))
    {
        Answer.sensor = command.sensor;
        Answer.id = command.id;
        set(Answer, "failed", "the line was closed meanwhile");
        ++Run->m_open;
    }
    ~Reply()
    {
        --Run->m_open;
        if (*m_tell) {
            (*m_tell)(Answer);
        }
    }
    Reply(const Reply&) = delete;
    Reply& operator=(const Reply&) = delete;

    const std::shared_ptr<clsCommandRun> Run; ///< lives until the answer is given
    CommandAnswer Answer;

private:
    std::shared_ptr<Tell> m_tell;
};

clsCommandRun::clsCommandRun(clsSession& session)
    : m_session(session), m_device(session.Device()), m_transfer(m_device, m_entry, *this, {}, &session.Writes())
{
    m_session.Listen(*this);
}

clsCommandRun::~clsCommandRun()
{
    m_session.Leave(*this);
}

void clsCommandRun::Start(const std::shared_ptr<clsCommandRun>& run, const GatewayCommand& command, double now,
                          std::shared_ptr<Tell> tell)
{
    auto reply = std::make_shared<Reply>(run, command, std::move(tell));
    run->m_session.Start(running(std::move(reply), command, now));
}

Operation<> clsCommandRun::running(std::shared_ptr<Reply> reply, GatewayCommand command, double since)
{
    clsCommandRun& run = *reply->Run;
    if ((run.m_device.CurrentTime() - since) * kSecondsPerDay > kMostWaiting_s) {
        set(reply->Answer, "failed", "the sensor was busy for too long");
        co_return;
    }
    if (run.m_device.CommStatus() == DialogueNone) {
        set(reply->Answer, "failed", "the sensor is not connected");
        co_return;
    }
    CommandAnswer answer = reply->Answer;
    Operation<> work = run.performing(command, answer);
    co_await work;
    if (!run.m_device.Wait().Ended) {
        reply->Answer = std::move(answer);
    }
}

Operation<> clsCommandRun::performing(const GatewayCommand& command, CommandAnswer& answer)
{
    const auto begin = [&] {
        switch (*command.kind) {
        case CommandKind::Start:
            return starting(answer);
        case CommandKind::Stop:
            return stopping(answer);
        case CommandKind::Single:
            return requestingSingle(answer);
        case CommandKind::Temperature:
            return readingTemperature(answer);
        case CommandKind::Laser:
            return switchingLaser(command.isOn, answer);
        case CommandKind::Read:
            return readingSet(answer);
        case CommandKind::Write:
            break;
        }
        return writing(command, answer);
    };
    Operation<> work = begin();
    co_await work;
}

Operation<> clsCommandRun::starting(CommandAnswer& answer)
{
    const std::int64_t before = m_samples;
    if (m_device.CommStatus() != DialogueMeasuring) {
        Operation<> work = m_session.Loop().StartingOrStopping();
        co_await work;
    }
    Operation<bool> waiting = awaitingSample(before, kFirstValue_s);
    if (co_await waiting) {
        set(answer, "done");
    } else {
        set(answer, "failed", "no value has come");
    }
}

/// A connection that is coming back resumes the measurement: it is let begin, and then stopped.
Operation<> clsCommandRun::stopping(CommandAnswer& answer)
{
    constexpr int kMostTurns = 2;
    for (int turn = 0; turn < kMostTurns && m_session.Loop().IsMeasuring(); ++turn) {
        Operation<> work = m_session.Loop().StartingOrStopping();
        co_await work;
    }
    // The sensor does not confirm a stop, but one that measures does not answer.
    Operation<bool> asking = askingTemperature();
    if (!m_session.Loop().IsMeasuring() && co_await asking) {
        set(answer, "done");
    } else {
        set(answer, "failed", "the sensor has not confirmed it");
    }
}

Operation<> clsCommandRun::requestingSingle(CommandAnswer& answer)
{
    if (m_session.Loop().IsMeasuring()) {
        set(answer, "refused", "the sensor is measuring");
        co_return;
    }
    const std::int64_t before = m_samples;
    Operation<> work = m_session.Loop().RequestingSingleValue();
    co_await work;
    Operation<bool> waiting = awaitingSample(before, kSingleValue_s);
    if (!co_await waiting) {
        set(answer, "failed", "no value has come");
        co_return;
    }
    set(answer, "done");
    answer.values.push_back({.code = {}, .name = "distance", .sent = {}, .read = DistanceText(m_sample, '.')});
}

Operation<> clsCommandRun::readingTemperature(CommandAnswer& answer)
{
    Operation<bool> asking = askingTemperature();
    if (!co_await asking) {
        set(answer, "failed", "the sensor has not answered");
        co_return;
    }
    set(answer, "done");
    answer.values.push_back(
        {.code = {}, .name = "temperature", .sent = {}, .read = modMessageJson::SensorText(m_device.sTemperature())});
}

Operation<bool> clsCommandRun::askingTemperature()
{
    const modRVQComm::WaitScope wait(m_device);
    const bool isMeasuring = m_device.CommStatus() == DialogueMeasuring;
    const std::int32_t opening = m_device.Openings();
    Operation<> open = modRVQComm::AwaitingOpenAnswer(m_device);
    co_await open;
    if (isMeasuring && m_device.PortIsOpen()) {
        modRVQComm::StopMeasurement(m_device);
        m_session.Loop().Account().Interrupted(GapReason::TemperaturePoll);
    }
    m_device.ForgetEvents();
    m_device.SendCommand(Request::Temperature);
    Operation<std::int32_t> waiting = modRVQComm::AwaitingEvent(m_device, {EventTemperature});
    const std::int32_t event = co_await waiting;
    if (isMeasuring && m_device.PortIsOpen() && m_device.Openings() == opening && !m_device.Wait().Ended) {
        modRVQComm::StartMeasurement(m_device);
    }
    co_return event == EventTemperature;
}

/// The sensor does not confirm it, but its dump has the state.
Operation<> clsCommandRun::switchingLaser(bool on, CommandAnswer& answer)
{
    Operation<> work = m_session.Loop().SwitchingRedLaser(on);
    co_await work;
    ParameterSet read;
    Operation<modSetReading::Outcome> reading = modSetReading::Reading(m_device, read);
    const modSetReading::Outcome outcome = co_await reading;
    const std::string& state = m_device.Identity().HWPointer;
    if (outcome != modSetReading::Outcome::Read) {
        set(answer, "failed", std::string(modFunctions::GetText(modSetReading::Reason(outcome), LanguageEnglish)));
    } else if (state != (on ? "on" : "off")) {
        set(answer, "failed", "the sensor reports its laser as \"" + modMessageJson::SensorText(state) + "\"");
    } else {
        set(answer, "done");
    }
}

Operation<> clsCommandRun::readingSet(CommandAnswer& answer)
{
    ParameterSet read;
    Operation<modSetReading::Outcome> reading = modSetReading::Reading(m_device, read);
    const modSetReading::Outcome outcome = co_await reading;
    if (outcome != modSetReading::Outcome::Read) {
        set(answer, "failed", std::string(modFunctions::GetText(modSetReading::Reason(outcome), LanguageEnglish)));
        co_return;
    }
    set(answer, "done");
    for (const ComparedRow& compared : Compare(read, read)) {
        const ParameterDef& row = *compared.row;
        if (IsReported(row, read, m_device.Identity())) {
            answer.values.push_back({.code = std::string(row.code),
                                     .name = CaptionOf(row, LanguageEnglish),
                                     .sent = {},
                                     .read = DataValue(row, read.*row.value)});
        }
    }
}

Operation<bool> clsCommandRun::awaitingSample(std::int64_t before, double patience_s)
{
    const double end = m_device.CurrentTime() + patience_s / kSecondsPerDay;
    const std::int32_t opening = m_device.Openings();
    while (m_samples == before && m_device.CurrentTime() < end && m_device.PortIsOpen() &&
           m_device.Openings() == opening && !m_device.Wait().Ended) {
        co_await NextStep{};
    }
    co_return m_samples != before;
}

void clsCommandRun::Sampled(std::span<const Measurement> samples, std::string_view)
{
    if (!samples.empty()) {
        m_samples += std::ssize(samples);
        m_sample = samples.back();
    }
}
