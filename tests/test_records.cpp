// Parse records and their arena: zero-filled aligned records, packed texts,
// labels cut to their capacity, growth over many blocks, the hand-over of a
// parse's records to its module list (leaks and double frees show in the
// sanitizer run and under valgrind).
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "mib2trap.h"

TEST(Records, ArenaHandsOutZeroedAlignedStorageOverManyBlocks) {
    RecordArena arena;
    EXPECT_EQ(arena.BytesReserved(), 0u);
    // Enough records and texts to need many blocks, among them requests
    // larger than the first block.
    std::vector<std::pair<char*, size_t>> made;
    for (size_t i = 0; i < 20000; ++i) {
        const size_t size = (i % 97 == 0) ? 40000 : 1 + i % 300;
        char* p = static_cast<char*>(arena.Allocate(size));
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % alignof(void*), 0u);
        for (size_t k = 0; k < size; ++k) ASSERT_EQ(p[k], 0) << i;
        std::memset(p, static_cast<int>(i & 0x7f) | 1, size);
        made.emplace_back(p, size);
    }
    // Nothing handed out overlaps anything else: every byte kept its mark.
    for (size_t i = 0; i < made.size(); ++i)
        for (size_t k = 0; k < made[i].second; ++k)
            ASSERT_EQ(made[i].first[k], static_cast<char>(static_cast<int>(i & 0x7f) | 1)) << i;
    EXPECT_GT(arena.BytesReserved(), 2u * 1024 * 1024);  // huge-page blocks were reached
    arena.Release();
    EXPECT_EQ(arena.BytesReserved(), 0u);
    EXPECT_NE(arena.Allocate(8), nullptr);  // usable again after a release
}

TEST(Records, TextsArePackedAndOnlyTheLastOneUnwinds) {
    RecordArena arena;
    char* a = arena.CopyText("abc", 3);
    char* b = arena.CopyText("de", 2);
    EXPECT_STREQ(a, "abc");
    EXPECT_STREQ(b, "de");
    EXPECT_EQ(b, a + 4);  // texts take no padding
    arena.Unwind(a);      // not the last allocation: kept
    EXPECT_EQ(arena.CopyText("x", 1), b + 3);
    char* c = arena.CopyText("skipped text", 12);
    arena.Unwind(c);      // the last one: its place is reused
    EXPECT_EQ(arena.CopyText("y", 1), c);
    arena.Unwind(nullptr);
}

TEST(Records, RecordsStartEmptyAndLabelsAreCutToTheirCapacity) {
    CMib2Trap mib;
    node* np = mib.CreateNode(TOK_OBJECT_TYPE);
    ASSERT_NE(np, nullptr);
    EXPECT_STREQ(np->szLabel, "");
    EXPECT_STREQ(np->szParent, "");
    EXPECT_EQ(np->subid, -1);
    EXPECT_EQ(np->smi_access, -1);
    EXPECT_EQ(np->type, TOK_OBJECT_TYPE);
    EXPECT_EQ(np->next, nullptr);
    EXPECT_EQ(np->szDescr, nullptr);

    const std::string longLabel(300, 'q');
    np->szLabel = mib.CopyLabel(longLabel.c_str());
    EXPECT_EQ(std::string(np->szLabel), longLabel.substr(0, LABEL_LEN - 1));
    EXPECT_EQ(mib.CopyLabel(""), kNoLabel);

    // Enumerations and token lists copied into the arena.
    MibEnumList second{nullptr, 2, const_cast<char*>("down")};
    MibEnumList first{&second, 1, nullptr};
    MibEnumList* copy = mib.CopyRecordEnums(&first);
    ASSERT_TRUE(copy && copy->next && !copy->next->next);
    EXPECT_EQ(copy->szLabel, nullptr);
    EXPECT_EQ(copy->next->value, 2);
    EXPECT_STREQ(copy->next->szLabel, "down");
    MibTokenList* empty = mib.RecordTokenList(nullptr);
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(empty->forw, empty);
    // Records made outside a parse go with the compiler object.
}

TEST(Records, AParseHandsItsArenaToItsModuleList) {
    CMib2Trap mib;
    EXPECT_EQ(mib.FinishParse(nullptr), nullptr);  // nothing made, nothing kept
    ModListNode* mod = mib.CreateModule("A-MIB", " A-MIB");
    ASSERT_NE(mod, nullptr);
    EXPECT_STREQ(mod->szModName, "A-MIB");
    mod->node = mib.CreateNode(TOK_OBJECT_IDENTIFIER);
    mod->next_mod = mib.CreateModule("B-MIB", "");
    ModListNode* list = mib.FinishParse(mod);
    ASSERT_EQ(list, mod);
    ASSERT_NE(list->pArena, nullptr);
    EXPECT_EQ(list->next_mod->pArena, nullptr);
    // The next parse of the same object starts a new arena; the first list
    // stays valid until it is freed.
    node* other = mib.CreateNode(TOK_LABEL);
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(mod->node->type, TOK_OBJECT_IDENTIFIER);
    CMib2Trap::FreeModList(list);
    CMib2Trap::FreeModList(nullptr);
    // A failed parse releases what it made.
    EXPECT_EQ(mib.FinishParse(nullptr), nullptr);
}
