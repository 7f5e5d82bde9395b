// Lays frames out in as many columns as the width has room for. The frames keep their order: down each column, then on
// to the next. They are only moved, never taken out, so the focus and the order of the tab key stay.
#pragma once

#include <QLayout>
#include <QRect>

#include <memory>
#include <vector>

class FrameColumns : public QLayout {
public:
    /// The number of the first frame in each column.
    using Arrangement = std::vector<int>;

    /// The arrangements begin with the one that has the most columns.
    FrameColumns(QWidget* around, std::vector<Arrangement> arrangements);
    ~FrameColumns() override;

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    /// Of the most columns.
    QSize sizeHint() const override;
    /// As narrow as the fewest columns, and as low as the most.
    QSize minimumSize() const override;
    void setGeometry(const QRect& rect) override;

    void addItem(QLayoutItem* item) override;
    int count() const override;
    QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;

private:
    const Arrangement& arrangementFor(int width) const;
    QSize neededBy(const Arrangement& columns, QSize (*sizeOf)(const QLayoutItem&)) const;
    int endOf(const Arrangement& columns, std::size_t column) const;
    int widthOf(const Arrangement& columns, std::size_t column, QSize (*sizeOf)(const QLayoutItem&)) const;

    std::vector<Arrangement> m_arrangements;
    std::vector<std::unique_ptr<QLayoutItem>> m_items;
};
