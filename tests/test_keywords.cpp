// The keyword table: every reserved word and its code, case sensitivity, and
// the hash chains HashInit builds.
#include <cstring>
#include <vector>

#include "test_util.h"

namespace {

// The words of the table in their fixed order, and the fixed codes that the
// parse records store.
const char kWords[] =
    "obsolete|Opaque|optional|mandatory|deprecated|not-accessible|not-implemented|"
    "write-only|read-write|TimeTicks|OBJECT IDENTIFIER|OBJECT|NetworkAddress|Gauge|"
    "OCTET STRING|DisplayString|OCTET|OF|SEQUENCE|NULL|IpAddress|INTEGER|Counter|read-only|"
    "ACCESS|STATUS|SYNTAX|OBJECT-TYPE|{|}|::=|DESCRIPTION|REFERENCE|INDEX|DEFVAL|"
    "DEFINITIONS|BEGIN|END|IMPORTS|EXPORTS|FROM|PhysAddress|TRAP-TYPE|ENTERPRISE|VARIABLES|"
    "MODULE-IDENTITY|LAST-UPDATED|ORGANIZATION|CONTACT-INFO|REVISION|OBJECT-IDENTITY|"
    "Integer32|Counter64|Counter32|Gauge32|Unsigned32|UNITS|MAX-ACCESS|read-create|"
    "accessible-for-notify|current|AUGMENTS|TEXTUAL-CONVENTION|OBJECTS|MODULE|"
    "MANDATORY-GROUPS|GROUP|WRITE-SYNTAX|MIN-ACCESS|NOTIFICATION-TYPE|NOTIFICATION-GROUP|"
    "NOTIFICATIONS|OBJECT-GROUP|MODULE-COMPLIANCE|AGENT-CAPABILITIES|PRODUCT-RELEASE|"
    "SUPPORTS|INCLUDES|VARIATION|CREATION-REQUIRES|DISPLAY-HINT|BITS|MacAddress|TruthValue|"
    "TestAndIncr|AutonomousType|InstancePointer|VariablePointer|RowPointer|RowStatus|"
    "TimeStamp|TimeInterval|DateAndTime|StorageType|TDomain|TAddress|TRAPSTART:|OBJECT:|"
    "#TYPE|#SUMMARY|#ARGUMENTS|#SEVERITY|#GENERIC|#CATEGORY|#SOURCE_ID|#TIMEINDEX|#HELP|"
    "#HELPTAG|#STATE|TRAPEND:|#SYMBOL|LINE:";
const int kCodes[NUM_KEYWORDS] = {
    25, 12, 25, 23, 29, 21, 96, 20, 19, 11, 4, -1, 7, 10, 5, 28, -1, 15, 14, 13, 8, 6, 9, 18,
    17, 22, 3, 16, 26, 26, 27, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43, 44, 45,
    46, 47, 48, 49, 6, 51, 9, 10, 52, 53, 17, 54, 77, 23, 55, 62, 56, 57, 58, 59, 60, 61, 63,
    78, 79, 64, 65, 66, 67, 68, 69, 70, 71, 73, 75, 97, 98, 99, 100, 101, 102, 103, 104, 105,
    106, 107, 108, 109, 110, 80, 81, 82, 83, 84, 85, 86, 87, 88, 89, 90, 91, 92, 93, 94, 95
};

}  // namespace

TEST(Keywords, EveryWordHasItsPlaceAndCode) {
    // Each word is written against a brace, which ends any word.
    std::vector<std::string> words(1);
    for (const char* p = kWords; *p; ++p) {
        if (*p == '|')
            words.emplace_back();
        else
            words.back() += *p;
    }
    std::string text;
    for (const std::string& w : words) text += w + "{\n";
    ASSERT_EQ(words.size(), static_cast<size_t>(NUM_KEYWORDS));
    MibFixture f(text + "integer Current sequence #severity OBJECT-type ");
    for (int i = 0; i < NUM_KEYWORDS; ++i) {
        EXPECT_EQ(g_tokens[i].szName, words[i]);
        EXPECT_EQ(g_tokens[i].nLen, static_cast<int32_t>(words[i].size()));
        EXPECT_EQ(g_tokens[i].nToken, kCodes[i]);
        std::string word;
        // OBJECT and OCTET never come back with their continuation code.
        EXPECT_EQ(f.Next(&word), kCodes[i] == TOK_CONTINUE ? TOK_LABEL : kCodes[i]) << words[i];
        EXPECT_EQ(word, words[i]);
        EXPECT_EQ(f.Next(), TOK_BRACE);
    }
    EXPECT_EQ(g_tokens[NUM_KEYWORDS].szName, nullptr);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(f.Next(), TOK_LABEL);  // matching is case-sensitive
}

TEST(Keywords, HashChainsAreRebuiltIdentically) {
    EXPECT_EQ(KeywordHash("\xff\xfe"), -3);  // bytes count as signed
    MibFixture f("\xff\xfe\xe9t\xe9 END ");
    EXPECT_EQ(f.Next(), TOK_LABEL);
    EXPECT_EQ(f.Next(), TOK_END);

    // A second compiler object links the same chains again.
    CMib2Trap first;
    first.HashInit();
    tok before[NUM_KEYWORDS + 1];
    memcpy(before, g_tokens, sizeof before);
    CMib2Trap second;
    second.HashInit();
    second.HashInit();  // a repeat on one object must not link an entry to itself
    EXPECT_EQ(memcmp(before, g_tokens, sizeof before), 0);
    EXPECT_EQ(memcmp(first.m_pBuckets, second.m_pBuckets, sizeof first.m_pBuckets), 0);
}

// A word is a keyword only by its whole text up to a NUL byte, and only for
// an object whose buckets were linked.
TEST(Keywords, NearMissesNulBytesAndUnlinkedBuckets) {
    MibFixture f(std::string("SYNTAXX SYNTAx SYNTA ::== END") + '\0' + "x OBJECT-TYPEs Opaque ");
    EXPECT_EQ(f.Next(), TOK_LABEL);
    EXPECT_EQ(f.Next(), TOK_LABEL);
    EXPECT_EQ(f.Next(), TOK_LABEL);
    EXPECT_EQ(f.Next(), TOK_LABEL);
    EXPECT_EQ(f.Next(), TOK_END);
    EXPECT_EQ(f.Next(), TOK_LABEL);
    EXPECT_EQ(f.Next(), TOK_OPAQUE);

    CMib2Trap unlinked;  // no HashInit: every word is a label
    FILE* in = TextStream("SYNTAX END Opaque ");
    char word[TOKEN_BUF];
    for (int i = 0; i < 3; ++i) EXPECT_EQ(unlinked.GetToken(in, word, 0), TOK_LABEL);
    fclose(in);
}
