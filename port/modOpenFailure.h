// Why a port cannot be opened, in the user's language. UTF-8.
#pragma once

#include "port/SerialPort.h"

#include <cstdint>
#include <string>

namespace modOpenFailure {

/// A sentence; empty when there is no reason.
std::string Text(const OpenFailure& failure, std::int32_t language);

} // namespace modOpenFailure
