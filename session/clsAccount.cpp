#include "session/clsAccount.h"

void clsAccount::Received(std::span<const Measurement> samples)
{
    m_figures.received += static_cast<std::int64_t>(samples.size());
    for (const Measurement& sample : samples) {
        switch (KindOf(sample)) {
        case MeasurementKind::Distance:
            ++m_figures.valid;
            break;
        case MeasurementKind::NoEcho:
            ++m_figures.noEcho;
            break;
        case MeasurementKind::TempError:
            ++m_figures.tempError;
            break;
        }
    }
}

void clsAccount::Damaged(std::int64_t count)
{
    m_figures.received += count;
    m_figures.damaged += count;
}

void clsAccount::Recorded(std::int64_t recorded, std::int64_t passedOver, std::int64_t unwritten)
{
    m_figures.recorded += recorded;
    m_figures.passedOver += passedOver;
    m_figures.unwritten += unwritten;
}
