// The open list of ports: what is typed narrows it, and rows that come do not move the row under the user's hand.
#pragma once

#include <QListView>

#include <cstdint>

class PortModel;
class QLabel;

class PortView : public QListView {
    Q_OBJECT

public:
    explicit PortView(PortModel& ports);

    void Localise(std::int32_t language);
    /// Shows all rows again.
    void ClearSearch() { search({}); }
    /// What a key does to the search; false for a key that is none of it.
    bool TakeKey(const QKeyEvent& key);
    bool IsSearching() const { return !m_typed.isEmpty(); }
    /// Asks all rows for their width and takes the largest, within reason.
    void FitWidth();

    /// Keeps the row in its place that the mouse points at, else the current one, while rows come and go.
    template <typename Change>
    void KeepingPlace(const Change& change)
    {
        const QPersistentModelIndex row = anchor();
        const int before = visualRect(row).top();
        change();
        keep(row, before);
    }

protected:
    /// Passes over headings and hidden rows.
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    bool isChoice(int row) const;
    QModelIndex anchor() const;
    void keep(const QModelIndex& row, int top);
    void search(const QString& typed);
    void showSearch();
    void makeRoom();

    PortModel& m_ports;
    std::int32_t m_language = 0;
    QString m_typed;
    bool m_hasFound = true;
    QLabel* m_line;
};
