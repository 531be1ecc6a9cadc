// Keyword lookups: what FindKeyword and the tokenizer answer for keywords,
// near misses and other words, for objects whose buckets were linked once,
// twice or never.
#include <string>

#include "test_util.h"

namespace {

// The entry a lookup of `word` returns, as "name:code", or "-".
std::string Lookup(const CMib2Trap& mib, const std::string& word) {
    const tok* t = mib.FindKeyword(word.c_str());
    return t ? std::string(t->szName) + ":" + std::to_string(t->nToken) : "-";
}

}  // namespace

TEST(Keywords, EveryKeywordIsFoundByItsWholeText) {
    CMib2Trap mib;
    mib.HashInit();
    int words = 0;
    for (const tok* t = g_tokens; t->szName != nullptr; ++t, ++words) {
        const tok* found = mib.FindKeyword(t->szName);
        ASSERT_NE(found, nullptr) << t->szName;
        EXPECT_STREQ(found->szName, t->szName);
        EXPECT_EQ(found->nToken, t->nToken) << t->szName;
        // Matching is exact: a word one character longer or shorter is found
        // only when it is a keyword of its own ("OBJECT" in "OBJECTS").
        const std::string name = t->szName;
        for (const std::string& near : {name + "x", name + "S", name.substr(0, name.size() - 1), " " + name}) {
            const tok* other = mib.FindKeyword(near.c_str());
            EXPECT_TRUE(other == nullptr || other->szName == near) << near;
        }
    }
    EXPECT_EQ(words, NUM_KEYWORDS);

    // The tokenizer returns each keyword's code, written against a brace,
    // which ends any word; the first words of the two-word keywords, whose
    // code only says "read on", come back as labels.
    std::string text;
    for (const tok* t = g_tokens; t->szName != nullptr; ++t) text += std::string(t->szName) + "{\n";
    MibFixture f(text);
    for (const tok* t = g_tokens; t->szName != nullptr; ++t) {
        std::string word;
        EXPECT_EQ(f.Next(&word), t->nToken == TOK_CONTINUE ? TOK_LABEL : t->nToken) << t->szName;
        EXPECT_EQ(word, t->szName);
        EXPECT_EQ(f.Next(), TOK_BRACE);
    }
    EXPECT_EQ(Lookup(mib, "integer"), "-");
    EXPECT_EQ(Lookup(mib, "Current"), "-");
    EXPECT_EQ(Lookup(mib, "OBJECT-type"), "-");
    EXPECT_EQ(Lookup(mib, ""), "-");
}

// Words in the bucket of a keyword, with its byte sum and even its first
// two characters, are still only found by their own text.
TEST(Keywords, SameSumAndNonAsciiWordsAreNotKeywords) {
    CMib2Trap mib;
    mib.HashInit();
    EXPECT_EQ(KeywordHash("\xff\xfe"), -3);  // bytes count as signed
    EXPECT_EQ(KeywordHash("SYNTXA"), KeywordHash("SYNTAX"));
    EXPECT_EQ(Lookup(mib, "SYNTXA"), "-");
    EXPECT_EQ(Lookup(mib, "SYNTAX"), "SYNTAX:" + std::to_string(TOK_SYNTAX));
    EXPECT_EQ(Lookup(mib, "ENDD\xbc"), "-");  // "END" plus bytes that sum to zero
    EXPECT_EQ(Lookup(mib, "\xff\xfe\xe9t\xe9"), "-");
    EXPECT_EQ(Lookup(mib, "END\xff"), "-");

    // The tokenizer classifies a finished word by the same lookup.
    MibFixture f("\xff\xfe\xe9t\xe9 SYNTXA SYNTAX END ");
    EXPECT_EQ(f.Next(), TOK_LABEL);
    EXPECT_EQ(f.Next(), TOK_LABEL);
    EXPECT_EQ(f.Next(), TOK_SYNTAX);
    EXPECT_EQ(f.Next(), TOK_END);
}

// Linking the buckets again, on the same object or another one, changes no
// answer, and a miss still ends (a chain linked to itself would not).
TEST(Keywords, RelinkedAndUnlinkedBuckets) {
    CMib2Trap first, second, unlinked;
    first.HashInit();
    second.HashInit();
    second.HashInit();
    for (const tok* t = g_tokens; t->szName != nullptr; ++t) {
        const std::string name = t->szName;
        EXPECT_EQ(Lookup(second, name), Lookup(first, name));
        EXPECT_EQ(Lookup(second, name + "s"), "-");
        EXPECT_EQ(Lookup(unlinked, name), "-") << name;  // no HashInit: no keyword at all
    }

    FILE* in = TextStream("SYNTAX END Opaque ");
    char word[TOKEN_BUF];
    for (int i = 0; i < 3; ++i) EXPECT_EQ(unlinked.GetToken(in, word, 0), TOK_LABEL);
    fclose(in);
}

// A word is a keyword only by its whole text up to a NUL byte.
TEST(Keywords, NearMissesAndNulBytesInTheInput) {
    MibFixture f(std::string("SYNTAXX SYNTAx SYNTA ::== END") + '\0' + "x OBJECT-TYPEs Opaque ");
    EXPECT_EQ(f.Next(), TOK_LABEL);
    EXPECT_EQ(f.Next(), TOK_LABEL);
    EXPECT_EQ(f.Next(), TOK_LABEL);
    EXPECT_EQ(f.Next(), TOK_LABEL);
    std::string word;
    EXPECT_EQ(f.Next(&word), TOK_END);
    EXPECT_EQ(word, "END");
    EXPECT_EQ(f.Next(), TOK_LABEL);
    EXPECT_EQ(f.Next(), TOK_OPAQUE);
}

// The tokenizer looks a finished word up by its length, which is where its
// terminator stands; a NUL byte before it ends the text that is looked up.
TEST(Keywords, LookupsByLengthAgreeWithLookupsByText) {
    CMib2Trap mib, unlinked;
    mib.HashInit();
    for (const tok* t = g_tokens; t->szName != nullptr; ++t) {
        const std::string name = t->szName;
        for (const std::string& word : {name, name + "x", name.substr(0, name.size() - 1), "x" + name,
                                        name.substr(0, name.size() / 2) + "?" + name.substr(name.size() / 2 + 1)}) {
            EXPECT_EQ(mib.FindKeyword(word.c_str(), word.size()), mib.FindKeyword(word.c_str())) << word;
            EXPECT_EQ(unlinked.FindKeyword(word.c_str(), word.size()), nullptr) << word;
        }
        const std::string withNul = name + '\0' + "tail";
        EXPECT_EQ(mib.FindKeyword(withNul.c_str(), withNul.size()), t) << name;
        const std::string nulInside = name + "Q" + '\0' + "x";
        EXPECT_EQ(mib.FindKeyword(nulInside.c_str(), nulInside.size()), mib.FindKeyword((name + "Q").c_str()));
    }
    const std::string nulFirst = std::string(1, '\0') + "END";
    EXPECT_EQ(mib.FindKeyword(nulFirst.c_str(), nulFirst.size()), nullptr);
}
