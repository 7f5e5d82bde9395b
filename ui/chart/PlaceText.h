// A place on the time axis of a history as the time of the clock that was measured with.
#pragma once

#include <QString>

class clsHistory;

/// "13:05:10", with the day before it when the history runs through more than one, and tenths when `withTenths`.
QString PlaceText(const clsHistory& history, double place, bool withTenths = true);
