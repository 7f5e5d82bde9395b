// A place on the time axis of a history as the time of the clock that was measured with.
#pragma once

#include <QString>

class clsHistory;

/// "13:05:10.2", with so many decimals (0..3) and, when the history runs through more than one day, its day.
QString PlaceText(const clsHistory& history, double place, int decimals = 1);
