#include "session/clsWriteKeeper.h"

#include "store/modBackup.h"

#include <algorithm>
#include <utility>

namespace {

/// Whether the write has changed what the sensor works with. A value that was not read back, as when another sensor has
/// taken its place meanwhile, may have reached it.
bool hasChanged(const WriteReport& report)
{
    const bool mayBe = std::ranges::any_of(report.values, [](const ValueReport& value) {
        return value.wanted != value.before && !value.readBack &&
               (value.outcome == ValueOutcome::Unknown || value.outcome == ValueOutcome::Unanswered);
    });
    return mayBe || (report.isReadBack ? report.before != report.after : report.kind == WriteKind::Defaults);
}

} // namespace

std::optional<std::filesystem::path> clsWriteKeeper::BackUp(const Configuration& before, double now,
                                                            std::error_code& why)
{
    why = {};
    if (m_places.backups.empty()) {
        return {};
    }
    std::optional<std::filesystem::path> file = modBackup::Save(before, m_places.backups, now, why);
    if (file) {
        modBackup::Thin(m_places.backups, before.Identity.SerialNo, now);
    }
    return file;
}

std::optional<std::filesystem::path> clsWriteKeeper::BackUpFirst(const Configuration& before, double now,
                                                                 std::error_code& why)
{
    why = {};
    if (IsBackedUp(before.Identity.SerialNo)) {
        return {};
    }
    std::optional<std::filesystem::path> file = BackUp(before, now, why);
    if (!why) {
        m_backedUp.insert(before.Identity.SerialNo);
    }
    return file;
}

const WriteReport& clsWriteKeeper::Note(WriteReport report, std::string_view port)
{
    notePassport(report, port);
    if (!report.isUnstored) {
        m_stored.erase(report.serialNo);
    } else {
        report.stored = m_stored.try_emplace(report.serialNo, report.before).first->second;
    }
    if (hasChanged(report)) {
        m_undo[report.serialNo] = report;
    }
    ++m_version;
    return m_last.emplace(std::move(report));
}

const WriteReport* clsWriteKeeper::Undoable(std::string_view serialNo) const
{
    const auto undo = m_undo.find(serialNo);
    return undo == m_undo.end() ? nullptr : &undo->second;
}

void clsWriteKeeper::ForgetUndo(std::string_view serialNo)
{
    m_version += std::erase_if(m_undo, [&](const auto& undo) { return undo.first == serialNo; });
}
