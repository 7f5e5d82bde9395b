#include "ui/chart/Overview.h"

Overview::Overview(QWidget* parent) : QWidget(parent) {}

void Overview::Follow(clsSession& /*session*/, ChartPanel& /*chart*/) {}

void Overview::Localise(std::int32_t /*language*/) {}
