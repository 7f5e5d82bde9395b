#include "ui/widgets/PortList.h"

#include "port/modPComm.h"
#include "port/modPortEntries.h"
#include "sensor/Parameters.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/PortModel.h"
#include "ui/widgets/PortView.h"
#include "ui/widgets/QtText.h"

#include <QKeyEvent>
#include <QSignalBlocker>
#include <QTimer>

#include <chrono>

namespace {

constexpr int kShownPorts = 24;
constexpr int kPortNameLength = 7; ///< "COM 255"
constexpr int kLooksEvery_ms = 500;
constexpr int kLooksPerUsers = 4;

} // namespace

PortList::PortList(QWidget* parent) : QComboBox(parent), m_ports(new PortModel(this)), m_timer(new QTimer(this))
{
    setMaxVisibleItems(kShownPorts);
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon); // else all 255 texts are measured
    setMinimumContentsLength(kPortNameLength);
    setIconSize({0, 0}); // room for an icon would make the list higher than its neighbours
    setModel(m_ports);
    m_timer->setInterval(kLooksEvery_ms);
    connect(m_timer, &QTimer::timeout, this, [this] { Guarded([this] { follow(); }); });
}

std::int32_t PortList::Fill(const modPComm::PortDevices& devices, std::int32_t selected)
{
    const QSignalBlocker silent(*this);
    m_devices = &devices;
    m_seen.clear(); // numbers may lead elsewhere now
    setCurrentIndex(m_ports->RowOf(selected >= 1 && selected <= modPComm::kPortCount ? selected : 1));
    return Port();
}

void PortList::Localise(std::int32_t language)
{
    m_language = language;
    m_ports->Localise(language);
    if (m_list != nullptr) {
        m_list->Localise(language);
    }
}

std::int32_t PortList::Port() const
{
    return m_ports->PortAt(currentIndex());
}

void PortList::showPopup()
{
    if (m_list == nullptr) {
        m_list = new PortView(*m_ports);
        setView(m_list); // it belongs to the list now
        m_list->Localise(m_language);
    }
    sort();
    m_list->ClearSearch();
    m_list->FitWidth();
    askForUsers();
    m_looks = 0;
    m_timer->start();
    QComboBox::showPopup();
    m_list->installEventFilter(this); // comes before the filter of the list, which takes Escape
    if (!m_ports->IsThere(currentIndex())) {
        m_list->scrollToTop(); // what could be chosen instead
    }
}

void PortList::hidePopup()
{
    m_timer->stop();
    m_seen.clear(); // devices that have gone are still in it
    QComboBox::hidePopup();
    if (m_list != nullptr) {
        m_list->ClearSearch();
    }
}

bool PortList::eventFilter(QObject* watched, QEvent* event)
{
    const bool asksForKey = watched == m_list && event->type() == QEvent::ShortcutOverride;
    if (asksForKey && m_list->IsSearching() && static_cast<QKeyEvent&>(*event).key() == Qt::Key_Escape) {
        event->accept(); // else the list closes before the key comes
        return true;
    }
    if (watched == m_list && event->type() == QEvent::KeyPress && m_list->TakeKey(static_cast<QKeyEvent&>(*event))) {
        return true;
    }
    return QComboBox::eventFilter(watched, event);
}

/// A text that is typed into the closed list opens it: choosing with every letter would try one port after another.
void PortList::keyPressEvent(QKeyEvent* event)
{
    const bool isText = !event->text().isEmpty() && event->text().front().isLetterOrNumber() &&
                        (event->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier)) == Qt::NoModifier;
    if (isText) {
        showPopup();
        m_list->TakeKey(*event);
        return;
    }
    if (event->key() != Qt::Key_Space && modPortScan::Look(m_root) != m_seen) {
        sort(); // the arrows go from one existing device to the next
    }
    QComboBox::keyPressEvent(event);
}

/// The port stays the same, whatever row it has.
void PortList::sort()
{
    if (m_devices == nullptr) {
        return;
    }
    const QSignalBlocker silent(*this);
    const std::int32_t port = Port();
    m_seen = modPortScan::Look(m_root);
    m_ports->Sort(modPortEntries::Entries(*m_devices, m_root));
    setCurrentIndex(m_ports->RowOf(port));
}

/// Takes in what has changed while the list is open.
void PortList::follow()
{
    if (const auto seen = modPortScan::Look(m_root); seen != m_seen && m_devices != nullptr) {
        m_seen = seen;
        m_list->KeepingPlace([this] {
            const QSignalBlocker silent(*this);
            m_ports->Renew(modPortEntries::Entries(*m_devices, m_root));
        });
        m_looks = 0;
    }
    using namespace std::chrono_literals;
    if (m_users.valid() && m_users.wait_for(0s) == std::future_status::ready) {
        m_list->KeepingPlace([this] { m_ports->Tell(m_users.get()); });
    }
    if (m_looks++ % kLooksPerUsers == 0) {
        askForUsers();
    }
}

void PortList::askForUsers()
{
    if (!m_users.valid()) {
        m_users = std::async(std::launch::async, modPortScan::UsersOf, m_ports->Devices(), m_root);
    }
}

std::int32_t FillBaudrates(QComboBox& list, std::int32_t selected)
{
    const QSignalBlocker silent(list);
    list.clear();
    for (const std::string_view rate : kBaudrateTexts) {
        list.addItem(FromUtf8(rate));
    }
    list.setCurrentIndex(list.findText(QString::number(SensorRate(selected))));
    return RateOfIndex(list.currentIndex());
}
