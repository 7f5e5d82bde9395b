// Standard input, output and error of a program that was started without one of them.
#pragma once

/// A closed standard file would be the next one that is opened: messages would go to the sensor. Those that stand in
/// for it cannot be written, so that output that goes nowhere is noticed. Call it first.
void KeepStandardFiles();
