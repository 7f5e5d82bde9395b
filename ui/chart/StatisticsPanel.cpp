#include "ui/chart/StatisticsPanel.h"

StatisticsPanel::StatisticsPanel(QWidget* parent) : QFrame(parent) {}

void StatisticsPanel::Follow(ChartPanel& /*chart*/) {}

void StatisticsPanel::Localise(std::int32_t /*language*/) {}

QString StatisticsPanel::AsText() const
{
    return {};
}
