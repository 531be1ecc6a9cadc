// Token lists: tail insertion order, unlinking, and releasing lists that own
// or borrow their payloads (leaks and double frees show in the sanitizer run).
#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "mib2trap.h"

static char* Dup(const char* s) {
    size_t n = std::strlen(s) + 1;
    return static_cast<char*>(std::memcpy(std::malloc(n), s, n));
}

static std::string Walk(MibTokenList* head) {
    std::string s;
    for (MibTokenList* e = head->forw; e != head; e = e->forw) s += e->szToken ? e->szToken : "-";
    return s;
}

TEST(TokenList, InsertsAtTheTailAndUnlinks) {
    MibTokenList* list = nullptr;
    char* kept = Dup("k");
    EXPECT_EQ(CMib2Trap::InsertTokenIntoQueue(kept, list), nullptr);  // no list yet
    std::free(kept);

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
    for (node* np : records) CMib2Trap::FreeNode(np);  // still ours to release
}
