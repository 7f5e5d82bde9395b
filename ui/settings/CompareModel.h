// The lines of a comparison as a table: headings, and a row for each parameter with a tick where it can be sent.
#pragma once

#include "sensor/modCompare.h"

#include <QAbstractTableModel>
#include <QString>
#include <QStringList>

#include <vector>

struct CompareLine {
    const ParameterDef* row = nullptr; ///< null: a heading, which has nothing but a name
    QString name{}, code{}, unit{}, left{}, right{}, factory{};
    bool differs = false;
    bool canBeSent = false;
    bool isTicked = false;
    QString toolTip{}; ///< why it cannot be sent
};

class CompareModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column : int {
        ColumnTick,
        ColumnName,
        ColumnCode,
        ColumnUnit,
        ColumnLeft,
        ColumnRight,
        ColumnFactory,
        ColumnCount
    };
    using QAbstractTableModel::QAbstractTableModel;

    void Show(std::vector<CompareLine> lines);
    /// The names of the columns, and what a screen reader says of a value that differs.
    void Name(const QStringList& columns, const QString& differs);
    const std::vector<CompareLine>& Lines() const { return m_lines; }
    /// The texts of a line's columns after the tick.
    static QStringList TextsOf(const CompareLine& line);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

signals:
    void Ticked(const ParameterDef& row, bool isTicked);

private:
    QVariant text(const CompareLine& line, int column) const;

    std::vector<CompareLine> m_lines;
    QStringList m_columns;
    QString m_differs;
};
