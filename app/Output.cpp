#include "app/Output.h"

#include "ui/widgets/QtText.h"

#include <QString>

#include <chrono>
#include <cstdio>
#include <string>
#include <unistd.h>

Output::Output(bool everySample, int distances)
    : m_everySample(everySample), m_decimalSeparator(DecimalSeparator()), m_distances(distances),
      m_messages(STDERR_FILENO)
{
    messagePrinter = &m_messages;
    m_usualHandler = qInstallMessageHandler(note);
}

Output::~Output()
{
    constexpr std::chrono::milliseconds kPatience{300};
    qInstallMessageHandler(m_usualHandler);
    if (const std::int64_t lost = m_distances.Finish(kPatience); lost > 0) {
        m_messages.Print("RVQ: lines that could not be printed: " + std::to_string(lost));
    }
    m_messages.Finish(kPatience);
}

void Output::Measured(const Measurement& measurement, std::string_view /*temperature*/)
{
    if (!m_everySample) {
        print(measurement);
    }
}

void Output::Sampled(std::span<const Measurement> samples, std::string_view /*temperature*/)
{
    if (!m_everySample) {
        return;
    }
    for (const Measurement& sample : samples) {
        print(sample);
    }
}

void Output::print(const Measurement& measurement)
{
    m_distances.Print(FromBytes(DistanceText(measurement, m_decimalSeparator)).toLocal8Bit().toStdString());
}

void Output::note(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    const std::string line = qFormatLogMessage(type, context, message).toLocal8Bit().toStdString();
    if (type == QtFatalMsg) {
        std::fprintf(stderr, "%s\n", line.c_str()); // the program ends before a thread could print this
    } else {
        messagePrinter->Print(line);
    }
}
