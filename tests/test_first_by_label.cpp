// FirstByLabel: the first record of each label wins, through growth, Reserve
// and Clear; labels are compared as texts, not by address.
#include <deque>
#include <string>

#include <gtest/gtest.h>

#include "first_by_label.h"
#include "mib2trap.h"
#include "test_util.h"

namespace {

TEST(FirstByLabel, KeepsTheFirstRecordOfEachLabelThroughGrowth) {
    Records r;
    flat::FirstByLabel table;
    EXPECT_EQ(table.Find("a"), nullptr);  // empty, no slots yet
    const int n = 5000;                   // many rehashes from 16 slots
    for (int i = 0; i < n; ++i) table.Emplace(r.Add("l" + std::to_string(i)));
    node* first = &r.nodes[7];
    table.Emplace(r.Add("l7"));  // a second record of the label is not kept
    for (int i = 0; i < n; ++i) ASSERT_EQ(table.Find(("l" + std::to_string(i)).c_str()), &r.nodes[i]) << i;
    EXPECT_EQ(table.Find(std::string("l7").c_str()), first);
    EXPECT_EQ(table.Find("l5000"), nullptr);
    EXPECT_EQ(table.Find(""), nullptr);
    EXPECT_EQ(table.Find("l1234567"), nullptr);

    table.Clear();
    EXPECT_EQ(table.Find("l1"), nullptr);
    table.Reserve(100);  // room made before any record
    node* empty = r.Add("");
    table.Emplace(empty);
    EXPECT_EQ(table.Find(""), empty);
    EXPECT_EQ(table.Find("l1"), nullptr);
}

}  // namespace
