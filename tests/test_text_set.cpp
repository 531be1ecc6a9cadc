// TextSet: texts found by content through growth and Clear, among texts that
// share their first eight bytes or differ only in their last byte.
#include <deque>
#include <string>

#include <gtest/gtest.h>

#include "text_set.h"

namespace {

bool Has(const flat::TextSet& set, const std::string& text) {
    return set.Contains(text.c_str(), flat::HashText(text.c_str()));
}

TEST(TextSet, FindsTextsByContentThroughGrowth) {
    std::deque<std::string> texts;  // the set views them: they stay in place
    flat::TextSet set;
    EXPECT_FALSE(Has(set, "a"));  // empty, no slots yet
    auto insert = [&](const std::string& text) {
        const char* kept = texts.emplace_back(text).c_str();
        set.InsertNew(kept, flat::HashText(kept));
    };
    const int n = 3000;
    for (int i = 0; i < n; ++i) insert("commonPrefix" + std::to_string(i));  // past the first eight bytes
    for (char c = 'a'; c <= 'z'; ++c) insert(std::string("x", 1) + c);      // in the last byte only
    insert("");
    for (int i = 0; i < n; ++i) ASSERT_TRUE(Has(set, "commonPrefix" + std::to_string(i))) << i;
    for (char c = 'a'; c <= 'z'; ++c) EXPECT_TRUE(Has(set, std::string("x", 1) + c));
    EXPECT_TRUE(Has(set, ""));
    EXPECT_FALSE(Has(set, "commonPrefix"));
    EXPECT_FALSE(Has(set, "commonPrefix3000"));
    EXPECT_FALSE(Has(set, "x"));
    EXPECT_FALSE(Has(set, "x{"));

    set.Clear();
    EXPECT_FALSE(Has(set, "xa"));
    insert("xa");
    EXPECT_TRUE(Has(set, "xa"));
    EXPECT_FALSE(Has(set, "xb"));
}

}  // namespace
