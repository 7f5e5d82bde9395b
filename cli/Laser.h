// rvqctl laser.
#pragma once

class clsArguments;
class clsProgram;

/// Switches the marker laser on or off, and asks the sensor whether it did.
int RunLaser(clsProgram& program, const clsArguments& arguments);
