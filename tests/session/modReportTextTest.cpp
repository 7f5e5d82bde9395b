#include "session/modReportText.h"
#include "texts/modFunctions.h"

#include <gtest/gtest.h>

namespace {
} // namespace
