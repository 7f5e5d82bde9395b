#include "ui/widgets/PortList.h"

#include "port/modLineUrl.h"
#include "port/modPComm.h"
#include "sensor/Parameters.h"
#include "ui/widgets/QtText.h"

#include <QAbstractItemView>
#include <QFile>
#include <QPainter>
#include <QSignalBlocker>
#include <QStyle>
#include <QStyledItemDelegate>
#include <QVariant>

#include <algorithm>

namespace {

constexpr std::int32_t kSecondText = Qt::UserRole;
constexpr int kShownPorts = 24;
constexpr int kPortNameLength = 7; ///< "COM 255"

/// Draws a second, lighter text beside that of an item.
class SecondTextDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::paint(painter, option, index);
        const QRect room = option.rect.adjusted(start(option), 0, -gap(option), 0);
        const bool selected = option.state.testFlag(QStyle::State_Selected);
        QColor color = option.palette.color(selected ? QPalette::HighlightedText : QPalette::Text);
        color.setAlphaF(0.65F);
        painter->save();
        painter->setFont(option.font);
        painter->setPen(color);
        painter->drawText(room, Qt::AlignVCenter | Qt::TextSingleLine, index.data(kSecondText).toString());
        painter->restore();
    }

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const QSize first = QStyledItemDelegate::sizeHint(option, index);
        const QString second = index.data(kSecondText).toString();
        return {second.isEmpty() ? first.width() : std::max(first.width(), WidthWith(second, option)), first.height()};
    }

    /// The width of an item with this second text; with an empty text, of an item without one.
    static int WidthWith(const QString& second, const QStyleOptionViewItem& option)
    {
        return start(option) + option.fontMetrics.horizontalAdvance(second) + gap(option);
    }

private:
    static int gap(const QStyleOptionViewItem& option) { return option.fontMetrics.height() / 2; }

    /// After the longest port name, so that the second texts form a column.
    static int start(const QStyleOptionViewItem& option)
    {
        QFont bold = option.font;
        bold.setBold(true);
        return QFontMetrics(bold).horizontalAdvance(PortName(modPComm::kPortCount)) + 3 * gap(option);
    }
};

/// Returns the second text, which only an existing device and a line over the network have.
QString describePort(QComboBox& list, std::int32_t port, const QString& device)
{
    QString described = device;
    QString second;
    if (modLineUrl::IsUrl(device.toStdString())) {
        second = device;
    } else if (!device.isEmpty() && QFile::exists(device)) {
        const std::string maker = modPComm::MakerOf(QFile::encodeName(device).toStdString());
        described += maker.empty() ? QString() : QStringLiteral(" – ") + FromUtf8(maker);
        second = described;
    }
    QFont standsOut = list.font();
    standsOut.setBold(true);
    // All at once: the list reports each change to its view and to listeners of the window.
    list.model()->setItemData(list.model()->index(port - 1, 0),
                              {{Qt::DisplayRole, PortName(port)},
                               {Qt::FontRole, second.isEmpty() ? QVariant() : standsOut},
                               {kSecondText, second},
                               {Qt::AccessibleDescriptionRole, second},
                               {Qt::ToolTipRole, described}});
    return second;
}

} // namespace

QString PortName(std::int32_t port)
{
    return QStringLiteral("COM %1").arg(port);
}

std::int32_t PortList::Fill(const modPComm::PortDevices& devices, std::int32_t selected)
{
    const QSignalBlocker silent(*this);
    m_devices = &devices;
    if (count() == 0) {
        setMaxVisibleItems(kShownPorts);
        setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon); // else all 255 texts are measured
        setMinimumContentsLength(kPortNameLength);
        setIconSize({0, 0}); // room for an icon would make the list higher than its neighbours
        QStringList names;   // added at once, because the list reports each addition to its view
        for (std::int32_t port = 1; port <= modPComm::kPortCount; ++port) {
            names += PortName(port);
        }
        addItems(names);
    }
    setCurrentIndex(selected >= 1 && selected <= modPComm::kPortCount ? selected - 1 : 0);
    return currentIndex() + 1;
}

void PortList::showPopup()
{
    describePorts();
    QComboBox::showPopup();
}

void PortList::describePorts()
{
    if (m_devices == nullptr) {
        return;
    }
    const QSignalBlocker silent(*this); // the port stays the same, whatever text is beside it
    if (dynamic_cast<SecondTextDelegate*>(itemDelegate()) == nullptr) {
        setItemDelegate(new SecondTextDelegate(this));
        view()->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    }
    QStyleOptionViewItem option;
    option.initFrom(this);
    // Asking the view would make it measure each of the 255 items.
    int widest = SecondTextDelegate::WidthWith({}, option);
    for (std::int32_t port = 1; port <= modPComm::kPortCount; ++port) {
        const QString second = describePort(*this, port, QFile::decodeName(m_devices->DeviceOf(port).c_str()));
        if (!second.isEmpty()) {
            widest = std::max(widest, SecondTextDelegate::WidthWith(second, option));
        }
    }
    view()->setMinimumWidth(widest + 2 * style()->pixelMetric(QStyle::PM_ScrollBarExtent));
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
