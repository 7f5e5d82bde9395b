// rvqctl temperature.
#pragma once

class clsArguments;
class clsProgram;

/// Prints the temperature that the sensor reports.
int RunTemperature(clsProgram& program, const clsArguments& arguments);
