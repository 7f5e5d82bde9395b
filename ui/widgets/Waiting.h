// How the windows wait for the sensor.
#pragma once

#include <functional>

class QPushButton;

/// Lets the windows handle their events; waits for one, so that a wait does not spin.
void PumpEvents();

/// Runs what a button does. The button stays down while its command waits for the sensor. While it cannot be used the
/// focus moves on by itself; it comes back, unless the operator has moved it further.
void Press(QPushButton& button, const std::function<void()>& act);
