// Questions to the operator on the terminal.
#pragma once

#include "texts/TextId.h"

#include <cstddef>

class clsProgram;

namespace modQuestion {

/// Whether somebody can be asked: standard input and standard error are terminals.
bool IsPossible();

/// Asks for one of the answers whose letters stand in brackets in the text, "[A]bort, [R]etry? ". Returns its number
/// from 0. The end of the input, and a signal to end, count as the first one.
std::size_t Ask(clsProgram& program, TextId question);
/// The end of the input, and a signal to end, count as no.
bool YesOrNo(clsProgram& program);

} // namespace modQuestion
