#include "gateway/modRecordingRead.h"

#include "gateway/clsRecordingWalk.h"
#include "sensor/Parameters.h"
#include "store/modRecordLine.h"
#include "store/modSidecar.h"

namespace modRecordingRead {

namespace {

constexpr std::int32_t kMetres = 1;

/// One call: the walk, and what was found so far.
class Reading {
public:
    Reading(const std::filesystem::path& folder, const ReadTask& task, std::vector<char>& buffer)
        : m_task(task), m_walk(folder, task.key, task.from, task.noted, task.isClosed, buffer)
    {
        m_result.to = task.from;
        m_result.unit = task.unit;
        m_result.unitPart = m_knownPart = task.unitPart;
    }

    /// False when nothing follows.
    bool Step();
    ReadResult m_result;

private:
    void takeLine(std::int64_t sequence);
    void findUnit();

    const ReadTask& m_task;
    clsRecordingWalk m_walk;
    modRecordLine::clsLineParser m_parser;
    std::int32_t m_knownPart = 0;
};

bool Reading::Step()
{
    const std::int64_t sequence = m_result.to.sequence;
    if (m_task.last && sequence > *m_task.last && sequence < clsRecordingWalk::kBehindDamage) {
        m_result.isAtEnd = true;
        return false;
    }
    switch (m_walk.Next()) {
    case WalkStep::Line:
        m_result.to = m_walk.Place();
        takeLine(sequence);
        return true;
    case WalkStep::Part:
        m_result.to = m_walk.Place();
        return true;
    case WalkStep::Hole:
        m_result.to = m_walk.Place();
        m_result.holes.push_back(m_walk.Hole());
        return true;
    case WalkStep::Torn:
        m_result.isDamaged = m_result.isAtEnd = !m_task.isClosed;
        if (m_task.isClosed) {
            m_result.to = m_walk.Place();
            m_result.holes.push_back(m_walk.Hole());
        }
        return m_task.isClosed;
    case WalkStep::End:
        m_result.to = m_walk.Place();
        m_result.isAtEnd = true;
        return false;
    case WalkStep::Misplaced:
        m_result.isMisplaced = true;
        return false;
    case WalkStep::Failed:
        m_result.failure = m_walk.File().string() + ": " + m_walk.Failure().message();
        return false;
    }
    return false;
}

void Reading::takeLine(std::int64_t sequence)
{
    if (m_task.covered.Contains(sequence)) {
        return;
    }
    modRecordLine::RecordedValue read;
    if (!m_parser.Parse(m_walk.Line(), read)) {
        m_result.holes.push_back({sequence, sequence});
        return;
    }
    findUnit();
    m_result.values.push_back({.time = read.time,
                               .kind = read.kind,
                               .value_mm = read.value_mm,
                               .unit = m_result.unit,
                               .run = m_task.key.run,
                               .sequence = sequence});
}

/// Of a file that has no sidecar yet, it is looked for again next time.
void Reading::findUnit()
{
    if (m_knownPart == m_result.to.part) {
        return;
    }
    std::error_code none;
    const auto info = modSidecar::Read(modSidecar::SidecarOf(m_walk.File()), none);
    const bool isKnown = info && info->isSensorKnown && info->parameters.DistanceUnit >= 0 &&
                         info->parameters.DistanceUnit < std::ssize(kUnits);
    m_result.unit = isKnown ? info->parameters.DistanceUnit : kMetres;
    m_knownPart = m_result.to.part;
    m_result.unitPart = isKnown || m_task.isClosed ? m_knownPart : 0;
}

} // namespace

ReadResult Read(const std::filesystem::path& folder, const ReadTask& task, const Limits& limits,
                std::vector<char>& buffer)
{
    Reading reading(folder, task, buffer);
    ReadResult& result = reading.m_result;
    for (std::size_t lines = 0; lines < limits.lines && result.values.size() < limits.values; ++lines) {
        const bool isBeyond = limits.part && result.to.part > *limits.part;
        if (isBeyond || !reading.Step()) {
            break;
        }
    }
    return std::move(result);
}

} // namespace modRecordingRead
