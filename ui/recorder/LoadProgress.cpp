#include "ui/recorder/LoadProgress.h"

#include "ui/widgets/Localise.h"

#include <QApplication>
#include <QProgressDialog>
#include <QPushButton>

#include <cmath>

namespace {

constexpr int kPumpEvery_ms = 16;
constexpr int kSteps = 1000;
constexpr double kFirstPump = 0.01; // of the file: something is seen at once

} // namespace

LoadProgress::LoadProgress(QWidget& owner, std::int32_t language) : m_owner(&owner), m_language(language)
{
    m_total.start();
    m_sincePump.start();
}

LoadProgress::~LoadProgress()
{
    delete m_bar;
}

bool LoadProgress::GoOn(double fraction)
{
    const bool isFirst = !m_hasPumped && fraction >= kFirstPump;
    if (!isFirst && m_sincePump.elapsed() < kPumpEvery_ms) {
        return true;
    }
    m_hasPumped = true;
    m_sincePump.restart();
    if (m_bar == nullptr && m_total.elapsed() >= kPatience_ms && m_owner != nullptr) {
        showBar();
    }
    if (m_bar == nullptr) {
        QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
        return m_owner != nullptr;
    }
    m_bar->setValue(static_cast<int>(std::lround(fraction * (kSteps - 1)))); // the last step would close it
    QApplication::processEvents();
    return m_bar != nullptr && !m_bar->wasCanceled();
}

void LoadProgress::showBar()
{
    m_bar = new QProgressDialog(m_owner);
    m_bar->setObjectName(QStringLiteral("dlgLoading"));
    m_bar->setWindowModality(Qt::ApplicationModal);
    m_bar->setWindowTitle(m_owner->windowTitle());
    m_bar->setLabelText(Text(TextId::StatusLoading, m_language));
    auto* cancel = new QPushButton(Text(TextId::ButtonCancel, m_language), m_bar);
    cancel->setObjectName(QStringLiteral("cmdCancel"));
    m_bar->setCancelButton(cancel);
    m_bar->setRange(0, kSteps);
    m_bar->setMinimumSize(m_bar->sizeHint());
    m_bar->show();
}
