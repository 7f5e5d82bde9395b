// What the program prints while it runs: the distances, for `--print`, and its faults. Fault messages go the same way:
// they may share a pipe with the distances and would block just as long once it is full.
#pragma once

#include "base/clsLinePrinter.h"
#include "session/SessionListener.h"

#include <QtGlobal>

class QMessageLogContext;
class QString;

class Output : public SessionListener {
public:
    /// Prints every sample, or the newest of each tick. A recording that is played is not printed: nothing was
    /// measured. `distances` is the file that they go to. One object at a time.
    Output(bool everySample, int distances);
    ~Output() override;
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void Measured(const Measurement& measurement, std::string_view temperature) override;
    void Sampled(std::span<const Measurement> samples, std::string_view temperature) override;

private:
    void print(const Measurement& measurement);
    static void note(QtMsgType type, const QMessageLogContext& context, const QString& message);

    static inline clsLinePrinter* messagePrinter = nullptr;
    bool m_everySample;
    char m_decimalSeparator;
    clsLinePrinter m_distances, m_messages;
    QtMessageHandler m_usualHandler;
};
