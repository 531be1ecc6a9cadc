// AllByLabel: every record of a label, in the order added, through growth
// and Clear; labels are compared as texts, not by address.
#include <deque>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "all_by_label.h"
#include "mib2trap.h"
#include "test_util.h"

namespace {

std::vector<node*> All(const flat::AllByLabel& table, const std::string& label) {
    std::vector<node*> found;
    for (uint32_t at = table.First(label.c_str()); at != flat::AllByLabel::kNone; at = table.Next(at))
        found.push_back(table.Record(at));
    return found;
}

TEST(AllByLabel, ListsEveryRecordOfALabelInOrderThroughGrowth) {
    Records r;
    flat::AllByLabel table;
    EXPECT_TRUE(All(table, "a").empty());
    // Three rounds over many labels: the records of one label lie far apart
    // and the table grows between them.
    const int n = 3000;
    for (int round = 0; round < 3; ++round)
        for (int i = 0; i < n; ++i) table.Add(r.Add("l" + std::to_string(i)));
    for (int i = 0; i < n; i += 97)
        ASSERT_EQ(All(table, "l" + std::to_string(i)),
                  (std::vector<node*>{&r.nodes[i], &r.nodes[n + i], &r.nodes[2 * n + i]})) << i;
    EXPECT_TRUE(All(table, "l3000").empty());
    EXPECT_TRUE(All(table, "").empty());

    table.Clear();
    EXPECT_TRUE(All(table, "l0").empty());
    node* x = r.Add("x");
    table.Add(x);
    EXPECT_EQ(All(table, "x"), std::vector<node*>{x});
    EXPECT_EQ(table.Record(table.First("x")), x);  // numbered afresh from 0
    EXPECT_EQ(table.First("x"), 0u);
}

}  // namespace
