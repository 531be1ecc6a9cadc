// Token lists: tail insertion order, unlinking, and releasing lists that own
// or borrow their payloads (leaks and double frees show in the sanitizer run).
#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "mib2trap.h"

static char* Dup(const char* s) { return CopyText(s); }

static std::string Walk(MibTokenList* head) {
    std::string s;
    for (MibTokenList* e = head->forw; e != head; e = e->forw) s += e->szToken ? e->szToken : "-";
    return s;
}

TEST(TokenList, InsertsAtTheTailAndUnlinks) {
    MibTokenList* list = nullptr;
    char* kept = Dup("k");
    EXPECT_EQ(CMib2Trap::InsertTokenIntoQueue(kept, list), nullptr);  // no list yet
    FreeHeap(kept);

    CMib2Trap::CreateTokenListHead(&list);
    ASSERT_NE(list, nullptr);
    EXPECT_TRUE(list->forw == list && list->back == list && !list->szToken);
    char* x = Dup("X");
    EXPECT_EQ(CMib2Trap::InsertTokenIntoQueue(x, list)->szToken, x);  // not copied
    MibTokenList* y = CMib2Trap::InsertTokenIntoQueue(Dup("Y"), list);
    MibTokenList* head = list;
    CMib2Trap::CreateTokenListHead(&list);  // an existing list stays as it is
    EXPECT_EQ(list, head);
    MibTokenList* z = CMib2Trap::InsertTokenIntoQueue(Dup("Z"), list);
    EXPECT_EQ(Walk(list), "XYZ");
    EXPECT_TRUE(list->back == z && z->forw == list);

    CMib2Trap::Remque(y);
    EXPECT_EQ(Walk(list), "XZ");
    EXPECT_EQ(y->forw, z);  // the removed element keeps its own links
    CMib2Trap::Insque(y, list);
    EXPECT_EQ(Walk(list), "YXZ");
    CMib2Trap::FreeTokenList(list);  // releases the strings as well
}

TEST(TokenList, ReleasesEmptyAbsentAndBorrowingLists) {
    CMib2Trap::FreeTokenList(nullptr);
    CMib2Trap::FreeObjDefnOnTokenList(nullptr);
    MibTokenList* empty = nullptr;
    CMib2Trap::CreateTokenListHead(&empty);
    CMib2Trap::FreeTokenList(empty);

    CMib2Trap mib;
    node* records[2] = {mib.CreateNode(TOK_OBJECT_TYPE), mib.CreateNode(TOK_OBJECT_TYPE)};
    MibTokenList* borrowed = nullptr;
    CMib2Trap::CreateTokenListHead(&borrowed);
    for (node* np : records) CMib2Trap::InsertTokenIntoQueue(reinterpret_cast<char*>(np), borrowed);
    CMib2Trap::FreeObjDefnOnTokenList(borrowed);
    EXPECT_EQ(Walk(borrowed), "--");
    CMib2Trap::FreeTokenList(borrowed);
}

// A written-names list keeps each name once, in the order first added, as a
// copy: through the growth of its index, with names that differ only in the
// bytes the index hashes last, and again after Clear.
TEST(TokenList, WrittenNamesKeepFirstCopiesThroughGrowth) {
    WrittenNames names;
    std::string name;
    for (int round = 0; round < 2; ++round) {
        const int n = 50000;
        for (int i = 0; i < n; ++i) {
            name = "label-" + std::to_string(i) + "-0123456789abcdef";
            EXPECT_TRUE(names.Add(name.c_str()));
            if (i % 7 == 0) {
                EXPECT_FALSE(names.Add(name.c_str()));  // already there
                name[0] = 'L';
                EXPECT_FALSE(names.Contains(name.c_str()));
            }
        }
        EXPECT_TRUE(names.Contains("label-49999-0123456789abcdef"));
        EXPECT_FALSE(names.Contains("label-49999-0123456789abcdeg"));
        EXPECT_FALSE(names.Contains(""));
        ASSERT_NE(names.list, nullptr);
        int count = 0;
        const MibTokenList* e = names.list;
        do {
            if (count < 3) {
                EXPECT_EQ(std::string(e->szToken), "label-" + std::to_string(count) + "-0123456789abcdef");
            }
            ++count;
            e = e->forw;
        } while (e != names.list);
        EXPECT_EQ(count, n);
        EXPECT_EQ(names.list->back->szToken, std::string("label-49999-0123456789abcdef"));
        names.Clear();
        EXPECT_EQ(names.list, nullptr);
        EXPECT_FALSE(names.Contains("label-0-0123456789abcdef"));
    }
    EXPECT_TRUE(names.Add(""));
    EXPECT_FALSE(names.Add(""));
    names.Clear();
}
