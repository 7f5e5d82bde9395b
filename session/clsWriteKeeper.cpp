#include "session/clsWriteKeeper.h"

#include "store/modBackup.h"

std::optional<std::filesystem::path> clsWriteKeeper::BackUp(const Configuration& before, double now,
                                                            std::error_code& why)
{
    why = {};
    if (m_places.backups.empty()) {
        return {};
    }
    std::optional<std::filesystem::path> file = modBackup::Save(before, m_places.backups, now, why);
    if (file) {
        m_backedUp = before.Identity.SerialNo;
    }
    return file;
}

void clsWriteKeeper::Note(const WriteReport& report, std::string_view)
{
    m_last = report;
    m_undo = report;
    ++m_version;
}

void clsWriteKeeper::NoteIdentity(const SensorIdentity&, const ParameterSet&, std::string_view, double) {}

const WriteReport* clsWriteKeeper::Undoable(std::string_view serialNo) const
{
    return m_undo && m_undo->serialNo == serialNo ? &*m_undo : nullptr;
}

void clsWriteKeeper::ForgetUndo()
{
    m_undo.reset();
    ++m_version;
}
