// A running recording at a glance: its mark, duration, size and rate, the room on the disk, and what is wrong. Every
// figure keeps its place.
#pragma once

#include "session/clsRecorder.h"

#include <QString>
#include <QStringList>
#include <QWidget>

#include <cstdint>

class LineLabel;
class QLabel;
class QPainter;
class QPixmap;

/// "00:12:31"; the hours grow beyond two digits.
QString DurationText(double seconds);
/// "4.2 MiB" with the user's decimal separator.
QString SizeText(double bytes);
/// What is said of a running recording. A text is empty while there is nothing to say.
struct RecordTexts {
    QString state; ///< the number of values, or what the recording waits for
    QString duration, size, rate, free;
    QStringList warnings;   ///< the gravest first
    bool isWaiting = false; ///< for its first line, and for longer than usual
};
RecordTexts TextsOf(const clsRecorder& recorder, std::int32_t language);
/// The red mark of a running recording.
void DrawRecordMark(QPainter& painter, const QRectF& area);
/// The sign of a warning in the widget's style.
QPixmap WarningSign(const QWidget& widget, int size);

class ProgressPanel : public QWidget {
    Q_OBJECT

public:
    explicit ProgressPanel(QWidget* parent);

    /// Shows the figures of a recording that runs, or of the last one; none before the first.
    void Show(const clsRecorder& recorder, std::int32_t language);
    /// Shows a word for a few seconds.
    void Say(const QString& word);
    /// Sets the texts in this language.
    void Localise(std::int32_t language);

private:
    QString m_word;
    std::int32_t m_wordsLeft = 0; ///< times that it is still shown
    LineLabel* lblDuration;
    LineLabel* lblSize;
    LineLabel* lblRate;
    LineLabel* lblFree;
    QLabel* lblSign;
    QLabel* lblNotice;
};
