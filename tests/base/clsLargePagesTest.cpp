#include "base/clsLargePages.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <span>
#include <vector>

namespace {

/// Arrays taken and given back in any order: each keeps what was written into it, and the system gets back what is
/// not used any more.
TEST(LargePages, EachArrayIsItsOwnersAloneAndGoesBackInTheEnd)
{
    constexpr std::size_t kItems = 37501; // 13 arrays in a piece, and a rest
    struct Taken {
        std::span<std::uint32_t> items;
        std::uint32_t content;
    };
    clsLargePages pages(kItems * sizeof(std::uint32_t));
    std::mt19937 random(3);
    std::vector<Taken> taken;
    const auto giveAny = [&] {
        std::swap(taken[random() % taken.size()], taken.back());
        const auto [items, content] = taken.back();
        EXPECT_EQ(std::ranges::count(items, content), std::ssize(items));
        pages.Give(items.data());
        taken.pop_back();
    };
    for (std::uint32_t step = 0; step < 600; ++step) {
        if (step % 200 < 120 || taken.empty()) {
            taken.push_back({{static_cast<std::uint32_t*>(pages.Take()), kItems}, step});
            std::ranges::fill(taken.back().items, step);
            EXPECT_LT(pages.Bytes(), (taken.size() / 13 + 10) * clsLargePages::kPieceBytes);
        } else {
            giveAny();
        }
    }
    while (!taken.empty()) {
        giveAny();
    }
    EXPECT_EQ(pages.Bytes(), 0U);
}

} // namespace
