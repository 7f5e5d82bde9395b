// Tests in the locale of a German desktop, where numbers have a comma.
#pragma once

#include <clocale>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

struct GermanLocale : testing::Test {
    const std::string before = std::setlocale(LC_ALL, nullptr);

    void SetUp() override
    {
        if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
            // ./test creates the locale and sets its folder, so it must be there.
            ASSERT_EQ(std::getenv("LOCPATH"), nullptr) << "holds no de_DE.UTF-8";
            GTEST_SKIP() << "de_DE.UTF-8 is not installed; ./test makes it";
        }
    }
    void TearDown() override { std::setlocale(LC_ALL, before.c_str()); }
};
