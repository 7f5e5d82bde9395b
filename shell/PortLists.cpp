#include "shell/PortLists.h"

#include "device/Parameters.h"
#include "device/modPComm.h"
#include "shell/QtText.h"

#include <QComboBox>
#include <QFile>
#include <QSignalBlocker>

std::int32_t FillComPorts(QComboBox& list, const modPComm::PortDevices& devices, std::int32_t selected)
{
    const QSignalBlocker silent(list);
    list.clear();
    QFont standsOut = list.font();
    standsOut.setBold(true);
    for (std::int32_t port = 1; port <= modPComm::kPortCount; ++port) {
        const QString device = QFile::decodeName(devices.DeviceOf(port).c_str());
        list.addItem(QStringLiteral("COM %1").arg(port));
        list.setItemData(port - 1, device, Qt::ToolTipRole);
        if (!device.isEmpty() && QFile::exists(device)) {
            list.setItemData(port - 1, standsOut, Qt::FontRole);
        }
    }
    list.setCurrentIndex(selected >= 1 && selected <= modPComm::kPortCount ? selected - 1 : 0);
    return list.currentIndex() + 1;
}

std::int32_t FillBaudrates(QComboBox& list, std::int32_t selected)
{
    const QSignalBlocker silent(list);
    list.clear();
    for (const std::string_view rate : kBaudrateTexts) {
        list.addItem(FromUtf8(rate));
    }
    list.setCurrentIndex(list.findText(QString::number(SensorRate(selected))));
    return clsRVQ::RateOfIndex(list.currentIndex());
}
