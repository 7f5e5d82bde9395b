// The rows of the list of ports: at first the numbers in their order; once they are `Sorted`, parts with a heading
// each, existing devices at the top.
#pragma once

#include "port/modPortEntries.h"

#include <QAbstractListModel>
#include <QString>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// "COM 3".
QString PortName(std::int32_t port);

class PortModel : public QAbstractListModel {
    Q_OBJECT

public:
    enum Role : int {
        Beside = Qt::UserRole, ///< the text beside the port: what is plugged in, else device or address
        Details,               ///< a second line: device, serial number, who uses it
        IsHeading,
    };
    using Entry = modPortEntries::PortEntry;
    using Users = std::map<std::string, PortUser>;

    explicit PortModel(QObject* parent);

    void Localise(std::int32_t language);
    /// Takes all entries anew, in their order and with headings.
    void Sort(const std::vector<Entry>& entries);
    /// Takes them over with as little movement as possible, for somebody who is looking: a device that has come moves
    /// to the end of the first part, one that has gone stays where it is and says so.
    void Renew(const std::vector<Entry>& entries);
    /// Who has which device open.
    void Tell(Users users);
    /// The devices that somebody could have open.
    std::vector<std::string> Devices() const;

    /// The number in a row; 0 for a heading and for a device without one.
    std::int32_t PortAt(int row) const;
    /// The row of a number from 1 to 255.
    int RowOf(std::int32_t port) const;
    /// Whether a row has an existing device or a line over the network.
    bool IsThere(int row) const;
    modPortEntries::Fit FitOf(int row, std::string_view typed) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    struct Row {
        Entry entry;
        bool isHeading = false, isGone = false;
    };

    QString headingText(const Row& row) const;
    QString besideText(const Row& row) const;
    QString detailsText(const Row& row) const;
    QString stateText(const Row& row) const;
    QString toolTip(const Row& row) const;
    int rowOf(const Entry& entry) const;
    int endOfPresent() const;
    void changed(int row);

    std::int32_t m_language = 0;
    std::vector<Row> m_rows;
    Users m_users;
};
