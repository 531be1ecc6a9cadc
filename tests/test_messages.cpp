// Message catalog: the slots, the texts as printed, and the "Line: N: "
// prefix DisplayMsg puts ahead of every message.
#include <cstdlib>
#include <string>

#include "mib2msg.h"
#include "test_util.h"

namespace {

std::string Loaded(unsigned int id) {
    char* text = CMib2Trap::LoadString(id);
    std::string s = text ? text : "<null>";
    free(text);
    return s;
}

std::string Shown(CMib2Trap& mib, int line, unsigned int id, const char* arg = nullptr) {
    std::string out;
    mib.m_nLine = line;
    CAPTURE_STDOUT(out, mib.DisplayMsg(id, arg));
    return out;
}

}  // namespace

TEST(LoadString, EverySlotIsACopyAndOddTextsStayAsWritten) {
    for (unsigned int id = MSG_FIRST_ID; id <= MSG_LAST_ID; ++id) {
        char* text = CMib2Trap::LoadString(id);
        ASSERT_NE(text, nullptr) << id;
        EXPECT_NE(text, messageStrings[id - MSG_FIRST_ID]) << id;
        EXPECT_STREQ(text, messageStrings[id - MSG_FIRST_ID]) << id;
        free(text);
    }
    EXPECT_EQ(CMib2Trap::LoadString(100), nullptr);
    EXPECT_EQ(CMib2Trap::LoadString(231), nullptr);

    EXPECT_EQ(Loaded(189), "Error defining  AGENT-CAPABILITIES: Expected '::=', found %s");
    EXPECT_EQ(Loaded(199), "Error defining OBJECT IDENTIFIER: maximun number of subids is %s");
    EXPECT_EQ(Loaded(149), Loaded(188));
    EXPECT_EQ(Loaded(191), Loaded(193));
}

TEST(DisplayMsg, PrefixesTheLineAndFillsPlaceholdersVerbatim) {
    CMib2Trap mib;
    EXPECT_EQ(Shown(mib, 42, 123),
              "\nLine: 42: Warning: token longer than allowed maximum, truncating");
    EXPECT_EQ(Shown(mib, 0, 109, "nosuch.mib"), "\nLine: 0: Failure to open input file nosuch.mib");
    EXPECT_EQ(Shown(mib, 7, 199, "128"),
              "\nLine: 7: Error defining OBJECT IDENTIFIER: maximun number of subids is 128");
    // A '%' in an argument is text, not a further placeholder.
    EXPECT_EQ(Shown(mib, 9, 115, "100%s%d%n"), "\nLine: 9: Error defining object: found 100%s%d%n");
    // Longer than any fixed message buffer: printed whole.
    std::string big(5000, 'x');
    EXPECT_EQ(Shown(mib, 1, 128, big.c_str()), "\nLine: 1: Error: Quoted text too long at " + big);
    EXPECT_EQ(Shown(mib, 1, 300, "x"), "");
}

TEST(DisplayMsg, PlaceholderFreeMessagesIgnoreTheirArguments) {
    CMib2Trap mib;
    mib.m_nLine = 5;
    for (unsigned int id : {112u, 113u, 116u, 118u, 119u, 120u, 123u, 126u, 127u, 148u, 149u, 155u,
                            188u, 204u, 205u, 210u}) {
        std::string bare, withArgs;
        CAPTURE_STDOUT(bare, mib.DisplayMsg(id));
        CAPTURE_STDOUT(withArgs, mib.DisplayMsg(id, "extra", 17, "more"));
        EXPECT_EQ(bare, withArgs) << id;
        EXPECT_EQ(bare, "\nLine: 5: " + Loaded(id)) << id;
    }
}
