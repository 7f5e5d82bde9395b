// The entries of a passport as the rows of a table, newest first. It keeps where each one is in the file, and reads
// what it says when it is looked at.
#pragma once

#include "store/clsPassportReader.h"
#include "store/modPassport.h"
#include "ui/settings/PassportText.h"

#include <QAbstractTableModel>

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <system_error>
#include <unordered_map>
#include <vector>

class PassportModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column : int { ColumnTime, ColumnEvent, ColumnUser, ColumnChanges, ColumnResult, ColumnCount };
    using Codes = std::bitset<kParameterCount>; ///< a bit for each row of the parameter table

    explicit PassportModel(QObject* parent) : QAbstractTableModel(parent) {}

    /// Begins to show a passport; its entries come with `ReadOn`.
    void Open(const std::filesystem::path& file);
    /// Reads older entries for some milliseconds; false when there are no more.
    bool ReadOn();
    /// Shows the entries in which a parameter has changed; all with null.
    void Filter(const ParameterDef* row);
    void Localise(const PassportText::Style& style);

    /// What a row says; nothing when the file has it no more.
    std::optional<modPassport::Entry> EntryAt(int row) const;
    /// Where a row is in the file, which only grows; nothing when there is no such row.
    std::optional<std::int64_t> PlaceAt(int row) const;
    /// The row at a place; -1 when it is not shown, or not read yet.
    int RowAt(std::int64_t place) const;
    std::size_t Entries() const { return m_lines.size(); }
    std::size_t Unreadable() const { return m_unreadable; }
    /// The parameters that have changed in some entry.
    const Codes& Changed() const { return m_changed; }
    std::error_code Why() const { return m_reader ? m_reader->Why() : std::error_code(); }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    struct Line {
        clsPassportReader::Place place;
        Codes changed;
    };
    bool isShown(const Line& line) const;
    QString textAt(const modPassport::Entry& entry, int column) const;
    QString changesText(const modPassport::Entry& entry) const;

    std::unique_ptr<clsPassportReader> m_reader;
    std::vector<Line> m_lines;         ///< newest first
    std::vector<std::size_t> m_shown;  ///< indexes of them
    std::optional<std::size_t> m_only; ///< the row of the table that the entries are filtered by
    Codes m_changed;
    std::size_t m_unreadable = 0;
    PassportText::Style m_style;
    mutable std::unordered_map<std::size_t, std::optional<modPassport::Entry>> m_read; ///< what was looked at lately
    mutable std::size_t m_readBytes = 0;
};
