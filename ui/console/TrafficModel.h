// The traffic of the line as the rows of a table, as far as a filter shows it. It keeps the numbers of entries; what a
// row says is made when it is looked at.
#pragma once

#include "sensor/clsTraffic.h"
#include "session/modTrafficText.h"

#include <QAbstractTableModel>
#include <QFont>
#include <QStringList>

#include <cstdint>
#include <deque>

class TrafficModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column : int { ColumnTime, ColumnDirection, ColumnText, ColumnHex, ColumnMeaning, ColumnCount };
    /// In the order of `TextId::TrafficDirectionChoices` and `TextId::TrafficKindChoices`.
    enum class Direction : std::uint8_t { Both, ToSensor, FromSensor };
    enum class Kind : std::uint8_t { Everything, Requests, Values, Others, Damage, NotUnderstood, NoValues };

    /// `traffic` must outlive the model.
    TrafficModel(const clsTraffic& traffic, QObject* parent);

    /// Takes up what is new, and lets go what the ring no longer has; while paused only that. `firstChanged` is the
    /// first entry whose meaning has changed since the last call. Returns how many rows have gone at the top.
    int Follow(bool paused, std::uint64_t firstChanged);
    void Filter(Direction direction, Kind kind);
    void Localise(const modTrafficText::Style& style);

    /// Entries that came while paused.
    std::uint64_t NotShown() const { return m_traffic.End() - std::max(m_taken, m_traffic.First()); }
    /// The next row from `row` on, or back from it, with this text in one of its columns, in any case; -1 when there is
    /// none. The search goes on at the other end.
    int Find(const QString& text, int row, bool backwards) const;
    /// The line of a row as a file has it; empty when the ring has let it go.
    QString LineAt(int row) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    bool isShown(const TrafficEntry& entry) const;
    const TrafficEntry* entryOf(int row) const;
    QString textAt(const TrafficEntry& entry, int column) const;
    int dropGone();
    void takeAnew(std::uint64_t firstChanged);
    void takeNew();

    const clsTraffic& m_traffic;
    std::deque<std::uint64_t> m_shown;
    std::uint64_t m_taken = 0; ///< up to which the entries were looked at
    Direction m_direction = Direction::Both;
    Kind m_kind = Kind::Everything;
    modTrafficText::Style m_style;
    QStringList m_columns, m_directions;
    QFont m_bytesFont, m_handFont;
};
