// The window in which the operator writes what a mark on the time axis says, and the ways to set, change and remove
// one.
#pragma once

#include <QDialog>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <optional>

class ChartPanel;
class QLabel;
class QLineEdit;
class clsHistory;
class clsSession;

class frmMark : public QDialog {
    Q_OBJECT

public:
    /// `isNew`: the mark has yet to be set. `when` is its time, `home` says where it is kept.
    frmMark(QWidget& owner, bool isNew, const QString& when, const QString& home, std::int32_t language);

    QString MarkText() const;
    void MarkText(const QString& text);

private:
    QLabel *lblWhen, *lblHome;
    QLineEdit* txtMark;
};

/// Where a new mark goes: where the keys or the mouse point in the chart, else at the cursor that was moved last, else
/// at the newest value if it is seen, else in the middle of what is seen. None while there is nothing to mark.
std::optional<double> PlaceOfNewMark(const clsHistory& shown, const ChartPanel& chart);
/// Asks for the text of a mark and sets it at `PlaceOfNewMark` at the time of the call. Returns what there is to say
/// about it; empty when all went well.
QString AskForMark(QWidget& owner, clsSession& session, const ChartPanel& chart, std::int32_t language);
/// Asks for another text of one of the session's marks. As above.
QString EditMark(QWidget& owner, clsSession& session, std::size_t mark, std::int32_t language);
QString RemoveMark(clsSession& session, std::size_t mark, std::int32_t language);
