// PointerSet: membership through growth and Reserve, repeats and null
// ignored, and pointers that differ only in their high or low bits.
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "pointer_set.h"

namespace {

const void* At(uintptr_t address) { return reinterpret_cast<const void*>(address); }

TEST(PointerSet, HoldsEachPointerOnceThroughGrowth) {
    flat::PointerSet set;
    EXPECT_FALSE(set.Contains(At(8)));  // empty, no slots yet
    set.Insert(nullptr);
    EXPECT_TRUE(set.Empty());

    // Neighbouring records, and addresses apart by a power of two far up.
    std::vector<const void*> inserted;
    for (uintptr_t i = 1; i <= 4000; ++i) inserted.push_back(At(0x10000 + 8 * i));
    for (uintptr_t i = 1; i <= 40; ++i) inserted.push_back(At(i << 24));
    for (const void* p : inserted) set.Insert(p);
    for (const void* p : inserted) set.Insert(p);  // repeats change nothing
    EXPECT_EQ(set.Size(), inserted.size());
    for (const void* p : inserted) ASSERT_TRUE(set.Contains(p)) << p;
    EXPECT_FALSE(set.Contains(At(0x10000)));
    EXPECT_FALSE(set.Contains(At(0x10000 + 8 * 4001)));
    EXPECT_FALSE(set.Contains(At(41ull << 24)));

    set.Clear();
    EXPECT_TRUE(set.Empty());
    EXPECT_FALSE(set.Contains(inserted[0]));
    set.Reserve(1000);
    for (size_t i = 0; i < 1000; ++i) set.Insert(inserted[i]);
    EXPECT_EQ(set.Size(), 1000u);
    EXPECT_TRUE(set.Contains(inserted[999]));
    EXPECT_FALSE(set.Contains(inserted[1000]));
}

}  // namespace
