#include "gateway/clsRecordingWalk.h"

#include "store/modSidecar.h"

#include <algorithm>
#include <unistd.h>
#include <utility>

namespace {

/// Behind a file that is written, so many names are tried: those between may be taken.
constexpr std::int32_t kNamesTried = 3;

std::optional<RecordingInfo> sidecarOf(const std::filesystem::path& recording)
{
    std::error_code none;
    return modSidecar::Read(modSidecar::SidecarOf(recording), none);
}

/// How many lines a complete file got.
std::optional<std::int64_t> countedIn(const std::optional<RecordingInfo>& info)
{
    const bool isCounted = info && info->end && !info->hasOnlyMarks;
    const std::int64_t count = isCounted ? info->account.recorded : -1;
    return count >= 0 && count < clsRecordingWalk::kBehindDamage ? std::optional(count) : std::nullopt;
}

} // namespace

clsRecordingWalk::clsRecordingWalk(std::filesystem::path folder, const RecordingKey& key, const LinePlace& from,
                                   const std::optional<LinePlace>& noted, bool isClosed, std::vector<char>& buffer)
    : m_folder(std::move(folder)), m_key(key), m_place(from), m_noted(noted), m_isClosed(isClosed), m_lines(buffer)
{}

std::filesystem::path clsRecordingWalk::fileOf(std::int32_t part) const
{
    return m_folder / modRecordingName::FileOf({m_key, part});
}

std::filesystem::path clsRecordingWalk::File() const
{
    return fileOf(m_place.part);
}

WalkStep clsRecordingWalk::Next()
{
    while (true) {
        if (!m_lines.IsOpen()) {
            if (const auto step = open()) {
                return *step;
            }
        } else if (const auto step = takeLine()) {
            return *step;
        }
    }
}

/// A file that is not there was deleted by somebody.
std::optional<WalkStep> clsRecordingWalk::open()
{
    m_failure = m_lines.Open(File(), m_place.offset);
    if (m_failure == std::errc::no_such_file_or_directory) {
        const auto part = nextPart();
        if (!part) {
            return WalkStep::End;
        }
        return goOnIn(*part, firstOf(*part));
    }
    if (m_failure) {
        return WalkStep::Failed;
    }
    return m_lines.IsAtLine() ? std::nullopt : std::optional(WalkStep::Misplaced);
}

std::optional<WalkStep> clsRecordingWalk::takeLine()
{
    const LineStep step = m_lines.Next();
    m_place.offset = m_lines.Offset();
    switch (step) {
    case LineStep::Line:
        ++m_place.sequence;
        return WalkStep::Line;
    case LineStep::Damage:
        return passDamage();
    case LineStep::Failed:
        m_failure = m_lines.Failure();
        return WalkStep::Failed;
    case LineStep::End:
        break;
    }
    return passEnd();
}

/// Behind damage, or a piece of it.
WalkStep clsRecordingWalk::passDamage()
{
    const bool isLost = m_place.sequence >= kBehindDamage && !isBetween();
    const auto& behind = isLost ? std::nullopt : known();
    const bool isNear = behind && behind->offset <= m_place.offset;
    if (isBetween()) {
        m_place.sequence = isNear ? behind->number : kBetweenDamage + numberBehindDamage(m_place.part, m_place.offset);
        return WalkStep::Part;
    }
    if (!behind || behind->number - m_place.sequence < behind->kept) {
        return tear(numberBehindDamage(m_place.part, m_place.offset));
    }
    const WalkStep step = useUp(behind->number, behind->kept);
    if (!isNear) {
        m_place.sequence = kBetweenDamage + numberBehindDamage(m_place.part, m_place.offset);
    }
    return step;
}

/// Numbers up to this one have no line, but for some that follow.
WalkStep clsRecordingWalk::useUp(std::int64_t to, std::int64_t kept)
{
    const std::int64_t from = std::exchange(m_place.sequence, to);
    if (from >= kBetweenDamage) {
        return WalkStep::Part; // they are used up
    }
    m_hole = {from, to - 1, kept, false};
    return WalkStep::Hole;
}

WalkStep clsRecordingWalk::tear(std::int64_t to)
{
    to = std::max(to, isBetween() ? to : m_place.sequence + 1);
    m_hole = {isBetween() ? to : m_place.sequence, to - 1, 0, true};
    m_place.sequence = to;
    return WalkStep::Torn;
}

/// At the end of a file that may still grow. What was written before the next file began is there when the next one is.
std::optional<WalkStep> clsRecordingWalk::passEnd()
{
    if (!m_next && (m_next = nextPart())) {
        return std::nullopt;
    }
    if (!m_next && !m_isClosed) {
        return WalkStep::End;
    }
    if (!m_lines.HasRest()) {
        return endPart();
    }
    m_lines.PassRest(); // a line that was cut off
    m_place.offset = m_lines.Offset();
    return isBetween() ? std::nullopt : std::optional(useUp(m_place.sequence + 1));
}

WalkStep clsRecordingWalk::endPart()
{
    const auto behind = behindPart();
    const bool isShort = m_place.sequence < kBehindDamage && behind && m_place.sequence < *behind;
    if (isShort || (isBetween() && behind)) {
        return useUp(*behind); // the file had more lines
    }
    if (!m_next) {
        return WalkStep::End;
    }
    const bool isOwn = m_place.sequence >= kBehindDamage || !behind || m_place.sequence == *behind;
    const bool isKnown = !isBetween() && isOwn && followsDirectly(*m_next);
    return goOnIn(*m_next, isKnown ? std::optional(m_place.sequence) : firstOf(*m_next));
}

/// In another file, whose first line has this number, if that is known.
WalkStep clsRecordingWalk::goOnIn(std::int32_t part, std::optional<std::int64_t> first)
{
    WalkStep step = WalkStep::Part;
    if (!first || (!isBetween() && *first < m_place.sequence)) {
        step = tear(numberBehindDamage(part, 0));
    } else if (*first != m_place.sequence) {
        step = useUp(*first);
    }
    m_place = {part, 0, m_place.sequence, m_place.sequence};
    m_next.reset();
    m_known.reset();
    m_lines.Close();
    return step;
}

// Numbers behind damage.

const std::optional<clsRecordingWalk::Known>& clsRecordingWalk::known()
{
    if (!m_known || m_known->offset < m_place.offset) {
        m_known = findKnown();
    }
    return m_known;
}

std::optional<clsRecordingWalk::Known> clsRecordingWalk::findKnown() const
{
    if (m_noted && m_noted->part == m_place.part) {
        const auto stretch = look(m_place.part, m_place.offset, m_noted->offset);
        if (stretch && stretch->isComplete) {
            return Known{stretch->lastFrom, m_noted->sequence - stretch->lines, stretch->before};
        }
    }
    const auto behind = behindPart();
    std::error_code unknown;
    const std::uint64_t size = std::filesystem::file_size(File(), unknown);
    const auto stretch = behind && !unknown ? look(m_place.part, m_place.offset, size) : std::nullopt;
    if (!stretch) {
        return std::nullopt;
    }
    const auto info = sidecarOf(File());
    const bool isWhole = info && info->bytes && static_cast<std::uint64_t>(*info->bytes) == size;
    if (isWhole && stretch->isComplete) { // else its end is missing, or bytes have come in
        return Known{stretch->lastFrom, *behind - stretch->lines, stretch->before};
    }
    return Known{size + 1, *behind, stretch->before + stretch->lines};
}

std::optional<clsRecordingWalk::Stretch> clsRecordingWalk::look(std::int32_t part, std::uint64_t from,
                                                                std::uint64_t to) const
{
    std::vector<char> buffer(kBuffer);
    clsRecordingLines lines(buffer);
    if (lines.Open(fileOf(part), from)) {
        return std::nullopt;
    }
    Stretch stretch{.lastFrom = from};
    while (lines.Offset() < to) {
        const LineStep step = lines.Next();
        if (step == LineStep::Line) {
            ++stretch.lines;
        } else if (step == LineStep::Damage) {
            stretch.before += std::exchange(stretch.lines, 0);
            stretch.lastFrom = lines.Offset();
        } else if (step == LineStep::Failed) {
            return std::nullopt;
        } else {
            break;
        }
    }
    stretch.isComplete = lines.Offset() == to;
    return stretch;
}

/// Counted back from the place that was noted, in a later file or this one.
std::optional<std::int64_t> clsRecordingWalk::firstOf(std::int32_t part) const
{
    if (!m_noted || part > m_noted->part) {
        return std::nullopt;
    }
    std::int64_t number = m_noted->sequence;
    for (; part < m_noted->part; ++part) {
        const auto count = countedIn(sidecarOf(fileOf(part)));
        if (!count) {
            return std::nullopt;
        }
        number -= *count;
    }
    const auto stretch = look(part, 0, m_noted->offset);
    const bool isCounted = stretch && stretch->isComplete && stretch->lastFrom == 0;
    return isCounted ? std::optional(number - stretch->lines) : std::nullopt;
}

/// The number of the first line behind this file.
std::optional<std::int64_t> clsRecordingWalk::behindPart() const
{
    const auto count = countedIn(sidecarOf(File()));
    if (count && m_place.partFirst < kBehindDamage) {
        return m_place.partFirst + *count;
    }
    const auto next = m_next ? m_next : nextPart();
    return next && followsDirectly(*next) ? firstOf(*next) : std::nullopt;
}

/// Higher than any number that a line of this recording can have had before the damage.
std::int64_t clsRecordingWalk::numberBehindDamage(std::int32_t part, std::uint64_t offset) const
{
    return m_key.first + part * kBehindDamage + static_cast<std::int64_t>(offset);
}

// Files.

std::optional<std::int32_t> clsRecordingWalk::nextPart() const
{
    std::optional<std::int32_t> next;
    for (std::int32_t part = m_place.part + 1; part <= m_place.part + kNamesTried; ++part) {
        if (access(fileOf(part).c_str(), F_OK) == 0) {
            return part;
        }
    }
    const bool isThorough = m_isClosed || !m_lines.IsOpen(); // else it is asked for with each new line
    std::error_code unreadable;
    for (std::filesystem::directory_iterator entry(m_folder, unreadable), end;
         isThorough && !unreadable && entry != end; entry.increment(unreadable)) {
        const auto found = modRecordingName::PartOf(entry->path().filename().native());
        if (found && found->key == m_key && found->part > m_place.part && (!next || found->part < *next)) {
            next = found->part;
        }
    }
    return next;
}

/// Whether no file between this one and that one is missing.
bool clsRecordingWalk::followsDirectly(std::int32_t part) const
{
    const auto here = sidecarOf(File());
    const auto there = sidecarOf(fileOf(part));
    const bool areNumbered = here && there && here->part > 0 && there->part > 0;
    return areNumbered ? there->part == here->part + 1 : part == m_place.part + 1;
}
