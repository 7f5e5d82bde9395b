// How the windows wait for the sensor.
#pragma once

#include <functional>

class QPushButton;

/// Lets the windows handle their events. Waits for the next one, so that a waiting loop does not spin.
void PumpEvents();

/// Runs the action of a button. The button stays down while its command waits for the sensor. The focus leaves it while
/// it is disabled, and returns unless the operator has moved it on.
void Press(QPushButton& button, const std::function<void()>& act);
