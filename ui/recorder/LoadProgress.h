// Keeps the windows alive while a file is read, and shows a bar with "Cancel" if that takes long. Other input waits
// until the file is read.
#pragma once

#include <QElapsedTimer>
#include <QPointer>

#include <cstdint>

class QProgressDialog;
class QWidget;

class LoadProgress {
public:
    static constexpr int kPatience_ms = 500;

    /// `owner` may disappear while the file is read.
    LoadProgress(QWidget& owner, std::int32_t language);
    ~LoadProgress();
    LoadProgress(const LoadProgress&) = delete;
    LoadProgress& operator=(const LoadProgress&) = delete;

    /// Shows how much has been read, 0..1. False when the user has cancelled or the owner has gone.
    bool GoOn(double fraction);

private:
    void showBar();

    QPointer<QWidget> m_owner;
    std::int32_t m_language;
    QPointer<QProgressDialog> m_bar;
    QElapsedTimer m_total, m_sincePump;
    bool m_hasPumped = false;
};
