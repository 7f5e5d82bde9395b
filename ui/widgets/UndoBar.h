// A bar that offers the way back after a write to the sensor. It is shown while the sensor that was written to is the
// one that is connected.
#pragma once

#include <QFrame>

#include <cstdint>
#include <string>

class QLabel;
class QPushButton;
class QToolButton;
class clsWriteKeeper;

class UndoBar : public QFrame {
    Q_OBJECT

public:
    /// The bar is "fraUndo" with "lblUndo", "cmdUndo" and "cmdDismissUndo".
    explicit UndoBar(QWidget* parent);

    /// Shows the write that can be undone in the sensor with this serial number, or hides the bar. Cheap while nothing
    /// has changed: call it in every tick. `isUsable`: the sensor is there, and nothing else waits for it.
    void Follow(clsWriteKeeper& writes, const std::string& serialNo, bool isUsable, std::int32_t language);

signals:
    void undone();

private:
    void showText();

    QLabel* lblUndo;
    QPushButton* cmdUndo;
    QToolButton* cmdDismissUndo;
    clsWriteKeeper* m_writes = nullptr;
    std::uint64_t m_version = 0;
    std::string m_serialNo;
    std::int32_t m_language = -1;
};
