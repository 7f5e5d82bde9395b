#include "ui/widgets/WindowPlace.h"

#include "store/modIni.h"
#include "ui/widgets/Guarded.h"

#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include <utility>

namespace {

constexpr char kSection[] = "WINDOWS";
constexpr std::size_t kLongest = 1024;

} // namespace

bool KeptChoice(const std::string& name, bool fallback, const std::string& iniFile)
{
    return iniFile.empty() ? fallback : modIni::GetPrivateProfileIntA(kSection, name, fallback ? 1 : 0, iniFile) != 0;
}

void KeepChoice(const std::string& name, bool chosen, const std::string& iniFile)
{
    if (!iniFile.empty()) {
        modIni::WritePrivateProfileStringA(kSection, name, chosen ? "1" : "0", iniFile);
    }
}

WindowPlace::WindowPlace(QWidget& window, std::string iniFile)
    : QObject(&window), m_window(window), m_iniFile(std::move(iniFile))
{
    if (m_iniFile.empty()) {
        return;
    }
    const std::string kept =
        modIni::GetPrivateProfileStringA(kSection, window.objectName().toStdString(), {}, kLongest, m_iniFile);
    m_kept = QByteArray::fromStdString(kept);
    m_window.restoreGeometry(QByteArray::fromBase64(m_kept)); // ignores invalid data and places on no screen
    fitToScreen();
    m_window.installEventFilter(this);
}

bool WindowPlace::eventFilter(QObject*, QEvent* event)
{
    if (event->type() == QEvent::Close || event->type() == QEvent::Hide) {
        Guarded([this] { keep(); });
    }
    return false;
}

/// A size from a larger screen, or left behind by a fault, would put half of the window out of reach.
void WindowPlace::fitToScreen()
{
    const QRect place = m_window.geometry();
    const QScreen* screen = m_window.screen(); // the first one while the window is not shown
    for (const QPoint& point : {place.topLeft(), place.center()}) {
        const QScreen* there = QGuiApplication::screenAt(point);
        screen = there != nullptr ? there : screen;
    }
    const QRect room = screen->availableGeometry();
    if (const QSize size = place.size().boundedTo(room.size()); size != place.size()) {
        m_window.resize(size);
        m_window.move(room.topLeft());
    }
}

void WindowPlace::keep()
{
    const QByteArray place = m_window.saveGeometry().toBase64();
    if (place != m_kept && modIni::WritePrivateProfileStringA(kSection, m_window.objectName().toStdString(),
                                                              place.toStdString(), m_iniFile)) {
        m_kept = place;
    }
}
